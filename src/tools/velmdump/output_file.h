// Files that a command writes.
#ifndef MODFORGE_TOOLS_VELMDUMP_OUTPUT_FILE_H
#define MODFORGE_TOOLS_VELMDUMP_OUTPUT_FILE_H

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

/// Writes the file `path`, or standard output for "-", with what `print` prints. `inputs` are the paths that the
/// command read, "-" for standard input: a path that is one of these files, whatever its name, is refused before
/// anything is opened. On any failure there is a message on standard error, the result is false, and a regular file
/// that was begun is gone; behind a symbolic link it stays.
[[nodiscard]] bool write_output(const std::string& path, const std::vector<std::string>& inputs,
                                const std::function<void(std::FILE*)>& print);

#endif

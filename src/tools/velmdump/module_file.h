// Modules as commands get them: read, judged, and refused where the command could only make something up.
#ifndef MODFORGE_TOOLS_VELMDUMP_MODULE_FILE_H
#define MODFORGE_TOOLS_VELMDUMP_MODULE_FILE_H

#include <optional>
#include <string>
#include <vector>

#include "tools/velmdump/findings.h"
#include "tools/velmdump/velm_module.h"

struct module_file {
    std::string path;  ///< as given
    velm_module module;
    std::vector<finding> findings;  ///< of check_module

    /// Whether the check found no error; warnings may be there.
    [[nodiscard]] bool sound() const;
};

/// What a command needs of a file.
enum class wanted_module {
    any,    ///< a VELM module, which may be damaged
    sound,  ///< one without errors
};

/// Reads a module from a file, or from standard input for "-". Nothing, after one line on standard error, when the file
/// cannot be read (`status` becomes status_trouble), is no VELM module or not what is wanted (it becomes status_faults
/// unless it was trouble already).
std::optional<module_file> read_module(const std::string& path, wanted_module wanted, int& status);

/// The same for contents that were read before.
std::optional<module_file> judge_module(const std::string& path, std::vector<unsigned char> contents,
                                        wanted_module wanted, int& status);

#endif

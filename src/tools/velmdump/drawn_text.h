// Names in pictures and pages: what is shown of them, how wide it is, and how it is spelt there.
#ifndef MODFORGE_TOOLS_VELMDUMP_DRAWN_TEXT_H
#define MODFORGE_TOOLS_VELMDUMP_DRAWN_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

/// The name as UTF-8. "\xNN" stands for each byte of what is no valid UTF-8, of control characters, and of characters
/// that do not show or that turn the direction of the text; "\\" for a backslash. At most `most` bytes of the name are
/// taken; where it is cut, an ellipsis stands.
std::string drawn_name(std::string_view name, std::size_t most = std::string_view::npos);

/// How pictures and pages call the file of that path: its last part, or "standard input" for "-".
std::string drawn_file_name(const std::string& path);

/// How many cells the text, valid UTF-8, takes in a font of fixed width: 0 for accents that combine, 2 for East Asian.
std::size_t cells(std::string_view text);

/// As much of the text from its start as fits in `most` cells, and at least one character. Bytes.
std::size_t bytes_in_cells(std::string_view text, std::size_t most);

/// The text as it is spelt between tags and in attributes of HTML, XML and SVG.
std::string markup(std::string_view text);

#endif

// What a module says of itself, in words.
#ifndef MODFORGE_TOOLS_VELMDUMP_MODULE_FACTS_H
#define MODFORGE_TOOLS_VELMDUMP_MODULE_FACTS_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/velmdump/velm_module.h"

/// How names are written: printable on a terminal, page_name in pictures and pages.
using name_writer = std::string (*)(std::string_view name);
std::string page_name(std::string_view name);

/// Fact and words, in the order in which they are shown.
std::vector<std::pair<std::string, std::string>> module_facts(const velm_module& module, name_writer written);

/// The file name of the COFF executable that the module was made from; empty when it is not on record.
std::string_view module_name(const velm_module& module);

/// "16-bit address units": those of the target, and in how many sections they are others.
std::string unit_words(const velm_module& module);

/// ".text+0x100 (0x00010100)", "0x00010100, absolute", or "none".
std::string entry_words(const velm_module& module, name_writer written);

/// "0x1220: big-endian contents, tags merged": the flags of the COFF file.
std::string file_flag_words(std::uint16_t flags);

/// Name, or number, of the module section that a symbol or the entry point names; "undefined" and "absolute", too.
std::string section_words(const velm_module& module, int number, name_writer written);

#endif

// How velmdump writes what stands in a module.
#ifndef MODFORGE_TOOLS_VELMDUMP_MODULE_WORDS_H
#define MODFORGE_TOOLS_VELMDUMP_MODULE_WORDS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/common/text_forms.h"
#include "tools/velmdump/velm_module.h"

/// Names of a module in brief form, by their places in its string table, each made once: millions of relocations may
/// refer to a few symbols with long names. The module must outlive it.
class brief_names {
public:
    explicit brief_names(const velm_module& module) : module_(module) {}

    [[nodiscard]] const velm_module& module() const { return module_; }
    /// For places that a record of the module gives: those are what bounds the memory.
    const std::string& at(std::uint32_t name_offset);

private:
    const velm_module& module_;
    std::unordered_map<std::uint32_t, std::string> known_;
};

/// The section's flags in words: "code", "relocated", "contents", "aligned to 2^n".
std::string flag_words(std::uint16_t flags);

/// The section's name, or "undefined", "absolute", "section -2" for a number that is none.
std::string section_label(brief_names& names, int number);

/// Whether nameless symbols are told with their index, which changes from module to module.
enum class index_words { with, without };

/// The symbol's name; for a nameless one its index, value and section.
std::string symbol_label(brief_names& names, std::uint32_t index, index_words indices = index_words::with);

/// What the relocation's words say beside its place and type: "_printf, displacement 0x0004"; "5 bits at bit 3 of 16"
/// for a field that the record describes; "constant 0x00000001". Empty when they say nothing.
std::string reloc_operand_words(brief_names& names, const reloc_record& rec, index_words indices = index_words::with);

/// "16 bits at bit 0 of 32": the field that a relocation changes; empty for a type without one.
std::string field_words(const reloc_record& rec);

#endif

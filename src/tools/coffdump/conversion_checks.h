// What modforge refuses, or warns of, while it converts a file that it has read.
#ifndef MODFORGE_TOOLS_COFFDUMP_CONVERSION_CHECKS_H
#define MODFORGE_TOOLS_COFFDUMP_CONVERSION_CHECKS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tools/coffdump/findings.h"
#include "tools/coffdump/raw_image.h"
#include "tools/second_opinion/account.h"
#include "tools/second_opinion/conversion.h"

/// Looks for faults before and after a conversion in which they were mended. What that makes of the file tells which of
/// them count: a fault in what the module leaves out is none.
class conversion_checks {
public:
    /// Of a file that nothing was mended in yet. All must outlive this object.
    conversion_checks(raw_image& image, const std::string& path, bool symbols_only, finding_list& findings);

    /// Adds faults that do not depend on what is left out, mends them and notes the others, which it mends, too.
    void mend();
    /// Makes the section that a refused conversion could not cut one without contents. False when that was not why.
    bool mend_cut(const second_opinion::conversion& refused);
    /// Adds those that were noted and count, and what the module will suffer from. `refusal`: what modforge says to the
    /// file as it is, empty when it takes it.
    void judge(const second_opinion::account& told, const std::string& refusal);

private:
    struct noted_section {
        std::uint32_t number;
        std::uint64_t length;  ///< bytes of its contents
        std::string text;
        std::string says;
    };
    struct noted_symbol {
        std::uint32_t index;
        std::int16_t section;
    };
    struct noted_reloc {
        std::uint32_t section;
        std::uint32_t ordinal;  ///< among those that may go into packets
        std::string text;
    };
    enum class slot : std::uint8_t { auxiliary, good, bad_class };

    /// What one line of the program finds is of one kind.
    void error(const std::string& text, const std::string& says, const std::string& way_out,
               unsigned line = __builtin_LINE());
    void warn(const std::string& text, const std::string& says, const std::string& way_out,
              unsigned line = __builtin_LINE());
    void look_at_symbols();
    void look_at_symbol(std::uint32_t index, syment symbol);
    void look_at_section(std::uint32_t number);
    void look_at_contents(std::uint32_t number, scnhdr& section);
    void look_at_relocations(std::uint32_t number);
    bool lies_over_tables(const scnhdr& section) const;
    void look_at_target(std::uint32_t number, std::uint32_t i, std::uint32_t ordinal, reloc entry);
    void judge_contents(const second_opinion::account& told);
    void judge_symbols(const second_opinion::account& told, const std::string& refusal);
    void judge_order(const second_opinion::module_section& made, const second_opinion::coff_input& input);
    std::string reloc_title(std::uint32_t section, std::uint32_t i, const reloc& entry) const;
    std::string placed_title(std::uint32_t index) const;

    raw_image& image_;
    const std::string& path_;
    bool symbols_only_;
    std::uint32_t symbols_told_;
    finding_list& findings_;
    std::vector<slot> slots_;  ///< by symbol index
    std::vector<noted_section> noted_sections_;
    std::vector<noted_symbol> noted_symbols_;
    std::vector<noted_reloc> noted_relocs_;
    std::set<std::uint32_t> uncut_;  ///< sections that mend_cut() was asked for
};

#endif

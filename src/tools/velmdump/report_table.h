// A table of the report, as the page's script takes it.
#ifndef MODFORGE_TOOLS_VELMDUMP_REPORT_TABLE_H
#define MODFORGE_TOOLS_VELMDUMP_REPORT_TABLE_H

#include <concepts>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Prints, row by row, the element that becomes a table and the data for it. Each text stands once in the page.
class report_table {
public:
    struct column {
        const char* name;
        const char* kind;  ///< "text", "count", "hex" (eight digits) or "hexn" (as many as needed)
    };

    /// `id`: of the data, unlike any other in the page. `name`: what the rows are.
    report_table(std::FILE* out, const std::string& id, const char* name, const std::vector<column>& columns);

    void begin_row();
    void number(std::integral auto value) { signed_number(static_cast<std::int64_t>(value)); }
    /// `value` is valid UTF-8.
    void text(const std::string& value);
    /// A text with a number from text_number.
    void known_text(std::size_t number) { this->number(number); }
    std::size_t text_number(const std::string& value);
    void empty_cell();
    /// The end; nothing may be called behind it.
    void finish();

private:
    void signed_number(std::int64_t value);
    void separate();

    std::FILE* out_;
    std::string name_;
    std::vector<column> columns_;
    std::unordered_map<std::string, std::size_t> numbers_;
    std::vector<const std::string*> texts_;  ///< the keys of numbers_, by number
    bool first_row_ = true;
    bool first_cell_ = true;
};

/// The text between quotes, as JSON in a script element of HTML or XML spells it.
std::string script_string(std::string_view text);

#endif

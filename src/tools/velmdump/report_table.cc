// A table as JSON that the page's script reads; texts apart from the rows that refer to them.
#include "tools/velmdump/report_table.h"

#include <utility>

report_table::report_table(std::FILE* out, const std::string& id, const char* name, const std::vector<column>& columns)
    : out_(out), name_(name), columns_(columns) {
    std::fprintf(out_, "<div data-table=\"%s\"></div>\n<script type=\"application/json\" id=\"%s\">{\"rows\":[",
                 id.c_str(), id.c_str());
}

void report_table::begin_row() {
    std::fputs(first_row_ ? "\n[" : "],\n[", out_);
    first_row_ = false;
    first_cell_ = true;
}

void report_table::separate() {
    if (!std::exchange(first_cell_, false))
        std::fputc(',', out_);
}

void report_table::signed_number(std::int64_t value) {
    separate();
    std::fprintf(out_, "%lld", static_cast<long long>(value));
}

void report_table::empty_cell() {
    separate();
    std::fputs("null", out_);
}

std::size_t report_table::text_number(const std::string& value) {
    const auto [at, added] = numbers_.try_emplace(value, texts_.size());
    if (added)
        texts_.push_back(&at->first);
    return at->second;
}

void report_table::text(const std::string& value) {
    known_text(text_number(value));
}

void report_table::finish() {
    std::fputs(first_row_ ? "]" : "]]", out_);
    std::fprintf(out_, ",\n\"name\":%s,\"columns\":[", script_string(name_).c_str());
    const char* separator = "";
    for (const column& each : columns_) {
        std::fprintf(out_, "%s{\"name\":\"%s\",\"kind\":\"%s\"}", separator, each.name, each.kind);
        separator = ",";
    }
    std::fputs("],\n\"texts\":[", out_);
    separator = "\n";
    for (const std::string* text : texts_) {
        std::fputs(separator, out_);
        std::fputs(script_string(*text).c_str(), out_);
        separator = ",\n";
    }
    std::fputs("]}</script>\n", out_);
}

std::string script_string(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        // The page's parser looks for tags and references before the script's does.
        if (static_cast<unsigned char>(c) < 0x20 || c == '<' || c == '>' || c == '&' || c == '"' || c == '\\') {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
            result += code;
        } else {
            result += c;
        }
    }
    return result + "\"";
}

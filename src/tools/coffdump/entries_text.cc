// Splits entries files as modforge does, but remembers lines and columns, and what people get wrong in such files.
#include "tools/coffdump/entries_text.h"

#include <algorithm>
#include <iterator>

#include "format/special_names.h"
#include "tools/second_opinion/facts.h"

namespace {

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

placed_entry make_entry(std::string_view text) {
    placed_entry entry;
    entry.text = text.substr(0, text.find('\0'));  // modforge ends an entry there
    entry.optional = !entry.text.empty() && entry.text[0] == '-';
    entry.name = entry.text.substr(entry.optional);
    const char marker = entry.name.empty() ? '\0' : entry.name[0];
    if (marker == '^')
        entry.kind = placed_entry::prefix;
    else if (marker == '@')
        entry.kind = placed_entry::export_section;
    else if (marker == '!')
        entry.kind = placed_entry::excluded_section;
    if (entry.kind != placed_entry::symbol)
        entry.name.remove_prefix(1);
    return entry;
}

/// Reads tokens and counts lines and columns.
class entries_reader {
public:
    entries_reader(const std::string& file, std::string& text, std::vector<placed_entry>& entries,
                   finding_list& findings)
        : file_(file), text_(text), entries_(entries), findings_(findings) {}

    void read() {
        check_encoding();
        while (at_ < text_.size()) {
            if (is_blank(text_[at_]))
                pass_blank();
            else if (text_[at_] == '#')
                pass_comment();
            else
                take_token();
        }
    }

private:
    void warn(const std::string& place, const std::string& text, const std::string& way_out,
              unsigned line = __builtin_LINE()) {
        findings_.add({false, place, text, "", way_out, entries_kinds + line});
    }

    std::string here() const {
        return file_ + ':' + std::to_string(line_) + ':' + std::to_string(at_ - line_start_ + 1);
    }

    void check_encoding() {
        if (text_.starts_with("\xFF\xFE") || text_.starts_with("\xFE\xFF"))
            warn(file_, "the file is UTF-16, which modforge does not read: its entries match nothing",
                 "save it as UTF-8 without a byte-order mark");
        else if (text_.starts_with("\xEF\xBB\xBF"))
            warn(file_, "the file begins with a byte-order mark, which is part of its first entry",
                 "save it without a byte-order mark");
    }

    void pass_blank() {
        if (text_[at_++] == '\n') {
            ++line_;
            line_start_ = at_;
        }
    }

    void pass_comment() {
        const std::size_t end = std::min(text_.find('\n', at_), text_.size());
        if (std::string_view(text_).substr(at_, end - at_).find_first_not_of('\r', text_.find('\r', at_) - at_) !=
            std::string_view::npos)
            warn(here(), "a carriage return does not end this comment, which goes on to the next line feed",
                 "save the file with line feeds at the ends of its lines");
        at_ = end;
    }

    void take_token() {
        const auto begin = text_.begin() + static_cast<std::ptrdiff_t>(at_);
        const auto length = static_cast<std::size_t>(std::find_if(begin, text_.end(), is_blank) - begin);
        if (length > second_opinion::longest_entry) {
            findings_.add({true, here(), "an entry has " + std::to_string(length) + " characters",
                           "ERROR: " + file_ + ':' + std::to_string(line_) + ": an entry has more than 255 characters",
                           "no entry may be longer. Is it an entries file at all?"});
            std::fill_n(begin, length, ' ');
        } else {
            add({text_.data() + at_, length});
        }
        at_ += length;
    }

    void add(std::string_view token) {
        placed_entry entry = make_entry(token);
        entry.file = file_;
        entry.line = line_;
        entry.column = at_ - line_start_ + 1;
        if (entry.text.size() != token.size())
            warn(here(), "a NUL ends the entry, and what is behind it is ignored", "remove it");
        entries_.push_back(std::move(entry));
    }

    const std::string& file_;
    std::string& text_;
    std::vector<placed_entry>& entries_;
    finding_list& findings_;
    std::size_t at_ = 0;
    std::size_t line_start_ = 0;
    unsigned long line_ = 1;
};

}  // namespace

std::string placed_entry::place() const {
    return file.empty() ? "(added)" : file + ':' + std::to_string(line) + ':' + std::to_string(column);
}

void read_entries(const std::string& file, std::string& text, std::vector<placed_entry>& entries,
                  finding_list& findings) {
    entries_reader(file, text, entries, findings).read();
}

void add_default_entries(std::vector<placed_entry>& entries) {
    for (const std::string_view text : default_entries)
        entries.push_back(make_entry(text));
}

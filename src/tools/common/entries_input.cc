// Counts entries before anything is made of them.
#include "tools/common/entries_input.h"

#include <string_view>

#include "tools/common/file_input.h"
#include "tools/common/tool_run.h"

namespace {

std::size_t count_entries(std::string_view text) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    std::size_t count = 0;
    for (std::size_t at = text.find_first_not_of(blanks); at < text.size(); at = text.find_first_not_of(blanks, at)) {
        const bool comment = text[at] == '#';
        at = comment ? text.find('\n', at) : text.find_first_of(blanks, at);
        count += !comment;
        if (at == std::string_view::npos)
            break;
    }
    return count;
}

}  // namespace

bool read_entries_files(const std::vector<std::string>& paths, std::vector<std::string>& texts) {
    std::size_t entries = 0;
    for (const std::string& path : paths) {
        const auto bytes = read_whole(path);
        if (!bytes)
            return false;
        const std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
        entries += count_entries(text);
        if (entries > most_entries) {
            complain("%s: more than %zu entries, which is more than is looked at", input_label(path).c_str(),
                     most_entries);
            return false;
        }
        texts.emplace_back(text);
    }
    return true;
}

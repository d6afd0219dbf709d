// Findings in the order in which they came, with the way out told once for each kind.
#include "tools/coffdump/findings.h"

#include <algorithm>
#include <utility>

#include "tools/common/json_writer.h"
#include "tools/common/text_forms.h"

namespace {

constexpr unsigned long most_of_a_kind = 10;

}  // namespace

void finding_list::add(finding added) {
    errors_ += added.error;
    if (++counts_[added.kind] <= most_of_a_kind)
        findings_.push_back(std::move(added));
}

void finding_list::add_made_later(std::vector<std::uint32_t> which, std::function<finding(std::uint32_t)> make) {
    later_place_ = findings_.size();
    later_ = std::move(which);
    make_ = std::move(make);
}

bool finding_list::tells(const std::string& says) const {
    return std::any_of(findings_.begin(), findings_.end(), [&says](const finding& f) { return f.says == says; });
}

template <typename VISIT> void finding_list::for_each(VISIT visit) const {
    std::map<unsigned, unsigned long> seen;
    const auto visit_next = [&](const finding& f) {
        const unsigned long so_far = ++seen[f.kind];
        const auto count = counts_.find(f.kind);
        const unsigned long counted = count != counts_.end() ? count->second : 0;
        const bool more = so_far == most_of_a_kind && counted > most_of_a_kind;
        visit(f, so_far == 1, more ? counted - most_of_a_kind : 0);
    };
    const auto middle = findings_.begin() + static_cast<std::ptrdiff_t>(later_place_);
    std::for_each(findings_.begin(), middle, visit_next);
    for (const std::uint32_t which : later_)
        visit_next(make_(which));
    std::for_each(middle, findings_.end(), visit_next);
}

void finding_list::print(std::FILE* out) const {
    for_each([out](const finding& f, bool first, unsigned long more) {
        std::fprintf(out, "%s: %s: %s\n", printable(f.place).c_str(), severity_word(f.error),
                     printable(f.text).c_str());
        if (!f.says.empty())
            std::fprintf(out, "    modforge says: %s\n", printable(f.says).c_str());
        if (!f.way_out.empty() && first)
            std::fprintf(out, "    way out: %s\n", f.way_out.c_str());
        if (more != 0)
            std::fprintf(out, "%s: %lu more like this\n", printable(f.place).c_str(), more);
    });
}

void finding_list::put(json_writer& json) const {
    for_each([&json](const finding& f, bool /*first*/, unsigned long more) {
        json.begin_object();
        json.member("severity", severity_word(f.error));
        json.member("place", printable(f.place));
        json.member("text", printable(f.text));
        if (!f.says.empty())
            json.member("says", printable(f.says));
        if (!f.way_out.empty())
            json.member("way_out", f.way_out);
        if (more != 0)
            json.member("more", more);
        json.end_object();
    });
}

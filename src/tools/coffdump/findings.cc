// Findings in the order in which they came, with the way out told once for each kind.
#include "tools/coffdump/findings.h"

#include <algorithm>

#include "tools/common/text_forms.h"

namespace {

constexpr unsigned long most_of_a_kind = 10;

}  // namespace

void finding_list::add(finding added, bool all) {
    errors_ += added.error;
    if (all || ++counts_[added.kind] <= most_of_a_kind)
        findings_.push_back(std::move(added));
}

bool finding_list::tells(const std::string& says) const {
    return std::any_of(findings_.begin(), findings_.end(), [&says](const finding& f) { return f.says == says; });
}

void finding_list::print(std::FILE* out) const {
    std::map<unsigned, unsigned long> printed;
    for (const finding& f : findings_) {
        const unsigned long so_far = ++printed[f.kind];
        std::fprintf(out, "%s: %s: %s\n", printable(f.place).c_str(), f.error ? "error" : "warning",
                     printable(f.text).c_str());
        if (!f.says.empty())
            std::fprintf(out, "    modforge says: %s\n", printable(f.says).c_str());
        if (!f.way_out.empty() && so_far == 1)
            std::fprintf(out, "    way out: %s\n", f.way_out.c_str());
        const unsigned long count = counts_.count(f.kind) != 0 ? counts_.at(f.kind) : 0;
        if (so_far == most_of_a_kind && count > most_of_a_kind)
            std::fprintf(out, "%s: %lu more like this\n", printable(f.place).c_str(), count - most_of_a_kind);
    }
}

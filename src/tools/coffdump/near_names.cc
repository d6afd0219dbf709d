// The distance between names, with swapped neighbours as one mistake.
#include "tools/coffdump/near_names.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "format/limits.h"

namespace {

char folded(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view without_underscores(std::string_view name) {
    return name.substr(std::min(name.find_first_not_of('_'), name.size()));
}

bool is_variant(std::string_view a, std::string_view b) {
    a = without_underscores(a);
    b = without_underscores(b);
    return !a.empty() &&
           std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return folded(x) == folded(y); });
}

/// How many characters must be changed, added, dropped or swapped with their neighbour to make `b` of `a`; more than
/// `limit` when it takes more.
std::size_t distance(std::string_view a, std::string_view b, std::size_t limit) {
    if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit)
        return limit + 1;
    std::vector<std::size_t> before_last, last, row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        before_last = std::exchange(last, row);
        row[0] = i + 1;
        for (std::size_t k = 0; k < b.size(); ++k) {
            row[k + 1] = std::min({last[k] + (a[i] != b[k]), last[k + 1] + 1, row[k] + 1});
            if (i > 0 && k > 0 && a[i] == b[k - 1] && a[i - 1] == b[k])
                row[k + 1] = std::min(row[k + 1], before_last[k - 1] + 1);
        }
        if (*std::min_element(row.begin(), row.end()) > limit)
            return limit + 1;
    }
    return row[b.size()];
}

}  // namespace

std::string nearest_name(std::string_view name, const std::vector<std::string_view>& candidates, bool as_prefix) {
    std::size_t limit = std::min<std::size_t>(3, name.size() / 4);
    std::string_view best;
    for (std::string_view candidate : candidates) {
        if (candidate.size() > max_entry_length && !as_prefix)
            continue;
        if (as_prefix)
            candidate = candidate.substr(0, name.size());
        if (candidate.empty())
            continue;
        if (is_variant(name, candidate))
            return std::string(candidate);
        const std::size_t there = limit == 0 ? 1 : distance(name, candidate, limit);
        if (there <= limit && there != 0) {
            best = candidate;
            limit = there - 1;
        }
    }
    return std::string(best);
}

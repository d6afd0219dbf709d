// A quicksort around the middle entry, whose order of equal items everybody relies on.
//
// That order is a result like any other: it depends on where each division swaps, and on the left side of a division
// being sorted before the right one, since the two can share an entry. So no other algorithm may take its place, except
// where no items are equal. But around the middle entry, quite ordinary tables (rising, then falling) make it take n^2
// comparisons. A sort that gets too expensive therefore goes on with the same divisions and swaps, but looks up where
// the next swap is instead of walking there: it ranks all items once by merging, and keeps the least and the greatest
// rank of every stretch of the table in a tree. No division swaps more often than its smaller side has entries, so
// that all swaps together, like all divisions, number n * log(n) at most.
#include "containers/table_sort.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

namespace {

/// A stretch of the table that is still to be sorted.
struct part {
    std::uint32_t first;
    std::uint32_t size;
};

/// The table, searched by comparing one item after the other. The limits only hold back a compare function that
/// contradicts itself; otherwise the pivot, or what was swapped for it, ends each walk.
class walked_table {
public:
    walked_table(SLIST::NODE** table, SLIST::compare_function cmp) : table_(table), cmp_(cmp) {}

    const void* key(std::uint32_t at) const { return table_[at]->data; }
    void swap(std::uint32_t a, std::uint32_t b) { std::swap(table_[a], table_[b]); }

    std::uint32_t next_not_less(const void* pivot, std::uint32_t at, std::uint32_t limit) const {
        while (at < limit && cmp_(table_[at]->data, pivot) < 0)
            ++at;
        return at;
    }
    std::uint32_t previous_not_greater(const void* pivot, std::uint32_t at, std::uint32_t limit) const {
        while (at > limit && cmp_(table_[at]->data, pivot) > 0)
            --at;
        return at;
    }

private:
    SLIST::NODE** table_;
    SLIST::compare_function cmp_;
};

/// Ranks of the items of a table by position: 0 for the least, and the same for equal ones. Merges, as that stays
/// within the table whatever the compare function says.
std::vector<std::uint32_t> ranks_of(SLIST::NODE** table, std::size_t n, SLIST::compare_function cmp) {
    const auto less = [&](std::uint32_t a, std::uint32_t b) { return cmp(table[a]->data, table[b]->data) < 0; };
    std::vector<std::uint32_t> order(n), merged(n);
    std::iota(order.begin(), order.end(), 0u);
    for (std::size_t width = 1; width < n; width *= 2) {
        for (std::size_t low = 0; low < n; low += 2 * width) {
            std::uint32_t* const middle = order.data() + std::min(low + width, n);
            std::uint32_t* const high = order.data() + std::min(low + 2 * width, n);
            std::merge(order.data() + low, middle, middle, high, merged.data() + low, less);
        }
        order.swap(merged);
    }
    for (std::size_t k = 0, rank = 0; k < n; ++k) {
        if (k > 0 && less(order[k - 1], order[k]))
            rank = k;
        merged[order[k]] = static_cast<std::uint32_t>(rank);
    }
    return merged;
}

/// The table, searched through a tree. Leaf `leaves_ + k` is for position k, node x has the children 2x and 2x + 1. Each
/// search climbs to the next stretch whose span promises what it looks for, then descends to the nearest such place.
class ranked_table {
public:
    ranked_table(SLIST::NODE** table, std::uint32_t n, SLIST::compare_function cmp)
        : table_(table), leaves_(std::bit_ceil(std::size_t{n})), spans_(2 * leaves_) {
        const std::vector<std::uint32_t> ranks = ranks_of(table, n, cmp);
        for (std::size_t k = 0; k < n; ++k)
            spans_[leaves_ + k] = {ranks[k], ranks[k]};
        for (std::size_t x = leaves_; --x > 0;)
            update(x);
    }

    std::uint32_t key(std::uint32_t at) const { return spans_[leaves_ + at].least; }

    void swap(std::uint32_t a, std::uint32_t b) {
        std::swap(table_[a], table_[b]);
        const std::uint32_t rank_a = key(a), rank_b = key(b);
        if (rank_a == rank_b)
            return;
        set_rank(a, rank_b);
        set_rank(b, rank_a);
    }

    // Ranks do not contradict each other: there is a place that ends each search, and the limits are never reached.

    std::uint32_t next_not_less(std::uint32_t pivot, std::uint32_t at, std::uint32_t /*limit*/) const {
        std::size_t x = leaves_ + at;
        while (spans_[x].greatest < pivot) {
            while (x % 2 == 1)
                x /= 2;
            ++x;
        }
        while (x < leaves_)
            x = 2 * x + (spans_[2 * x].greatest < pivot ? 1 : 0);
        return static_cast<std::uint32_t>(x - leaves_);
    }
    std::uint32_t previous_not_greater(std::uint32_t pivot, std::uint32_t at, std::uint32_t /*limit*/) const {
        std::size_t x = leaves_ + at;
        while (spans_[x].least > pivot) {
            while (x % 2 == 0)
                x /= 2;
            --x;
        }
        while (x < leaves_)
            x = 2 * x + (spans_[2 * x + 1].least > pivot ? 0 : 1);
        return static_cast<std::uint32_t>(x - leaves_);
    }

private:
    /// The ranks in a stretch of the table. Behind the table there are none, so that no search ends there.
    struct span {
        std::uint32_t least = std::numeric_limits<std::uint32_t>::max();
        std::uint32_t greatest = 0;
    };

    void update(std::size_t x) {
        const span &left = spans_[2 * x], &right = spans_[2 * x + 1];
        spans_[x] = {std::min(left.least, right.least), std::max(left.greatest, right.greatest)};
    }
    void set_rank(std::uint32_t at, std::uint32_t rank) {
        std::size_t x = leaves_ + at;
        spans_[x] = {rank, rank};
        while ((x /= 2) > 0)
            update(x);
    }

    SLIST::NODE** table_;
    std::size_t leaves_;
    std::vector<span> spans_;
};

/// Divides a part of at least two entries around its middle one, and gives the two sides, which share an entry if both
/// searches arrive at it after a swap.
template <typename TABLE> std::pair<part, part> divide(TABLE& table, part whole) {
    const auto pivot = table.key(whole.first + whole.size / 2);
    const std::uint32_t first = whole.first, last = whole.first + whole.size - 1;
    std::uint32_t i = first, j = last;
    while (i < j) {
        i = table.next_not_less(pivot, i, last);
        j = table.previous_not_greater(pivot, j, first);
        if (i == j) {
            ++i;
            --j;
            break;
        }
        if (i > j)
            break;
        table.swap(i++, j--);
    }
    return {{first, j + 1 - first}, {i, last + 1 - i}};
}

/// Sorts until nothing is pending or `budget`, the entries looked at, is used up. The stack lies on the heap, where
/// lopsided divisions do no harm; the left side lies on top.
template <typename TABLE> void sort_parts(TABLE table, std::vector<part>& pending, std::uint64_t budget) {
    while (!pending.empty() && budget >= pending.back().size) {
        const part whole = pending.back();
        pending.pop_back();
        budget -= whole.size;
        const auto [left, right] = divide(table, whole);
        if (right.size >= 2)
            pending.push_back(right);
        if (left.size >= 2)
            pending.push_back(left);
    }
}

/// Sorted this way, a table has no equal items: any algorithm would leave it as it is.
bool strictly_ascending(SLIST::NODE** table, std::uint32_t n, SLIST::compare_function cmp) {
    for (std::uint32_t k = 1; k < n; ++k) {
        if (cmp(table[k - 1]->data, table[k]->data) >= 0)
            return false;
    }
    return true;
}

}  // namespace

void sort_table(SLIST::NODE** table, std::uint32_t n, SLIST::compare_function cmp) {
    if (n < 2 || strictly_ascending(table, n, cmp))
        return;
    std::vector<part> pending = {{0, n}};
    // Twice what a table in random order takes.
    sort_parts(walked_table(table, cmp), pending, std::uint64_t{3} * n * static_cast<unsigned>(std::bit_width(n)));
    if (!pending.empty())
        sort_parts(ranked_table(table, n, cmp), pending, std::numeric_limits<std::uint64_t>::max());
}

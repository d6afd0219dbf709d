// The list: the order that its sort gives to equal items, look-ups, and what drops the sorted table.
#include "containers/slist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

#include "support/child_run.h"

namespace {

long comparisons = 0;
const void* search_key = &comparisons;  ///< to be seen on the first side only

/// Items are ints; a null item comes before all of them.
int by_value(const void* a, const void* b) {
    ++comparisons;
    if (b == search_key)
        ADD_FAILURE() << "the key of a search comes first";
    if (!a || !b)
        return a ? 1 : b ? -1 : 0;
    const int value_a = *static_cast<const int*>(a), value_b = *static_cast<const int*>(b);
    return value_a < value_b ? -7 : value_a > value_b ? 7 : 0;  // the sign counts, not the number
}

/// The items of a list; both directions, the ends, the owner and the count must agree with each other.
std::vector<void*> contents(const SLIST& list) {
    std::vector<void*> found;
    const SLIST::NODE* previous = nullptr;
    for (const SLIST::NODE* node = list.begin(); node; node = list.next(node)) {
        EXPECT_EQ(list.prev(node), previous);
        EXPECT_EQ(node->mylist(), &list);
        found.push_back(node->data);
        previous = node;
    }
    EXPECT_EQ(list.end(), previous);
    EXPECT_EQ(list.size(), found.size());
    return found;
}

using ints = std::vector<int>;

ints values(const SLIST& list) {
    ints found;
    for (const void* const item : contents(list))
        found.push_back(item ? *static_cast<const int*>(item) : 0);
    return found;
}

struct filled_list {
    explicit filled_list(const ints& values) : items(values) {
        list.set_cmp_func(by_value);
        for (int& item : items)
            list.append(&item);
    }
    ints items;
    SLIST list;
};

/// The sort as it is documented, word by word and recursive. Every part, its left side first: with an entry that both
/// sides share, the order of equal items depends on it.
void reference_sort(int** table, long n) {
    if (n < 2)
        return;
    long i = 0, j = n - 1, pivot = n / 2;
    while (i < j) {
        while (*table[i] < *table[pivot])
            ++i;
        while (*table[j] > *table[pivot])
            --j;
        if (i == j) {
            ++i, --j;
            break;
        }
        if (i > j)
            break;
        std::swap(table[i], table[j]);
        pivot = pivot == i ? j : pivot == j ? i : pivot;
        ++i, --j;
    }
    if (j != 0)
        reference_sort(table, j + 1);
    if (i < n - 1)
        reference_sort(table + i, n - i);
}

void expect_sorted_like_reference(const ints& values) {
    filled_list sorted(values);
    std::vector<int*> expected;
    for (int& item : sorted.items)
        expected.push_back(&item);
    reference_sort(expected.data(), static_cast<long>(expected.size()));
    sorted.list.sort();
    ASSERT_EQ(contents(sorted.list), std::vector<void*>(expected.begin(), expected.end()));
}

TEST(Slist, EqualItemsKeepTheOrderOfTheDocumentedQuicksort) {
    // Every input of up to 7 items with 3 different values.
    for (int n = 0, inputs = 1; n <= 7; ++n, inputs *= 3) {
        for (int input = 0; input < inputs; ++input) {
            ints values;
            for (int k = 0, rest = input; k < n; ++k, rest /= 3)
                values.push_back(rest % 3);
            ASSERT_NO_FATAL_FAILURE(expect_sorted_like_reference(values)) << testing::PrintToString(values);
        }
    }
}

TEST(Slist, TablesOfEveryShapeAreSortedCheaply) {
    const int n = 12'000;
    std::mt19937 random(5);
    const std::function<int(int)> shapes[] = {
        [](int k) { return k; },
        [](int k) { return n - k; },
        [](int) { return 5; },
        [](int k) { return k / 2; },
        [&](int) { return static_cast<int>(random() % 3); },
        [&](int) { return static_cast<int>(random() % 1000); },
        // From here on the middle is a bad choice: n * n / 4 comparisons if each is made.
        [](int k) { return std::min(k, n - 1 - k); },
        [](int k) { return std::min(k, n - k) / 2; },
        [](int k) { return std::abs(k - n / 2) / 3; },
        [](int k) { return k % 100 == 7 ? 50 : std::min(k, n - k); },
        [&](int k) { return std::min(k, n - k) / 4 + static_cast<int>(random() % 3); },
    };
    for (const auto& shape : shapes) {
        ints values;
        for (int k = 0; k < n; ++k)
            values.push_back(shape(k));
        comparisons = 0;
        SCOPED_TRACE(&shape - shapes);
        expect_sorted_like_reference(values);
        EXPECT_LT(comparisons, 80L * n);  // n * log2(n) is 13.6 n
    }
}

TEST(Slist, ACompareFunctionThatContradictsItselfDoesNoHarm) {
    for (const auto wrong : {+[](const void*, const void*) { return 1; }, +[](const void*, const void*) { return -1; },
                             +[](const void*, const void*) { return ++comparisons % 3 ? 1 : -1; }}) {
        filled_list some(ints(200, 1));
        std::vector<void*> items = contents(some.list);
        some.list.set_cmp_func(wrong);
        some.list.sort();
        EXPECT_TRUE(std::ranges::is_permutation(contents(some.list), items));
    }
}

TEST(Slist, FindGivesAnEqualItemAndFindFirstTheFirstOfThem) {
    filled_list some({30, 10, 20, 20, 20, 40, 20});
    some.list.sort();
    SLIST::NODE* first = some.list.begin();
    for (const int key : {9, 10, 11, 20, 25, 30, 40, 41}) {
        while (first && *static_cast<int*>(first->data) < key)
            first = some.list.next(first);
        const bool there = key % 10 == 0;
        search_key = &key;
        const SLIST::NODE* const found = some.list.find(&key);
        EXPECT_EQ(found ? *static_cast<int*>(found->data) : 0, there ? key : 0);
        EXPECT_EQ(some.list.find_first(&key), there ? first : nullptr) << key;
    }
    search_key = &comparisons;
}

TEST(Slist, FaultsOfTheCallerEndTheRun) {
    int one = 1;
    SLIST list;
    list.sort();  // nothing there: needs no compare function, nor do the searches
    EXPECT_EQ(list.find(&one), nullptr);
    EXPECT_EQ(list.find_first(&one), nullptr);
    EXPECT_EQ(list.remove_first(), nullptr);
    EXPECT_EQ(list.remove_last(), nullptr);
    EXPECT_EQ(list.prev(nullptr), nullptr);
    list.append(&one);
    const std::function<void()> faults[] = {
        [&] { list.find(&one); },
        [&] { list.find_first(&one); },
        [&] { list.erase(&one); },
        [&] { list.sort(); },
        [&] { list.qsort(nullptr, 0); },  // asked before anything else
        [&] {
            static SLIST global;  // destroyed at the end of the run, `list` is not
            global.append(&one);
            list.sort();
        },
    };
    for (const auto& fault : faults) {
        const child_result result = run_in_child(fault);
        EXPECT_EQ(result.err, ">> internal error: SLIST::qsort: Use set_cmp_func to specify compare function\n");
        EXPECT_EQ(result.status, 1) << &fault - faults;
    }
    EXPECT_EQ(run_in_child([&] { list.copy(nullptr); }).err, ">> internal error: SLIST::copy: no list to copy\n");
}

TEST(Slist, EveryChangeButTheFirstItemDropsTheTable) {
    filled_list other({3, 4});
    SLIST empty;
    int* const three = other.items.data();
    const struct {
        const char* name;
        std::function<void(SLIST&)> change;
        ints left;
        bool table_kept = false;
    } cases[] = {
        {"append", [&](SLIST& l) { l.append(three); }, {1, 2, 3}},
        {"add", [&](SLIST& l) { l.add(three); }, {1, 2, 3}},
        {"prepend", [&](SLIST& l) { l.prepend(three); }, {3, 1, 2}},
        {"merge", [&](SLIST& l) { l.merge(&other.list); }, {1, 2, 3, 4}},
        {"premerge", [&](SLIST& l) { l.premerge(&other.list); }, {4, 3, 1, 2}},
        {"remove_first", [](SLIST& l) { l.remove_first(); }, {2}},
        {"remove_last", [](SLIST& l) { l.remove_last(); }, {1}},
        {"erase", [two = 2](SLIST& l) { l.erase(&two); }, {1}},
        {"clear", [](SLIST& l) { l.clear(); }, {}},
        {"append to an emptied list", [&](SLIST& l) { l.remove_first(), l.remove_last(), l.append(three); }, {3}},
        {"prepend to an emptied list", [&](SLIST& l) { l.remove_last(), l.remove_first(), l.prepend(three); }, {3}},
        {"erase in the middle", [&, two = 2](SLIST& l) { l.append(three), l.erase(&two); }, {1, 3}},
        // It ends, although the list grows under it.
        {"merge of itself", [](SLIST& l) { l.merge(&l); }, {1, 2, 1, 2}},
        {"premerge of itself", [](SLIST& l) { l.premerge(&l); }, {2, 1, 1, 2}},
        {"copy", [&](SLIST& l) { l.copy(&other.list); }, {3, 4}},
        {"copy of itself", [](SLIST& l) { l.copy(&l); }, {}},  // emptied before it is read
        {"set_cmp_func", [](SLIST& l) { l.set_cmp_func(by_value); }, {1, 2}},
        {"set_data", [](SLIST& l) { l.begin()->set_data(nullptr); }, {0, 2}},
        {"clear_sorted_table", [](SLIST& l) { l.clear_sorted_table(); }, {1, 2}},
        {"merge of nothing", [&](SLIST& l) { l.merge(nullptr), l.merge(&empty); }, {1, 2}, true},
        {"premerge of nothing", [](SLIST& l) { l.premerge(nullptr); }, {1, 2}, true},
        {"erase of what is not there", [&](SLIST& l) { l.erase(three); }, {1, 2}, true},
        {"purge without empty nodes", [](SLIST& l) { l.purge(); }, {1, 2}, true},
        {"sort", [](SLIST& l) { l.sort(); }, {1, 2}, true},
        {"sort of a copy",
         [&](SLIST& l) { empty.copy(&l), empty.premerge(&l), empty.sort(), l.copy(&empty); },
         {1, 1, 2, 2}},
        {"find_first", [&](SLIST& l) { l.find_first(three); }, {1, 2}, true},
    };
    for (const auto& c : cases) {
        filled_list some({1, 2});
        some.list.build_sorted_table();
        ASSERT_TRUE(some.list.has_sorted_table());
        const std::uint64_t version = some.list.version();
        c.change(some.list);
        EXPECT_TRUE(some.list.version() != version || c.left == some.items) << c.name;
        EXPECT_EQ(some.list.has_sorted_table(), c.table_kept) << c.name;
        EXPECT_EQ(values(some.list), c.left) << c.name;
    }
}

TEST(Slist, EmptyNodesAreSkippedUntilTheyArePurged) {
    filled_list some({4, 3, 2, 1});
    SLIST& list = some.list;
    list.sort();
    list.find(&some.items[0])->set_data(nullptr);
    list.begin()->set_data(nullptr);
    EXPECT_EQ(list.find(&some.items[0]), nullptr);
    EXPECT_EQ(list.find(&some.items[1])->data, &some.items[1]);
    EXPECT_EQ(values(list), (ints{0, 2, 3, 0}));
    ints walked;
    for (const int* item : items<int>(list))
        walked.push_back(*item);
    EXPECT_EQ(walked, (ints{2, 3}));
    list.purge();
    EXPECT_EQ(values(list), walked);
    list.begin()->set_data(nullptr);
    list.end()->set_data(nullptr);
    EXPECT_EQ(items<int>(list).begin(), items<int>(list).end());
    list.purge();  // no dangling end
    list.append(&some.items[0]);
    EXPECT_EQ(values(list), ints{4});
}

}  // namespace

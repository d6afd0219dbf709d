#include "containers/slist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "support/child_run.h"

namespace {

/// An item: sorted by its key, told apart from its equals by its name.
struct record {
    int key;
    int name;
};

long comparisons = 0;

/// Knows null items, which come first.
int by_key(const void* a, const void* b) {
    ++comparisons;
    if (!a || !b)
        return a ? 1 : b ? -1 : 0;
    const int key_a = static_cast<const record*>(a)->key;
    const int key_b = static_cast<const record*>(b)->key;
    return key_a < key_b ? -7 : key_a > key_b ? 7 : 0;  // the sign counts, not the number
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

std::vector<int> names(const SLIST& list) {
    std::vector<int> found;
    for (void* const item : contents(list))
        found.push_back(item ? static_cast<record*>(item)->name : 0);
    return found;
}

/// Records with the given keys, named 1, 2, 3, ...
std::vector<record> records(const std::vector<int>& keys) {
    std::vector<record> made;
    for (const int key : keys)
        made.push_back({key, static_cast<int>(made.size()) + 1});
    return made;
}

void fill(SLIST& list, std::vector<record>& from) {
    for (record& r : from)
        list.append(&r);
}

/// The sort as it is documented, word by word and recursive. Every part, its left side first: with an entry that both
/// sides share, the order of equal items depends on it.
void reference_sort(record** table, long n) {
    if (n < 2)
        return;
    long i = 0, j = n - 1, pivot = n / 2;
    while (i < j) {
        while (table[i]->key < table[pivot]->key)
            ++i;
        while (table[j]->key > table[pivot]->key)
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

void expect_sorted_like_reference(const std::vector<int>& keys) {
    std::vector<record> items = records(keys);
    std::vector<record*> expected;
    for (record& r : items)
        expected.push_back(&r);
    reference_sort(expected.data(), static_cast<long>(expected.size()));

    SLIST list;
    list.set_cmp_func(by_key);
    fill(list, items);
    list.sort();
    ASSERT_EQ(contents(list), std::vector<void*>(expected.begin(), expected.end())) << testing::PrintToString(keys);
}

// --- sorting ---

TEST(Slist, EqualItemsKeepTheOrderOfTheDocumentedQuicksort) {
    // Every input of up to 7 items with 3 different keys.
    for (int n = 0, inputs = 1; n <= 7; ++n, inputs *= 3) {
        for (int input = 0; input < inputs; ++input) {
            std::vector<int> keys;
            for (int k = 0, rest = input; k < n; ++k, rest /= 3)
                keys.push_back(rest % 3);
            expect_sorted_like_reference(keys);
        }
    }
    std::mt19937 random(4);
    for (int round = 0; round < 300; ++round) {
        std::vector<int> keys(random() % 300);
        const auto different = 1 + random() % 40;
        for (int& key : keys)
            key = static_cast<int>(random() % different);
        expect_sorted_like_reference(keys);
    }
}

TEST(Slist, TablesOfEveryShapeAreSortedCheaply) {
    const int n = 12'000;
    std::mt19937 random(5);
    const std::function<int(int)> shapes[] = {
        [](int k) { return k; },
        [&](int k) { return n - k; },
        [](int) { return 5; },
        [](int k) { return k / 2; },
        [](int k) { return k % 2; },
        [&](int) { return static_cast<int>(random() % 1000); },
        // From here on the middle is a bad choice: n * n / 4 comparisons if each is made.
        [&](int k) { return std::min(k, n - 1 - k); },
        [&](int k) { return std::min(k, n - k) / 2; },
        [&](int k) { return std::abs(k - n / 2) / 3; },
        [&](int k) { return k % 100 == 7 ? 50 : std::min(k, n - k); },
    };
    for (const auto& shape : shapes) {
        std::vector<int> keys;
        for (int k = 0; k < n; ++k)
            keys.push_back(shape(k));
        comparisons = 0;
        expect_sorted_like_reference(keys);
        EXPECT_LT(comparisons, 80L * n) << "shape " << &shape - shapes;  // n * log2(n) is 13.6 n
    }
}

TEST(Slist, ACompareFunctionThatContradictsItselfDoesNoHarm) {
    std::vector<record> items = records(std::vector<int>(200, 1));
    for (const auto wrong : {+[](const void*, const void*) { return 1; }, +[](const void*, const void*) { return -1; },
                             +[](const void*, const void*) { return ++comparisons % 3 ? 1 : -1; }}) {
        SLIST list;
        list.set_cmp_func(wrong);
        fill(list, items);
        list.sort();
        std::vector<void*> found = contents(list);
        std::sort(found.begin(), found.end());
        ASSERT_EQ(found.size(), 200u);
        EXPECT_EQ(std::unique(found.begin(), found.end()), found.end());
    }
}

TEST(Slist, SortLeavesEmptyAndSingleListsAloneAndKeepsItsTable) {
    SLIST list;
    list.sort();  // nothing there: needs no compare function
    EXPECT_EQ(list.begin(), nullptr);
    std::vector<record> items = records({2, 1});
    list.set_cmp_func(by_key);
    list.append(&items[0]);
    list.sort();
    EXPECT_EQ(names(list), std::vector<int>{1});
    list.append(&items[1]);
    list.sort();
    EXPECT_EQ(names(list), (std::vector<int>{2, 1}));
    EXPECT_TRUE(list.has_sorted_table());
}

// --- searching ---

TEST(Slist, FindGivesAnEqualItemAndFindFirstTheFirstOfThem) {
    std::vector<record> items = records({30, 10, 20, 20, 20, 40, 20});
    SLIST list;
    EXPECT_EQ(list.find(&items[0]), nullptr);  // empty: needs no compare function
    EXPECT_EQ(list.find_first(&items[0]), nullptr);
    list.set_cmp_func(by_key);
    fill(list, items);
    for (const int key : {10, 20, 30, 40}) {
        const record wanted = {key, 0};
        ASSERT_NE(list.find(&wanted), nullptr);
        EXPECT_EQ(static_cast<record*>(list.find(&wanted)->data)->key, key);
    }
    for (const int key : {9, 11, 25, 41}) {
        const record wanted = {key, 0};
        EXPECT_EQ(list.find(&wanted), nullptr) << key;
        EXPECT_EQ(list.find_first(&wanted), nullptr) << key;
    }
    list.sort();
    const record twenty = {20, 0};
    EXPECT_EQ(list.find_first(&twenty), list.next(list.begin()));
    const record ten = {10, 0};
    EXPECT_EQ(list.find_first(&ten), list.begin());
}

TEST(Slist, TheKeyOfASearchIsComparedFirstAndTheItemSecond) {
    // A key need not be an item if the function treats its first argument as a key: here it is a plain int.
    const auto by_plain_key = [](const void* key, const void* item) {
        return *static_cast<const int*>(key) - static_cast<const record*>(item)->key;
    };
    std::vector<record> items = records({1, 2, 3});
    SLIST list;
    list.set_cmp_func(by_plain_key);  // a record begins with its key, so it serves for sorting as well
    fill(list, items);
    const auto key = std::make_unique<int>(3);  // alone in memory: as a record it would be read past its end
    EXPECT_EQ(list.find(key.get())->data, &items[2]);
}

TEST(Slist, WithoutCompareFunctionSearchingAndSortingEndTheRun) {
    record one = {1, 1};
    SLIST list;
    list.append(&one);
    const std::string text = ">> internal error: SLIST::qsort: Use set_cmp_func to specify compare function\n";
    for (const child_result& result : {
             run_in_child([&] { list.find(&one); }), run_in_child([&] { list.find_first(&one); }),
             run_in_child([&] { list.erase(&one); }), run_in_child([&] { list.sort(); }),
             run_in_child([&] { list.qsort(nullptr, 0); }),  // asked before anything else
         }) {
        EXPECT_EQ(result.err, text);
        EXPECT_EQ(result.status, 1);
    }
}

// --- changing ---

TEST(Slist, EveryChangeButTheFirstItemDropsTheTable) {
    std::vector<record> items = records({1, 2, 3});
    SLIST other;
    other.append(&items[2]);
    const struct {
        const char* name;
        std::function<void(SLIST&)> change;
        bool kept;
    } cases[] = {
        {"append", [&](SLIST& l) { l.append(&items[2]); }, false},
        {"add", [&](SLIST& l) { l.add(&items[2]); }, false},
        {"prepend", [&](SLIST& l) { l.prepend(&items[2]); }, false},
        {"merge", [&](SLIST& l) { l.merge(&other); }, false},
        {"premerge", [&](SLIST& l) { l.premerge(&other); }, false},
        {"remove_first", [](SLIST& l) { l.remove_first(); }, false},
        {"remove_last", [](SLIST& l) { l.remove_last(); }, false},
        {"erase", [&](SLIST& l) { l.erase(&items[1]); }, false},
        {"clear", [](SLIST& l) { l.clear(); }, false},
        {"copy", [&](SLIST& l) { l.copy(&other); }, false},
        {"set_cmp_func", [](SLIST& l) { l.set_cmp_func(by_key); }, false},
        {"set_data", [](SLIST& l) { l.begin()->set_data(nullptr); }, false},
        {"clear_sorted_table", [](SLIST& l) { l.clear_sorted_table(); }, false},
        {"merge of nothing", [](SLIST& l) { l.merge(nullptr); }, true},
        {"erase of what is not there", [&](SLIST& l) { l.erase(&items[2]); }, true},
        {"purge without empty nodes", [](SLIST& l) { l.purge(); }, true},
        {"sort", [](SLIST& l) { l.sort(); }, true},
        {"find_first", [&](SLIST& l) { l.find_first(&items[0]); }, true},
    };
    for (const auto& c : cases) {
        SLIST list;
        list.set_cmp_func(by_key);
        list.append(&items[0]);
        list.append(&items[1]);
        list.build_sorted_table();
        ASSERT_TRUE(list.has_sorted_table());
        c.change(list);
        EXPECT_EQ(list.has_sorted_table(), c.kept) << c.name;
    }
}

TEST(Slist, MergesInOrderAndPremergesInReverse) {
    std::vector<record> items = records({1, 2, 3, 4});
    SLIST abc, x;
    for (int k = 0; k < 3; ++k)
        abc.append(&items[static_cast<std::size_t>(k)]);
    x.append(&items[3]);
    x.merge(&abc);
    EXPECT_EQ(names(x), (std::vector<int>{4, 1, 2, 3}));
    x.clear();
    x.append(&items[3]);
    x.premerge(&abc);
    EXPECT_EQ(names(x), (std::vector<int>{3, 2, 1, 4}));
    EXPECT_EQ(names(abc), (std::vector<int>{1, 2, 3}));

    abc.merge(&abc);  // ends, although the list grows under it
    EXPECT_EQ(names(abc), (std::vector<int>{1, 2, 3, 1, 2, 3}));
    x.premerge(&x);
    EXPECT_EQ(names(x), (std::vector<int>{4, 1, 2, 3, 3, 2, 1, 4}));
    SLIST empty;
    empty.merge(&empty);
    x.premerge(&empty);
    EXPECT_EQ(x.size(), 8u);
}

TEST(Slist, CopyTakesItemsAndCompareFunction) {
    std::vector<record> items = records({2, 1, 3});
    SLIST from, to;
    from.set_cmp_func(by_key);
    fill(from, items);
    to.append(&items[2]);
    to.copy(&from);
    EXPECT_EQ(contents(to), contents(from));
    to.sort();
    EXPECT_EQ(names(to), (std::vector<int>{2, 1, 3}));
    EXPECT_EQ(names(from), (std::vector<int>{1, 2, 3}));
    from.copy(&from);  // emptied before it is read
    EXPECT_EQ(names(from), std::vector<int>{});
    EXPECT_EQ(run_in_child([&] { to.copy(nullptr); }).err, ">> internal error: SLIST::copy: no list to copy\n");
}

TEST(Slist, EmptyNodesAreSkippedUntilTheyArePurged) {
    std::vector<record> items = records({4, 3, 2, 1});
    SLIST list;
    list.set_cmp_func(by_key);
    fill(list, items);
    list.sort();
    list.find(&items[0])->set_data(nullptr);
    list.begin()->set_data(nullptr);
    EXPECT_EQ(list.find(&items[0]), nullptr);
    EXPECT_EQ(list.find(&items[1])->data, &items[1]);
    std::vector<int> walked;
    for (const record* r : ::items<record>(list))
        walked.push_back(r->key);
    EXPECT_EQ(walked, (std::vector<int>{2, 3}));
    EXPECT_EQ(list.size(), 4u);
    list.purge();
    EXPECT_EQ(names(list), (std::vector<int>{3, 2}));
    list.begin()->set_data(nullptr);
    list.end()->set_data(nullptr);
    for (const record* r : ::items<record>(list))
        ADD_FAILURE() << r->key;
    list.purge();  // no dangling end
    list.append(&items[0]);
    EXPECT_EQ(names(list), std::vector<int>{1});
}

TEST(Slist, AnyMixOfChangesKeepsLinksEndsAndCount) {
    std::mt19937 random(6);
    std::vector<record> items = records(std::vector<int>(20, 0));
    for (record& r : items)
        r.key = r.name;
    SLIST list;
    list.set_cmp_func(by_key);
    std::deque<void*> model;
    for (int step = 0; step < 20'000; ++step) {
        record* const item = &items[random() % items.size()];
        switch (random() % 9) {
        case 0:
        case 1:
            list.append(item);
            model.push_back(item);
            break;
        case 2:
            list.prepend(item);
            model.push_front(item);
            break;
        case 3:
        case 4:
            EXPECT_EQ(list.remove_first(), model.empty() ? nullptr : model.front());
            if (!model.empty())
                model.pop_front();
            break;
        case 5:
            EXPECT_EQ(list.remove_last(), model.empty() ? nullptr : model.back());
            if (!model.empty())
                model.pop_back();
            break;
        case 6:  // items that are there once, so that it is known which node goes
            if (std::count(model.begin(), model.end(), item) < 2) {
                list.erase(item);
                model.erase(std::remove(model.begin(), model.end(), item), model.end());
            }
            break;
        case 7:
            if (random() % 50 == 0) {
                list.clear();
                model.clear();
            }
            break;
        case 8:
            list.sort();  // items with equal keys are the same item here
            std::sort(model.begin(), model.end());
            break;
        }
        ASSERT_EQ(contents(list), std::vector<void*>(model.begin(), model.end())) << "step " << step;
    }
}

TEST(Slist, LivesThroughTheEndOfTheRunWhereverItStands) {
    const child_result result = run_in_child([] {
        static SLIST global;
        SLIST local;
        for (int k = 0; k < 1000; ++k) {
            local.append(&local);
            global.append(&local);
        }
        local.find(&local);  // ends the run: `local` is never destroyed, `global` is
    });
    EXPECT_EQ(result.status, 1);
}

}  // namespace

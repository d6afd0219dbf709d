#include "containers/shash.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child_run.h"

namespace {

/// Items are small numbers, standing in for records.
void* item(std::uintptr_t number) {
    return reinterpret_cast<void*>(number);
}

std::vector<std::uintptr_t> forward(const SHASH& table) {
    std::vector<std::uintptr_t> found;
    for (SLIST::NODE* node = table.begin(); node; node = table.next(node))
        found.push_back(reinterpret_cast<std::uintptr_t>(SHASH::entry(node)->item));
    return found;
}

std::vector<std::uintptr_t> backward(const SHASH& table) {
    std::vector<std::uintptr_t> found;
    for (SLIST::NODE* node = table.end(); node; node = table.prev(node))
        found.insert(found.begin(), reinterpret_cast<std::uintptr_t>(SHASH::entry(node)->item));
    return found;
}

using numbers = std::vector<std::uintptr_t>;

TEST(Shash, IteratesByBucketAndWithinItByInsertionEvenAfterALookUp) {
    SHASH table(SHASH::UINT32_hash, SHASH::UINT32_cmp, 7);
    EXPECT_EQ(table.begin(), nullptr);
    EXPECT_EQ(table.end(), nullptr);
    // Bucket 1: 15, 8, 1; bucket 3: 3; bucket 6: 13, 6. The others stay empty.
    const std::uint32_t keys[] = {13, 15, 3, 8, 6, 1};
    for (const std::uint32_t key : keys)
        table.add(key, item(key));
    const numbers order = {15, 8, 1, 3, 13, 6};
    EXPECT_EQ(forward(table), order);
    EXPECT_EQ(backward(table), order);
    for (const std::uint32_t key : keys) {
        const SLIST::NODE* const node = table.find(key);
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(SHASH::entry(node)->item, item(key));
        EXPECT_EQ(SHASH::entry(node)->key_ref, &SHASH::entry(node)->key);
    }
    EXPECT_EQ(table.find(22u), nullptr);  // its bucket is in use
    EXPECT_EQ(table.find(2u), nullptr);   // its bucket is not
    EXPECT_EQ(forward(table), order);
    EXPECT_EQ(table.next(nullptr), nullptr);
    EXPECT_EQ(table.prev(nullptr), nullptr);
}

TEST(Shash, NumbersAreUnsigned32Bits) {
    SHASH table(SHASH::UINT32_hash, SHASH::UINT32_cmp, 1);
    for (const std::uint32_t key : {0x80000000u, 0u, 0xFFFFFFFFu, 0x7FFFFFFFu, 1u})
        table.add(key, item(key));
    for (const std::uint32_t key : {0x80000000u, 0u, 0xFFFFFFFFu, 0x7FFFFFFFu, 1u})
        EXPECT_EQ(SHASH::entry(table.find(key))->item, item(key));
    const SHASH::ENTRY small(1u, nullptr), large(0x80000000u, nullptr);
    EXPECT_EQ(SHASH::UINT32_cmp(&small, &large), -1);
    EXPECT_EQ(SHASH::UINT32_cmp(&large, &small), 1);
    EXPECT_EQ(SHASH::UINT32_cmp(&large, &large), 0);
    EXPECT_EQ(SHASH::UINT32_hash(SHASH::ENTRY(0xFFFFFFFFu, nullptr).key_ref, 521), 0xFFFFFFFFu % 521);
}

TEST(Shash, StringsAreFoundByTheirTextNotTheirAddress) {
    SHASH table(SHASH::str_hash, SHASH::str_cmp, 521);
    const std::vector<std::string> names = {"main", "niam", "", "_c_int00", "x\x80\xff", "\xff\xff\xff"};
    for (std::size_t k = 0; k < names.size(); ++k)
        table.add(names[k].c_str(), item(k + 1));
    for (std::size_t k = 0; k < names.size(); ++k) {
        const std::string copy = names[k];
        ASSERT_NE(table.find(copy.c_str()), nullptr) << k;
        EXPECT_EQ(SHASH::entry(table.find(copy.c_str()))->item, item(k + 1));
    }
    EXPECT_EQ(table.find("mai"), nullptr);
    EXPECT_EQ(SHASH::entry(table.find(static_cast<const char*>(nullptr)))->item, item(3));  // null is the empty text
}

TEST(Shash, HashesAreTheDocumentedSums) {
    const struct {
        const char* text;
        int bucket;
    } cases[] = {
        {nullptr, 0},        {"", 0}, {"a", 97}, {"main", (109 + 97 + 105 + 110) % 100}, {"\x7f", 27},  // 127
        {"\xff", 99},  // -1, brought back into the table
        {"\x80", 72},  // -128: remainder -28
        {"\x80\x7f\x01", 0},
    };
    for (const auto& c : cases) {
        const SHASH::ENTRY entry(static_cast<const void*>(c.text), nullptr);
        EXPECT_EQ(SHASH::str_hash(entry.key_ref, 100), c.bucket) << (c.text ? c.text : "null");
    }
    // In pointers the two low bits say nothing.
    for (const std::uintptr_t address : {std::uintptr_t{0}, std::uintptr_t{0x1003}, ~std::uintptr_t{0}}) {
        const SHASH::ENTRY entry(static_cast<const void*>(item(address)), nullptr);
        EXPECT_EQ(SHASH::ptr_hash(entry.key_ref, 521), static_cast<int>((address >> 2) % 521));
    }
}

TEST(Shash, KeysAddedTwiceAreThereTwiceAndEraseTakesOne) {
    SHASH table(SHASH::str_hash, SHASH::str_cmp, 3);
    table.add("a", item(1));
    table.add("a", item(2));
    table.add("d", item(3));
    EXPECT_EQ(forward(table), (numbers{1, 2, 3}));
    table.erase("a");
    EXPECT_EQ(table.size(), 2u);
    EXPECT_EQ(forward(table).size(), 2u);
    table.erase("a");
    EXPECT_EQ(table.find("a"), nullptr);
    EXPECT_EQ(forward(table), numbers{3});
    EXPECT_EQ(backward(table), numbers{3});
    // On purpose: the count falls although there is nothing to take.
    table.erase("a");
    EXPECT_EQ(table.size(), 0u);
    EXPECT_EQ(forward(table), numbers{3});
}

TEST(Shash, ClearForgetsTheEntriesButNotTheKindOfKeys) {
    SHASH table(SHASH::str_hash, SHASH::str_cmp, 5);
    table.add("a", item(1));
    table.clear();
    EXPECT_EQ(table.size(), 0u);
    EXPECT_EQ(table.find("a"), nullptr);
    EXPECT_EQ(table.begin(), nullptr);
    EXPECT_EQ(run_in_child([&] { table.find(1u); }).err,
              ">> internal error: SHASH::find (scalar): cannot mix key types\n");
    table.add("a", item(2));
    EXPECT_EQ(forward(table), numbers{2});
}

TEST(Shash, ANewCompareFunctionReachesEveryBucket) {
    SHASH table(SHASH::UINT32_hash, nullptr, 4);
    EXPECT_EQ(table.find(1u), nullptr);  // needs no compare function while its bucket is empty
    for (std::uint32_t key = 0; key < 16; ++key)
        table.add(key, item(key + 1));
    EXPECT_NE(run_in_child([&] { table.find(1u); }).err.find("SLIST::qsort: Use set_cmp_func"), std::string::npos);
    table.set_cmp_func(SHASH::UINT32_cmp);
    for (std::uint32_t key = 0; key < 16; ++key)
        EXPECT_EQ(SHASH::entry(table.find(key))->item, item(key + 1));
}

TEST(Shash, FaultsOfTheCallerEndTheRun) {
    const auto strings = [](auto body) {
        return run_in_child([&] {
            SHASH table(SHASH::str_hash, SHASH::str_cmp, 5);
            table.add("a", item(1));
            body(table);
        });
    };
    const auto scalars = [](auto body) {
        return run_in_child([&] {
            SHASH table(SHASH::UINT32_hash, SHASH::UINT32_cmp, 5);
            table.add(1u, item(1));
            body(table);
        });
    };
    SLIST foreign;
    foreign.append(item(1));
    const struct {
        child_result result;
        const char* text;
    } cases[] = {
        {strings([](SHASH& t) { t.add(1u, nullptr); }), "SHASH::add (scalar): cannot mix hash key types"},
        {scalars([](SHASH& t) { t.add("a", nullptr); }), "SHASH::add (pointer): cannot mix hash key types"},
        {strings([](SHASH& t) { t.find(1u); }), "SHASH::find (scalar): cannot mix key types"},
        {scalars([](SHASH& t) { t.find("a"); }), "SHASH::find (pointer): cannot mix key types"},
        {strings([](SHASH& t) { t.erase(1u); }), "SHASH::erase (scalar): cannot mix key types"},
        {scalars([](SHASH& t) { t.erase("a"); }), "SHASH::erase (pointer): cannot mix key types"},
        {strings([&](SHASH& t) { t.next(foreign.begin()); }), "SHASH::next: the node is in none of the buckets"},
        {strings([&](SHASH& t) { t.prev(foreign.begin()); }), "SHASH::prev: the node is in none of the buckets"},
        {run_in_child([] { SHASH(SHASH::str_hash, SHASH::str_cmp, 0); }),
         "SHASH::SHASH: cannot make a table of 0 buckets"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.result.err, ">> internal error: " + std::string(c.text) + "\n");
        EXPECT_EQ(c.result.status, 1) << c.text;
    }
    for (const SHASH::hash_function wrong :
         {SHASH::hash_function{}, SHASH::hash_function{[](const void*, int n) { return n; }},
          SHASH::hash_function{[](const void*, int) { return -1; }}}) {
        const child_result result = run_in_child([&] { SHASH(wrong, SHASH::str_cmp, 5).add("a", nullptr); });
        EXPECT_NE(result.err.find("SHASH::bucket_of"), std::string::npos);
        EXPECT_EQ(result.status, 1);
    }
}

TEST(Shash, EitherKindOfKeyMayBeLookedForInAnEmptyTable) {
    SHASH table(SHASH::UINT32_hash, SHASH::UINT32_cmp, 5);
    EXPECT_EQ(table.find("a"), nullptr);
    EXPECT_EQ(table.find(1u), nullptr);
    table.add(1u, item(1));  // neither look-up has settled the kind
    EXPECT_EQ(table.size(), 1u);
}

}  // namespace

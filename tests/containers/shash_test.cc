// The hash table: order, keys, and what ends the run.
#include "containers/shash.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/child_run.h"

namespace {

/// Items are small numbers, standing in for records.
void* item(std::uintptr_t number) {
    return reinterpret_cast<void*>(number);
}

using numbers = std::vector<std::uintptr_t>;

/// The items in the order of iteration, which must be the same from both ends.
numbers items_of(const SHASH& table) {
    numbers found, backward;
    for (SLIST::NODE* node = table.begin(); node; node = table.next(node))
        found.push_back(reinterpret_cast<std::uintptr_t>(SHASH::entry(node)->item));
    for (SLIST::NODE* node = table.end(); node; node = table.prev(node))
        backward.insert(backward.begin(), reinterpret_cast<std::uintptr_t>(SHASH::entry(node)->item));
    EXPECT_EQ(found, backward);
    return found;
}

TEST(Shash, IteratesByBucketAndWithinItByInsertionEvenAfterALookUp) {
    SHASH table(nullptr, nullptr, 7);
    table.set_hash_func(SHASH::UINT32_hash);
    EXPECT_EQ(table.begin(), nullptr);
    EXPECT_EQ(table.end(), nullptr);
    // Either kind of key may be looked for: it does not settle the kind. Nor does an empty bucket compare.
    EXPECT_EQ(table.find(1u), nullptr);
    EXPECT_EQ(table.find("a"), nullptr);
    // What the functions make of the kind that is not theirs does not matter then.
    SHASH strings(SHASH::str_hash, SHASH::str_cmp, 5);
    EXPECT_EQ(strings.find(1u), nullptr);
    strings.erase(1u);
    EXPECT_EQ(strings.size(), 0xFFFFFFFFu);
    // Bucket 0: 7; bucket 1: 15, 8, 1; bucket 2: the large one; bucket 3: 3; bucket 6: 13, 6. The others stay empty.
    const std::uint32_t keys[] = {13, 15, 3, 8, 7, 6, 0x80000000u, 1};
    for (const std::uint32_t key : keys)
        table.add(key, item(key));
    table.set_cmp_func(SHASH::UINT32_cmp);  // reaches every bucket
    const numbers order = {7, 15, 8, 1, 0x80000000u, 3, 13, 6};
    EXPECT_EQ(items_of(table), order);
    for (const std::uint32_t key : keys) {
        const SLIST::NODE* const node = table.find(key);
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(SHASH::entry(node)->item, item(key));
        EXPECT_EQ(SHASH::entry(node)->key_ref, &SHASH::entry(node)->key);
    }
    EXPECT_EQ(table.find(22u), nullptr);  // its bucket is in use
    EXPECT_EQ(table.find(4u), nullptr);   // its bucket is not
    EXPECT_EQ(items_of(table), order);
    EXPECT_EQ(table.next(nullptr), nullptr);
    EXPECT_EQ(table.prev(nullptr), nullptr);
    table.erase(8u);
    table.erase(3u);  // its bucket is empty from now on
    EXPECT_EQ(items_of(table), (numbers{7, 15, 1, 0x80000000u, 13, 6}));
}

TEST(Shash, StringsAreFoundByTheirTextNotTheirAddress) {
    SHASH table(SHASH::str_hash, SHASH::str_cmp, 521);
    const std::vector<std::string> names = {"main", "niam", "", "_c_int00", "x\x80\xff", "\xff\xff\xff"};
    const std::vector<std::string> copies = names;
    for (std::size_t k = 0; k < names.size(); ++k)
        table.add(names[k].c_str(), item(k + 1));
    for (std::size_t k = 0; k < names.size(); ++k)
        EXPECT_EQ(SHASH::entry(table.find(copies[k].c_str()))->item, item(k + 1));
    EXPECT_EQ(table.find("mai"), nullptr);
    EXPECT_EQ(SHASH::entry(table.find(static_cast<const char*>(nullptr)))->item, item(3));  // null is the empty text
}

TEST(Shash, HashesAndComparisonsAreTheDocumentedOnes) {
    const struct {
        const char* text;
        int bucket;
    } cases[] = {
        {nullptr, 0}, {"a", 97},           {"main", (109 + 97 + 105 + 110) % 100},
        {"\x7f", 27}, {"\x80\x7f\x01", 0}, {"\xff", 99},  // -1, brought back into the table
        {"\x80", 72},                                     // -128: remainder -28
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
    const SHASH::ENTRY small(1u, nullptr), large(0xFFFFFFFFu, nullptr);
    EXPECT_EQ(SHASH::UINT32_hash(large.key_ref, 521), 0xFFFFFFFFu % 521);
    EXPECT_EQ(SHASH::UINT32_cmp(&small, &large), -1);
    EXPECT_EQ(SHASH::UINT32_cmp(&large, &small), 1);
    EXPECT_EQ(SHASH::UINT32_cmp(&large, &large), 0);
}

TEST(Shash, KeysAddedTwiceAreThereTwiceAndEraseTakesOne) {
    SHASH table(SHASH::str_hash, SHASH::str_cmp, 3);
    table.add("a", item(1));
    table.add("a", item(2));
    table.add("d", item(3));
    EXPECT_EQ(items_of(table), (numbers{1, 2, 3}));
    table.erase("a");
    EXPECT_EQ(table.size(), 2u);
    EXPECT_EQ(items_of(table).size(), 2u);
    table.erase("a");
    // On purpose: the count falls although there is nothing to take.
    table.erase("a");
    EXPECT_EQ(table.size(), 0u);
    EXPECT_EQ(table.find("a"), nullptr);
    EXPECT_EQ(items_of(table), numbers{3});
    table.add("b", item(4));
    table.clear();
    EXPECT_EQ(table.size(), 0u);
    EXPECT_EQ(table.find("d"), nullptr);
    EXPECT_EQ(items_of(table), numbers{});
}

TEST(Shash, FaultsOfTheCallerEndTheRun) {
    SHASH strings(SHASH::str_hash, SHASH::str_cmp, 5), scalars(SHASH::UINT32_hash, nullptr, 5);
    strings.add("a", item(1));
    strings.clear();  // keeps the kind of keys
    scalars.add(1u, item(1));
    SLIST foreign;
    foreign.append(item(1));
    const auto add_with = [](SHASH::hash_function hash) { SHASH(hash, nullptr, 5).add("a", nullptr); };
    const struct {
        std::function<void()> fault;
        const char* text;
    } cases[] = {
        {[&] { strings.add(1u, nullptr); }, "add (scalar): cannot mix hash key types"},
        {[&] { scalars.add("a", nullptr); }, "add (pointer): cannot mix hash key types"},
        {[&] { strings.find(1u); }, "find (scalar): cannot mix key types"},
        {[&] { scalars.find("a"); }, "find (pointer): cannot mix key types"},
        {[&] { strings.erase(1u); }, "erase (scalar): cannot mix key types"},
        {[&] { scalars.erase("a"); }, "erase (pointer): cannot mix key types"},
        {[&] { strings.next(foreign.begin()); }, "next: the node is in none of the buckets"},
        {[&] { strings.prev(foreign.begin()); }, "prev: the node is in none of the buckets"},
        {[] { SHASH(nullptr, nullptr, 0); }, "SHASH: cannot make a table of 0 buckets"},
        {[&] { add_with(nullptr); }, "bucket_of: bucket -1 of 5"},
        {[&] { add_with([](const void*, int) { return -1; }); }, "bucket_of: bucket -1 of 5"},
        {[&] { add_with([](const void*, int n) { return n; }); }, "bucket_of: bucket 5 of 5"},
    };
    for (const auto& c : cases) {
        const child_result result = run_in_child(c.fault);
        EXPECT_TRUE(result.err.starts_with(">> internal error: SHASH::" + std::string(c.text))) << result.err;
        EXPECT_EQ(result.status, 1) << c.text;
    }
}

}  // namespace

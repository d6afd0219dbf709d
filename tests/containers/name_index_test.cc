#include "containers/name_index.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(NameIndex, TheFirstNumberOfANameStands) {
    name_index index;
    EXPECT_EQ(index.find(""), nullptr);
    EXPECT_EQ(index.find_or_add("", 3), 3U);
    EXPECT_EQ(index.find_or_add("a", 4), 4U);
    EXPECT_EQ(index.find_or_add("a", 5), 4U);
    EXPECT_EQ(index.find_or_add("", 6), 3U);
    ASSERT_NE(index.find("a"), nullptr);
    EXPECT_EQ(*index.find("a"), 4U);
    EXPECT_EQ(index.find("ab"), nullptr);
}

TEST(NameIndex, GrowsAndForgets) {
    std::vector<std::string> names;
    for (int i = 0; i < 10000; ++i)
        names.push_back("_symbol_" + std::to_string(i * 7));
    name_index index;
    for (std::uint32_t i = 0; i < names.size(); ++i)
        ASSERT_EQ(index.find_or_add(names[i], i), i);
    for (std::uint32_t i = 0; i < names.size(); ++i)
        ASSERT_EQ(*index.find(names[i]), i);
    index.clear();
    EXPECT_EQ(index.find(names[0]), nullptr);
    EXPECT_EQ(index.find_or_add(names[0], 1), 1U);
}

}  // namespace

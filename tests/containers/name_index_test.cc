// The index by itself: growth, first come first served, forgetting.
#include "containers/name_index.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(NameIndex, TheFirstNumberOfANameStandsUntilAllAreForgotten) {
    std::vector<std::string> names = {"", "a"};
    for (int i = 0; i < 10000; ++i)  // it grows several times
        names.push_back("_symbol_" + std::to_string(i * 7));
    name_index index;
    const auto name_of = [&](std::uint32_t number) { return hashed_name(names[number - 3]); };
    const auto find = [&](const char* name) { return index.find(hashed_name(name), name_of); };
    EXPECT_EQ(find(""), name_index::none);
    for (const std::uint32_t offset : {3U, 4U}) {  // the second time every name is there
        for (std::uint32_t i = 0; i < names.size(); ++i)
            ASSERT_EQ(index.find_or_add(hashed_name(names[i]), i + offset, name_of), i + 3);
    }
    for (std::uint32_t i = 0; i < names.size(); ++i)
        ASSERT_EQ(find(names[i].c_str()), i + 3);
    EXPECT_EQ(find("ab"), name_index::none);
    index.clear();
    EXPECT_EQ(find(""), name_index::none);
    EXPECT_EQ(index.find_or_add(hashed_name("a"), 4, name_of), 4U);
}

}  // namespace

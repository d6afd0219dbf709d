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
    EXPECT_EQ(index.find(""), nullptr);
    for (const std::uint32_t offset : {3U, 4U}) {  // the second time every name is there
        for (std::uint32_t i = 0; i < names.size(); ++i)
            ASSERT_EQ(index.find_or_add(names[i], i + offset), i + 3);
    }
    for (std::uint32_t i = 0; i < names.size(); ++i)
        ASSERT_EQ(*index.find(names[i]), i + 3);
    EXPECT_EQ(index.find("ab"), nullptr);
    index.clear();
    EXPECT_EQ(index.find(names[0]), nullptr);
    EXPECT_EQ(index.find_or_add(names[0], 1), 1U);
}

}  // namespace

#include "convert/string_table.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "convert/velm_file.h"

namespace {

class StringTable : public ::testing::Test {
protected:
    void SetUp() override { init_filehdr(); }
    void TearDown() override {
        cleanup_str_tab();
        init_filehdr();
    }
};

TEST_F(StringTable, EachNameOnceAndPaddedToAWord) {
    EXPECT_EQ(add_to_string_list("a"), 0U);
    EXPECT_EQ(add_to_string_list("bc"), 2U);
    const std::string again = "a";  // equal text elsewhere in memory
    EXPECT_EQ(add_to_string_list(again.c_str()), 0U);
    EXPECT_EQ(velm_file.strtab_size, 5U);
    EXPECT_EQ(velm_file.max_str_len, 3U);
    string_table_create();
    EXPECT_EQ(velm_file.strtab_size, 8U);
    EXPECT_EQ(std::memcmp(str_table_buf, "a\0bc\0\0\0\0", 8), 0);
}

TEST_F(StringTable, TheEmptyNameTakesItsTerminator) {
    EXPECT_EQ(add_to_string_list(""), 0U);
    EXPECT_EQ(add_to_string_list("x"), 1U);
    EXPECT_EQ(add_to_string_list(""), 0U);
    EXPECT_EQ(velm_file.strtab_size, 3U);
}

TEST_F(StringTable, NoNamesNoTable) {
    string_table_create();
    EXPECT_EQ(velm_file.strtab_size, 0U);
}

// 65,534 characters and their terminator fill the header's field.
TEST_F(StringTable, TheLongestName) {
    const std::string longest(65534, 'n');
    EXPECT_EQ(add_to_string_list(longest.c_str()), 0U);
    EXPECT_EQ(velm_file.max_str_len, 65535U);
    const std::string longer(65535, 'n');
    EXPECT_EXIT(add_to_string_list(longer.c_str()), ::testing::ExitedWithCode(1), "^ERROR: A name of the module has");
}

}  // namespace

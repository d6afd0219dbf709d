// What no run asks of a name: a run only ever replaces an extension by one with its dot.
#include "convert/file_names.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string with_extension(const char* name, const char* ext, int replace) {
    char buffer[64];
    std::strcpy(buffer, name);
    return fn_addext(buffer, ext, replace);
}

TEST(FileNames, Extensions) {
    const struct {
        const char* name;
        const char* ext;
        int replace;
        const char* expected;
    } table[] = {
        {"prog.out", "vlm", 1, "prog.vlm"},
        {"prog.out", ".vlm", 0, "prog.out"},
        {"prog.out", "", 1, "prog"},
        {"prog", "vlm", 0, "prog.vlm"},
        {"prog", "", 1, "prog"},
        {"..", ".vlm", 1, "..vlm"},
    };
    for (const auto& row : table)
        EXPECT_EQ(with_extension(row.name, row.ext, row.replace), row.expected) << row.name << " + " << row.ext;
}

TEST(FileNames, BaseNames) {
    EXPECT_STREQ(fn_basename("dir/"), "");
    EXPECT_STREQ(fn_basename("c:\\app.out"), "c:\\app.out");  // only "/" separates
    EXPECT_EQ(fn_basename(""), nullptr);
}

}  // namespace

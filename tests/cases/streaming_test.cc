// Contents go from the input to the module in pieces: what that takes, and what happens when it fails half-way.
#include "cases/run_modforge.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <future>

#include <gtest/gtest.h>

using namespace cases;
using support::run_result;

namespace {

/// A workshop with "app.out", one section of so many bytes, which are a hole in the file.
class wide_shop : public workshop {
public:
    explicit wide_shop(std::uint32_t size) {
        support::coff_image image;
        image.sections = {{.size = size, .scnptr = 4}};
        write("app.out", image.data());
        std::filesystem::resize_file(path("app.out"), size + 4096);
    }
};

#ifndef MODFORGE_SANITIZED  // sanitizers take all the address space there is
TEST(Streaming, ContentsAreNotHeldInMemory) {
    const wide_shop shop(48 << 20);
    const run_result run = shop.run({"-o=out.bin", "app.out"}, {.megabytes = 16});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(std::filesystem::file_size(shop.path("out.bin")), 100U + (48 << 10) * (1024 + 12));
}
#endif

TEST(Streaming, NobodyHasToReadTheBanner) {
    const workshop shop;
    shop.write("app.out", small_image().data());
    const run_result run = shop.run({"-o=out.bin", "app.out"}, {.reader_is_gone = true});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(shop.read("out.bin") == second_opinion::convert(request_for(small_image())).module);
}

// The module goes into a pipe, which is full long before the input was read to its end.
TEST(Streaming, AnInputThatShrinksMeanwhileEndsTheRun) {
    const wide_shop shop(1 << 20);
    ASSERT_EQ(mkfifo(shop.path("pipe").c_str(), 0600), 0);
    auto run = std::async(std::launch::async, [&] { return shop.run({"-o=pipe", "app.out"}); });
    std::ifstream pipe(shop.path("pipe"), std::ios::binary);
    pipe.get();
    std::filesystem::resize_file(shop.path("app.out"), 4096);
    pipe.ignore(2 << 20);
    const run_result result = run.get();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, ">> fatal error: app.out: cannot read the contents of section .text\n");
}

}  // namespace

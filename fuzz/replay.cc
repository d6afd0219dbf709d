// What stands in for libFuzzer in an ordinary build: runs a target over files, and over simple damage to each of them.
//
// usage: TARGET PATH...     a file, or a directory of them
//
// Each file is given as it is, cut at every length, and with every byte changed in four ways. A fault shows as a crash
// or a sanitizer's report. Files over 4 KiB are given as they are only, so that a test stays short.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "survive.h"

namespace {

constexpr std::size_t damage_limit = 4096;
std::size_t runs = 0;

/// A copy of exactly the right size, so that the address sanitizer sees a read behind its end.
void give(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> copy(data, data + size);
    LLVMFuzzerTestOneInput(copy.data(), copy.size());
    ++runs;
}

void give_damaged(std::vector<std::uint8_t> input) {
    for (std::size_t kept = 0; kept < input.size(); ++kept)
        give(input.data(), kept);
    for (std::uint8_t& byte : input) {
        const std::uint8_t sound = byte;
        const std::array<int, 4> changes{0x00, 0xFF, sound ^ 0x80, sound + 1};
        for (const int change : changes) {
            byte = static_cast<std::uint8_t>(change);
            give(input.data(), input.size());
        }
        byte = sound;
    }
}

bool replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<std::uint8_t> input{std::istreambuf_iterator<char>(file), {}};
    give(input.data(), input.size());
    if (input.size() <= damage_limit)
        give_damaged(input);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    bool good = argc > 1;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            good = replay(argv[i]) && good;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
            good = replay(entry.path()) && good;
    }
    std::printf("replay: %zu runs\n", runs);
    return good && runs > 0 ? 0 : 1;
}

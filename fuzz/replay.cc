// What stands in for libFuzzer in an ordinary build: runs a target over files, and over mutations of them.
//
// usage: TARGET [--mutations N] [--seed S] PATH...     a file, or a directory of them
//
// The same seed gives the same mutations; mutation i is that of seed S + i. A fault shows as a crash or a sanitizer's
// report, and a run of more than 5 s is one; the input that was being run is then in the file crash-S+i.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "mutator.h"
#include "survive.h"

extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace {

/// No mutation makes an input longer, so that a test stays short.
constexpr std::size_t longest_mutation = 16384;

support::bytes current;
std::uint64_t current_seed = 0;

void keep_current() {
    const std::string name = "crash-" + std::to_string(current_seed);
    std::ofstream(name, std::ios::binary)
        .write(reinterpret_cast<const char*>(current.data()), static_cast<std::streamsize>(current.size()));
    std::fprintf(stderr, "replay: the input is in %s\n", name.c_str());
}

void keep_what_crashes() {
    if (__sanitizer_set_death_callback)
        __sanitizer_set_death_callback(keep_current);
    std::signal(SIGABRT, [](int signal) {
        keep_current();
        std::signal(signal, SIG_DFL);
    });
}

void give(support::bytes input) {
    input.shrink_to_fit();  // so that the address sanitizer sees a read behind its end
    current = std::move(input);
    const std::clock_t began = std::clock();
    LLVMFuzzerTestOneInput(current.data(), current.size());
    if (std::clock() - began > 5 * CLOCKS_PER_SEC) {
        std::fputs("replay: a run of more than 5 s\n", stderr);
        std::abort();
    }
}

bool read(const std::filesystem::path& path, std::vector<support::bytes>& inputs) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
        return false;
    }
    inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return true;
}

/// In the order of their names: the order in which a directory is read differs between machines.
std::vector<std::filesystem::path> files_at(const char* path) {
    if (!std::filesystem::is_directory(path))
        return {path};
    std::vector<std::filesystem::path> files(std::filesystem::directory_iterator(path), {});
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t mutations = 0, seed = 1;
    std::vector<support::bytes> inputs;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--mutations" || argument == "--seed") {
            const char* number = i + 1 < argc ? argv[++i] : "";
            (argument == "--seed" ? seed : mutations) = std::strtoull(number, nullptr, 10);
            continue;
        }
        for (const auto& file : files_at(argv[i]))
            if (!read(file, inputs))
                return 1;
    }
    if (inputs.empty()) {
        std::fputs("replay: no inputs\n", stderr);
        return 1;
    }
    keep_what_crashes();
    for (const support::bytes& input : inputs)
        give(input);
    for (std::uint64_t i = 0; i < mutations; ++i) {
        support::bytes input = inputs[i % inputs.size()];
        current_seed = seed + i;
        mutate(input, longest_mutation, current_seed);
        give(std::move(input));
    }
    std::printf("replay: %zu inputs, %llu mutations from seed %llu\n", inputs.size(),
                static_cast<unsigned long long>(mutations), static_cast<unsigned long long>(seed));
    return 0;
}

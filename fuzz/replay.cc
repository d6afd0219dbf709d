// What stands in for libFuzzer in an ordinary build: runs a target over files, over mutations of them, and over sweeps.
//
// usage: TARGET [--mutations N] [--seed S] [--sweep N] PATH...     a file, or a directory of them
//
// The same seed gives the same mutations; mutation i is that of seed S + i. A sweep is of files named everything*: cut at
// every byte, every field of every record at every value that may break something, and every Nth pair of such values in
// two fields of one record. A fault shows as a crash or a sanitizer's report, and a run of more than 5 s is one; the
// input is then in a file crash-N.
#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "mutator.h"
#include "survive.h"

extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace {

/// No mutation makes an input longer, so that a test stays short.
constexpr std::size_t longest_mutation = 16384;

support::bytes current;
std::uint64_t current_seed = 0, runs = 0;

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
    ++runs;
    const std::clock_t began = std::clock();
    LLVMFuzzerTestOneInput(current.data(), current.size());
    if (std::clock() - began > 5 * CLOCKS_PER_SEC) {
        std::fputs("replay: a run of more than 5 s\n", stderr);
        std::abort();
    }
}

class sweep {
public:
    sweep(support::bytes input, std::uint64_t each) : input_(std::move(input)), each_(each) {}

    void run() {
        for (std::size_t kept = 0; kept < input_.size(); ++kept)
            give({input_.begin(), input_.begin() + static_cast<std::ptrdiff_t>(kept)});
        map_ = fuzz_input.records(input_);
        for (const support::record& part : map_.records)
            for (const support::field& place : part.kind->fields)
                support::at_every_value(input_, map_, part, place, [&](std::uint32_t) {
                    give_repaired();
                    for (const support::field* other = part.kind->fields.data(); other != &place; ++other)
                        support::at_every_value(input_, map_, part, *other, [&](std::uint32_t) {
                            if (++pairs_ % each_ == 0)
                                give_repaired();
                        });
                });
    }

private:
    void give_repaired() const {
        support::bytes repaired = input_;
        if (fuzz_input.repair)
            fuzz_input.repair(repaired);
        give(std::move(repaired));
    }

    support::bytes input_;
    std::uint64_t each_, pairs_ = 0;
    support::record_map map_;
};

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
#if defined(__GLIBC__)
    // Each case takes and frees the same memory; giving it back to the system in between took most of the time.
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_MMAP_MAX, 0);
#endif
    std::map<std::string, std::uint64_t> numbers = {{"--mutations", 0}, {"--seed", 1}, {"--sweep", 0}};
    std::vector<support::bytes> inputs, to_sweep;
    for (int i = 1; i < argc; ++i) {
        if (const auto option = numbers.find(argv[i]); option != numbers.end()) {
            option->second = std::strtoull(i + 1 < argc ? argv[++i] : "", nullptr, 10);
            continue;
        }
        for (const auto& file : files_at(argv[i])) {
            if (!read(file, inputs))
                return 1;
            if (file.filename().string().starts_with("everything"))
                to_sweep.push_back(inputs.back());
        }
    }
    keep_what_crashes();
    for (const support::bytes& input : inputs)
        give(input);
    const std::uint64_t mutations = inputs.empty() ? 0 : numbers["--mutations"];
    for (std::uint64_t i = 0; i < mutations; ++i) {
        support::bytes input = inputs[i % inputs.size()];
        current_seed = numbers["--seed"] + i;
        mutate(input, longest_mutation, current_seed);
        give(std::move(input));
    }
    const std::uint64_t before = runs;
    for (const support::bytes& input : to_sweep)
        if (numbers["--sweep"] != 0)
            sweep(input, numbers["--sweep"]).run();
    std::printf("%zu inputs, %llu mutations, %llu swept\n", inputs.size(), static_cast<unsigned long long>(mutations),
                static_cast<unsigned long long>(runs - before));
    return inputs.empty() ? 1 : 0;
}

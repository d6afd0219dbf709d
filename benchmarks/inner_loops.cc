// The loops in which the converter spends its time, each by itself. Times of this machine: to compare two builds of one
// loop, and no more; what counts is in docs/performance.md.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "containers/name_index.h"
#include "convert/options.h"
#include "convert/velm_file.h"
#include "format/checksum.h"
#include "output/velm_writer.h"
#include "packets/reloc_list.h"

namespace {

constexpr std::size_t window = 64 * 1024;  // bytes: what passes through the cache at once

std::vector<std::uint32_t> random_words(std::size_t count) {
    std::vector<std::uint32_t> words(count);
    std::uint32_t word = 1;
    for (std::uint32_t& place : words)
        place = word = word * 1664525 + 1013904223;
    return words;
}

void set_bytes(benchmark::State& state, std::size_t each) {
    state.SetBytesProcessed(static_cast<std::int64_t>(each) * state.iterations());
}

void set_items(benchmark::State& state, std::size_t each) {
    state.SetItemsProcessed(static_cast<std::int64_t>(each) * state.iterations());
}

void sum(benchmark::State& state) {
    const auto words = random_words(window / 4);
    for (auto _ : state)
        benchmark::DoNotOptimize(sum_values(words.data(), static_cast<int>(words.size())));
    set_bytes(state, window);
}
BENCHMARK(sum);

void copy_with_sum(benchmark::State& state) {
    const auto words = random_words(window / 4);
    std::vector<std::uint32_t> copy(words.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(copy_and_sum(copy.data(), words.data(), words.size()));
        benchmark::ClobberMemory();
    }
    set_bytes(state, window);
}
BENCHMARK(copy_with_sum);

/// Packets of 1 KiB with a relocation at every other word. Includes the copy of the records, which are translated in place.
void translate_relocs(benchmark::State& state) {
    constexpr std::uint32_t packet = 1024, packets = 64, count = packets * packet / 8;
    std::vector<reloc_record> records(count), table(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        records[i].r_vaddr = 8 * i;
        records[i].r_symndx = i % 5000;
        records[i].r_disp = 0;
        records[i].r_type = 0x11;
    }
    c2v_symbol_xtbl.assign(5000, 1);
    velm_scnhdr section{};
    section.wordsz = 8;
    for (auto _ : state) {
        std::memcpy(table.data(), records.data(), count * sizeof(reloc_record));
        section.relocs = {count, 0, table.data()};
        for (std::uint32_t p = 0; p < packets; ++p) {
            std::int32_t size = packet;
            benchmark::DoNotOptimize(build_reloc_list(&section, static_cast<std::int32_t>(p * packet), &size));
        }
    }
    set_items(state, count);
}
BENCHMARK(translate_relocs);

/// A name table being filled, growth included.
void add_names(benchmark::State& state) {
    std::vector<std::string> names;
    for (int i = 0; i < state.range(0); ++i)
        names.push_back("_ZN6device7channel" + std::to_string(i) + "Ev");
    for (auto _ : state) {
        name_index index;
        for (std::uint32_t i = 0; i < names.size(); ++i)
            index.find_or_add(hashed_name(names[i]), i, [&](std::uint32_t k) { return hashed_name(names[k]); });
        benchmark::DoNotOptimize(index);
    }
    set_items(state, names.size());
}
BENCHMARK(add_names)->Arg(1000)->Arg(60000);

void hex_text(benchmark::State& state) {
    const auto words = random_words(window / 4);
    std::FILE* null = std::fopen("/dev/null", "w");
    hex_output_mode = true;
    for (auto _ : state)
        write_data(words.data(), 4, static_cast<unsigned>(words.size()), null);
    std::fclose(null);
    set_bytes(state, window);
}
BENCHMARK(hex_text);

}  // namespace

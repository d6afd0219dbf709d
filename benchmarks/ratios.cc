// Times the converter beside two yardsticks on four kinds of input, and prints ratios.
//
// usage: ratios MODFORGE FLOOR [ROUNDS]     with the working directory on the disk to be measured
//
// Absolute times say more about the machine than about the program. Each round runs all three on the same input, in
// random order; what is printed is the median over the rounds of the ratio within a round.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "support/coff_builder.h"

namespace {

using support::coff_image;

struct shape {
    const char* name;
    const char* what;
    std::size_t bytes, sections, relocs, symbols, name_length;
};

constexpr std::array<shape, 4> shapes{{
    {"contents", "64 MiB of contents", 64U << 20, 8, 100, 100, 10},
    {"relocations", "500,000 relocations", 4U << 20, 8, 500000, 5000, 12},
    {"symbols", "60,000 long names", 1U << 20, 8, 20000, 60000, 40},
    {"tiny", "8 KiB, 50 relocations", 8U << 10, 4, 50, 40, 10},
}};

std::string symbol_name(std::size_t number, std::size_t length) {
    std::string name = "_" + std::to_string(number);
    name.append(length > name.size() ? length - name.size() + number % 20 : 0, 'n');
    return name;
}

coff_image image_of(const shape& kind) {
    std::mt19937 random(1);
    coff_image image;
    const std::size_t size = kind.bytes / kind.sections;
    for (std::size_t i = 0; i < kind.sections; ++i) {
        support::coff_section section{.name = ".text:" + std::to_string(i)};
        section.paddr = static_cast<std::uint32_t>(i * size);
        section.contents.resize(size);
        for (std::uint8_t& byte : section.contents)
            byte = static_cast<std::uint8_t>(random());
        const std::size_t count = kind.relocs / kind.sections;
        for (std::size_t r = 0; r < count; ++r) {
            const std::size_t place = r * size / count / 4 * 4;
            section.relocs.push_back({.vaddr = section.paddr + static_cast<std::uint32_t>(place),
                                      .type = 17,
                                      .symndx = static_cast<std::uint32_t>(random() % kind.symbols)});
        }
        image.sections.push_back(std::move(section));
    }
    for (std::size_t i = 0; i < kind.symbols; ++i)
        image.symbols.push_back({.name = symbol_name(i, kind.name_length),
                                 .value = static_cast<std::uint32_t>(i),
                                 .scnum = static_cast<std::int16_t>(1 + i % kind.sections)});
    return image;
}

struct cost {
    double wall = 0, cpu = 0;  ///< seconds
    double memory = 0;         ///< bytes at the peak
};

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

cost run(std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    const auto began = std::chrono::steady_clock::now();
    pid_t child = 0;
    int status = -1;
    rusage usage{};
    if (posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0 ||
        wait4(child, &status, 0, &usage) < 0 || status != 0) {
        std::fprintf(stderr, "ratios: %s failed\n", argv[0]);
        std::exit(1);
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - began;
    posix_spawn_file_actions_destroy(&actions);
    return {wall.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime),
            1024.0 * static_cast<double>(usage.ru_maxrss)};
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// In a process of its own: what a process starts inherits its peak of memory.
void make_input(const shape& kind) {
    const pid_t child = fork();
    if (child == 0) {
        const support::bytes input = image_of(kind).data();
        std::ofstream file("ratios.out", std::ios::binary);
        file.write(reinterpret_cast<const char*>(input.data()), static_cast<std::streamsize>(input.size()));
        _exit(file.flush() ? 0 : 1);
    }
    int status = -1;
    if (child < 0 || waitpid(child, &status, 0) < 0 || status != 0) {
        std::fprintf(stderr, "ratios: cannot write ratios.out here\n");
        std::exit(1);
    }
}

void measure(const shape& kind, const std::string& modforge, const std::string& floor, int rounds) {
    make_input(kind);
    const auto input_size = static_cast<double>(std::filesystem::file_size("ratios.out"));
    const std::array<std::vector<std::string>, 3> commands{{
        {modforge, "-o=ratios.vlm", "ratios.out"},
        {floor, "whole", "ratios.out", "ratios.vlm"},
        {floor, "pieces", "ratios.out", "ratios.vlm"},
    }};
    std::array<std::size_t, 3> order{0, 1, 2};
    std::mt19937 random(2);
    std::vector<double> wall_whole, wall_pieces, cpu_whole, memory, milliseconds;
    for (int round = 0; round < rounds; ++round) {
        std::array<cost, 3> costs;
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t which : order) {
            unlink("ratios.vlm");
            costs[which] = run(commands[which]);
        }
        wall_whole.push_back(costs[0].wall / costs[1].wall);
        wall_pieces.push_back(costs[0].wall / costs[2].wall);
        cpu_whole.push_back(costs[0].cpu / std::max(costs[1].cpu, 1e-6));
        memory.push_back(costs[0].memory / input_size);
        milliseconds.push_back(costs[0].wall * 1e3);
    }
    std::printf("%-12s %-22s %9.1f %9.2f %9.2f %9.2f %9.2f\n", kind.name, kind.what, median(milliseconds),
                median(wall_whole), median(wall_pieces), median(cpu_whole), median(memory));
    unlink("ratios.out");
    unlink("ratios.vlm");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: ratios MODFORGE FLOOR [ROUNDS]\n");
        return 2;
    }
    const int rounds = argc == 4 ? std::max(1, std::atoi(argv[3])) : 15;
    std::printf("%-12s %-22s %9s %9s %9s %9s %9s\n", "", "", "ms", "x whole", "x pieces", "cpu x", "mem/input");
    for (const shape& kind : shapes)
        measure(kind, argv[1], argv[2], rounds);
    return 0;
}

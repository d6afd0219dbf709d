// Hands images to the class library as streams, and waits for the ends of runs.
#ifndef MODFORGE_TESTS_COFF_COFF_INPUT_H
#define MODFORGE_TESTS_COFF_COFF_INPUT_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "coff/coff_file.h"
#include "support/coff_builder.h"

/// A stream over bytes in memory.
class memory_stream {
public:
    explicit memory_stream(support::bytes data)
        : data_(std::move(data)), fp_(fmemopen(data_.data(), data_.size(), "rb")) {}
    ~memory_stream() { std::fclose(fp_); }
    memory_stream(const memory_stream&) = delete;
    memory_stream& operator=(const memory_stream&) = delete;
    [[nodiscard]] std::FILE* get() const { return fp_; }

private:
    support::bytes data_;
    std::FILE* fp_;
};

/// A file read from an image, which must be sound.
class coff_input {
public:
    explicit coff_input(const support::coff_image& image) : coff_input(image.data(), static_cast<long>(image.start)) {}
    explicit coff_input(support::bytes data, long start = 0) : stream_(std::move(data)) {
        std::fseek(stream_.get(), start, SEEK_SET);
        EXPECT_EQ(file.read(stream_.get(), false), 0);
    }
    COFF_SECTION& section(int number) { return *file.get_section(static_cast<std::int16_t>(number)); }
    COFF_SYMBOL& symbol(std::uint32_t index) {
        return *static_cast<COFF_SYMBOL*>(file.symbol_table()->find_sym(index)->data);
    }

private:
    memory_stream stream_;

public:
    COFF_FILE file{true};
};

/// Reads in a process of its own and ends it with 0 or 1; for expectations about messages and ends of runs.
[[noreturn]] inline void read_and_exit(const support::bytes& data, bool any_target = true) {
    const memory_stream stream(data);
    COFF_FILE file(any_target);
    std::_Exit(file.read(stream.get(), false) == 0 ? 0 : 1);
}

inline std::string order_name(const testing::TestParamInfo<support::byte_order>& info) {
    return info.param == support::byte_order::little ? "little" : "big";
}

#endif

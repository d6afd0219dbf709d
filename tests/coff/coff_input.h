// Hands images to the class library as streams, tells all that a file holds, and waits for the ends of runs.
#ifndef MODFORGE_TESTS_COFF_COFF_INPUT_H
#define MODFORGE_TESTS_COFF_COFF_INPUT_H

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "coff/coff_file.h"
#include "support/coff_builder.h"

/// That the run ends with status 1 after a message with `text` in it.
#define EXPECT_ENDS(statement, text) EXPECT_EXIT(statement, testing::ExitedWithCode(1), text)

/// Makes a test suite that runs once for each byte order of the input.
#define MODFORGE_SUITE_IN_BOTH_ORDERS(suite)                                                                           \
    class suite : public testing::TestWithParam<support::byte_order> {};                                               \
    INSTANTIATE_TEST_SUITE_P(Order, suite, testing::Values(support::byte_order::little, support::byte_order::big),     \
                             [](const auto& order) { return order.index == 0 ? "little" : "big"; })

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

/// Reads in a process of its own and ends it with 0 or, after -1, with 1; for expectations about messages and ends of runs.
[[noreturn]] inline void read_and_exit(const support::bytes& data, bool any_target = true) {
    const memory_stream stream(data);
    COFF_FILE file(stream.get(), any_target);
    std::_Exit(-file.read(stream.get(), false));
}

using numbers = std::vector<std::int64_t>;

/// The fields of file header and optional header but for the pointer to the symbols, in the order of the file.
inline numbers header_of(const COFF_FILE& file) {
    return {file.fh_magic(),  file.fh_nscns(),     file.fh_timdat(),   file.fh_nsyms(),       file.fh_opthdr(),
            file.fh_flags(),  file.fh_target_id(), file.ofh_magic(),   file.ofh_vstamp(),     file.ofh_tsize(),
            file.ofh_dsize(), file.ofh_bsize(),    file.ofh_entrypt(), file.ofh_text_start(), file.ofh_data_start()};
}

/// Number and width, then the fields of the header but for pointers and width byte, in the order of the file.
inline numbers header_of(const COFF_SECTION& section) {
    return {section.scnum(),     section.wordsz(),   section.sh_paddr(), section.sh_vaddr(), section.size_in_words(),
            section.sh_nreloc(), section.sh_nlnno(), section.sh_flags(), section.sh_page()};
}

inline support::bytes contents_of(COFF_SECTION& section) {
    const unsigned char* const data = section.raw_data();
    return data ? support::bytes(data, data + section.size_in_bytes()) : support::bytes{};
}

/// Address, symbol, displacement and type of each relocation.
inline numbers relocs_of(COFF_SECTION& section) {
    numbers all;
    for (const reloc* entry : items<reloc>(*section.get_reloc_list()))
        all.insert(all.end(), {entry->r_vaddr, entry->r_symndx, entry->r_disp, entry->r_type});
    return all;
}

/// The fields of a symbol's entry, in the order of the file.
inline numbers entry_of(const COFF_SYMBOL& symbol) {
    return {symbol.value(), symbol.scnum(), symbol.stype(), symbol.sclass(), symbol.has_aux()};
}

inline std::vector<std::string> names_of(COFF_FILE& file) {
    std::vector<std::string> names;
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(file.symbol_table()->symbols()))
        names.emplace_back(symbol->name());
    return names;
}

#endif

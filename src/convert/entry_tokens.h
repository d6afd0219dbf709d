// An entries file as a sequence of tokens, which stay where they were read.
#ifndef MODFORGE_CONVERT_ENTRY_TOKENS_H
#define MODFORGE_CONVERT_ENTRY_TOKENS_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

/// Pieces of entries files, in which the names of the entries lie.
using entry_texts = std::vector<std::unique_ptr<char[]>>;

class entry_tokens {
public:
    /// Reads `stream`, named `file_name` in messages, into `texts`; all three stay the caller's.
    entry_tokens(std::FILE* stream, const char* file_name, entry_texts& texts);

    /// The next token that is no comment, none at the end of the file. Valid until the next call, unless keep() follows. A
    /// token of more than 255 characters ends the run; one with a NUL ends there.
    std::optional<std::string_view> next();

    /// The last token stays as long as the texts.
    void keep() { kept_ = true; }

private:
    static constexpr std::size_t first_block = 1 << 12;  ///< bytes: most files are small, and there may be many
    static constexpr std::size_t later_block = 1 << 16;

    bool refill(const char* from);
    bool skip_blanks();
    void skip_comment();

    std::FILE* stream_;
    const char* file_name_;
    entry_texts& texts_;
    unsigned long line_ = 1;
    const char* at_ = nullptr;
    const char* end_ = nullptr;  ///< of what was read
    std::size_t block_size_ = 0;
    bool kept_ = true;  ///< the block has to stay
    bool at_eof_ = false;
};

#endif

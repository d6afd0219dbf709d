#include "support/module_sums.h"

namespace support {

namespace {

std::uint32_t complement_of_sum(const bytes& module, std::size_t from, std::size_t to) {
    std::uint32_t sum = 0;
    for (; from + 4 <= to; from += 4)
        sum += word_at(module, from);
    return ~sum;
}

}  // namespace

std::uint32_t word_at(const bytes& module, std::size_t offset) {
    return get(module, offset, 4, byte_order::little);
}

void put_word(bytes& module, std::size_t offset, std::uint32_t word) {
    put_at(module, offset, 4, word, byte_order::little);
}

void repair_sums(bytes& module) {
    if (module.size() < 56)
        return;
    const std::size_t sections = 56 + std::size_t{word_at(module, 0)};
    const std::size_t symbols = sections + 28 * std::size_t{word_at(module, 20) & 0xFFFF};
    const std::size_t packets = symbols + 12 * std::size_t{word_at(module, 16) & 0xFFFF};
    if (packets <= module.size()) {
        put_word(module, 44, complement_of_sum(module, 56, sections));
        put_word(module, 40, complement_of_sum(module, sections, symbols));
        put_word(module, 48, complement_of_sum(module, symbols, packets));
    }
    put_word(module, 52, complement_of_sum(module, 36, 52));
    put_word(module, 32, complement_of_sum(module, 0, 32));
    for (std::size_t at = packets; at + 12 <= module.size();) {
        const std::size_t data = (std::size_t{word_at(module, at + 4)} + 3) / 4 * 4;
        const std::size_t size = 12 + data + 12 * std::size_t{word_at(module, at)};
        if (size > module.size() - at)
            return;
        put_word(module, at + 8, 0);
        put_word(module, at + 8, complement_of_sum(module, at, at + size));
        at += size;
    }
}

}  // namespace support

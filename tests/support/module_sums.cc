// Finds the parts of a module by its header alone.
#include "support/module_sums.h"

#include <algorithm>

namespace support {

namespace {

std::uint32_t half_at(const bytes& module, std::size_t offset) {
    return get(module, offset, 2, order_of(module));
}

std::uint32_t complement_of_sum(const bytes& module, std::size_t from, std::size_t to) {
    std::uint32_t sum = 0;
    for (; from + 4 <= to; from += 4)
        sum += word_at(module, from);
    return ~sum;
}

/// Where the tables begin; the last one is where the first packet belongs.
struct places {
    std::size_t sections, symbols, packets;
};

places places_in(const bytes& module) {
    places at{};
    at.sections = 56 + std::size_t{word_at(module, 0)};
    at.symbols = at.sections + 28 * std::size_t{half_at(module, 20)};
    at.packets = at.symbols + 12 * std::size_t{half_at(module, 16)};
    return at;
}

bool has_field_bytes(std::uint32_t type) {
    return (type >= 0x400D && type <= 0x4010) || type == 0x4016;
}

/// Turns fields around, one behind the other.
class turner {
public:
    turner(bytes& module, std::size_t at) : module_(module), at_(at) {}

    turner& fields(std::size_t width, std::size_t count) {
        for (; count > 0; --count, at_ += width)
            std::reverse(place(), place() + static_cast<std::ptrdiff_t>(width));
        return *this;
    }
    turner& skip(std::size_t count) {
        at_ += count;
        return *this;
    }

private:
    [[nodiscard]] bytes::iterator place() { return module_.begin() + static_cast<std::ptrdiff_t>(at_); }

    bytes& module_;
    std::size_t at_;
};

}  // namespace

byte_order order_of(const bytes& module) {
    return module.at(8) == 0 ? byte_order::big : byte_order::little;
}

std::uint32_t word_at(const bytes& module, std::size_t offset) {
    return get(module, offset, 4, order_of(module));
}

void put_word(bytes& module, std::size_t offset, std::uint32_t word) {
    put_at(module, offset, 4, word, order_of(module));
}

void repair_sums(bytes& module) {
    if (module.size() < 56)
        return;
    const places at = places_in(module);
    if (at.packets <= module.size()) {
        put_word(module, 44, complement_of_sum(module, 56, at.sections));
        put_word(module, 40, complement_of_sum(module, at.sections, at.symbols));
        put_word(module, 48, complement_of_sum(module, at.symbols, at.packets));
    }
    put_word(module, 52, complement_of_sum(module, 36, 52));
    put_word(module, 32, complement_of_sum(module, 0, 32));
    for (std::size_t next = at.packets; next + 12 <= module.size();) {
        const std::size_t data = (std::size_t{word_at(module, next + 4)} + 3) / 4 * 4;
        const std::size_t size = 12 + data + 12 * std::size_t{word_at(module, next)};
        if (size > module.size() - next)
            return;
        put_word(module, next + 8, 0);
        put_word(module, next + 8, complement_of_sum(module, next, next + size));
        next += size;
    }
}

bytes byte_swapped(const bytes& module) {
    bytes turned = module;
    const places at = places_in(module);
    turner(turned, 0).fields(4, 4).fields(2, 8).fields(4, 1 + 5);
    for (std::size_t record = at.sections; record < at.symbols; record += 28)
        turner(turned, record).fields(4, 4).fields(2, 2).fields(4, 2);
    for (std::size_t record = at.symbols; record < at.packets; record += 12)
        turner(turned, record).fields(4, 2).fields(2, 2);
    for (std::size_t next = at.packets; next < module.size();) {
        const std::size_t relocs = next + 12 + (word_at(module, next + 4) + 3) / 4 * 4;
        const std::size_t end = relocs + 12 * std::size_t{word_at(module, next)};
        turner(turned, next).fields(4, 3);
        for (std::size_t record = relocs; record < end; record += 12) {
            turner symbol_word = turner(turned, record).fields(4, 1);
            has_field_bytes(half_at(module, record + 10)) ? symbol_word.skip(4) : symbol_word.fields(4, 1);
            symbol_word.fields(2, 2);
        }
        next = end;
    }
    repair_sums(turned);  // sums see the string table and contents as words too, and those were not turned
    return turned;
}

}  // namespace support

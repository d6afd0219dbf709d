// The relocation types by what they have in common, a line for each width: not the converter's rows written again.
#include "tools/second_opinion/facts.h"

#include <array>
#include <initializer_list>

namespace second_opinion {
namespace {

/// By relocation type; all types from 256 on have neither field nor container.
using bits_by_type = std::array<u8, 256>;

consteval void set(bits_by_type& table, u8 bits, std::initializer_list<u8> types) {
    for (const u8 type : types)
        table[type] = bits;
}

consteval bits_by_type make_fields() {
    bits_by_type bits{};
    set(bits, 1, {52, 53});
    set(bits, 4, {144});
    set(bits, 5, {145, 146});
    set(bits, 6, {147});
    set(bits, 7, {112, 120, 122});
    set(bits, 8, {14, 15, 18, 29, 40, 49, 88, 89, 93, 96, 99, 104, 136, 138, 140, 142});
    set(bits, 9, {123});
    set(bits, 10, {83});
    set(bits, 12, {113, 148});
    set(bits, 15, {56, 57, 58, 59, 60, 61, 62, 63, 64, 65, 66, 67, 68, 69, 70, 71});
    set(bits, 16, {16, 19, 25, 27, 32,  33,  41,  42,  44,  45,  50,  84,  85,  87,  90,
                   94, 95, 97, 98, 100, 101, 102, 103, 105, 106, 137, 139, 141, 143, 149});
    set(bits, 18, {128, 129, 132});
    set(bits, 19, {80, 81, 86});
    set(bits, 21, {82, 130, 131});
    set(bits, 24, {5, 21, 22, 23, 43, 91, 124});
    set(bits, 32, {6, 17, 20, 24, 26, 28, 79});
    return bits;
}

constexpr bits_by_type bits_by_number = make_fields();

consteval bits_by_type make_containers() {
    bits_by_type bits{};
    for (std::size_t type = 0; type < bits.size(); ++type)
        bits[type] = static_cast<u8>((bits_by_number[type] + 7) / 8 * 8);
    set(bits, 8, {136, 138, 140, 142});
    set(bits, 16, {122, 123, 137, 139, 141, 143, 149});
    set(bits, 32, {22, 23, 43, 80, 81, 82, 83, 84, 85, 86, 87, 95, 100, 112, 113, 128, 129, 130, 131, 132});
    set(bits, 64, {52, 53, 56, 57, 58, 59, 60, 61, 62, 63, 64, 65, 66, 67, 68, 69, 70, 71});
    return bits;
}

constexpr bits_by_type containers = make_containers();

bool one_of(int value, std::initializer_list<int> list) {
    for (const int element : list)
        if (element == value)
            return true;
    return false;
}

}  // namespace

u32 unit_width(u16 target) {
    if (target == 0x93)
        return 32;
    if (one_of(target, {0x98, 0x9D}))
        return 16;
    return one_of(target, {0x97, 0x99, 0x9C, 0x9F}) ? 8 : 0;
}

bool is_kept_class(int sclass) {
    return one_of(sclass, {2, 3, 5, 6, 14, 19, 21, 23, 24, 25, 26, 28});
}

bool is_external_class(int sclass) {
    return one_of(sclass, {2, 21});
}

u32 field_bits(u16 type) {
    return type < bits_by_number.size() ? bits_by_number[type] : 0;
}

u32 container_bits(u16 type) {
    return type < containers.size() ? containers[type] : 0;
}

}  // namespace second_opinion

#include "format/reloc_types.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "format/reloc_record.h"

namespace {

using numbers = std::initializer_list<std::uint16_t>;

struct field {
    int type;
    int size;
    int stop;
    int offset;
};

// Per row one type whose three numbers tell it from its neighbours; the ends of every range.
TEST(RelocFields, EveryRowOfTheTables) {
    const field table[] = {
        {0, 0, 0, 0},     {4, 0, 0, 0},     {5, 24, 24, 0},   {6, 32, 32, 0},   {14, 8, 8, 0},     {15, 8, 8, 0},
        {16, 16, 16, 0},  {17, 32, 32, 0},  {18, 8, 8, 0},    {19, 16, 16, 0},  {20, 32, 32, 0},   {21, 24, 24, 0},
        {22, 24, 32, 0},  {23, 24, 32, 0},  {24, 32, 32, 0},  {28, 32, 32, 0},  {29, 8, 8, 0},     {43, 24, 32, 0},
        {50, 16, 16, 0},  {51, 0, 0, 0},    {52, 1, 64, 0},   {53, 1, 64, 22},  {54, 0, 0, 0},     {55, 0, 0, 0},
        {56, 15, 64, 22}, {59, 15, 64, 22}, {60, 15, 64, 0},  {63, 15, 64, 0},  {64, 15, 64, 22},  {67, 15, 64, 22},
        {68, 15, 64, 0},  {71, 15, 64, 0},  {72, 0, 0, 0},    {79, 32, 32, 0},  {80, 19, 32, 4},   {82, 21, 32, 7},
        {83, 10, 32, 13}, {84, 16, 32, 7},  {86, 19, 32, 4},  {87, 16, 32, 7},  {88, 8, 8, 0},     {91, 24, 24, 0},
        {95, 16, 32, 0},  {96, 8, 8, 0},    {100, 16, 32, 0}, {106, 16, 16, 0}, {112, 7, 32, 7},   {113, 12, 32, 16},
        {120, 7, 8, 1},   {122, 7, 16, 4},  {123, 9, 16, 4},  {124, 24, 24, 0}, {128, 18, 32, 5},  {130, 21, 32, 7},
        {132, 18, 32, 5}, {136, 8, 8, 0},   {137, 16, 16, 0}, {143, 16, 16, 0}, {144, 4, 8, 4},    {145, 5, 8, 0},
        {147, 6, 8, 0},   {148, 12, 16, 4}, {149, 16, 16, 0}, {150, 0, 0, 0},   {0x4011, 0, 0, 0}, {0xC011, 0, 0, 0},
    };
    for (const field& f : table) {
        EXPECT_EQ(reloc_size(f.type), f.size) << "type " << f.type;
        EXPECT_EQ(reloc_stop(f.type, reloc_size(f.type)), f.stop) << "type " << f.type;
        EXPECT_EQ(reloc_offset(f.type), f.offset) << "type " << f.type;
    }
    EXPECT_EQ(reloc_stop(150, 13), 16);
    EXPECT_EQ(reloc_stop(150, 16), 16);
    EXPECT_EQ(reloc_stop(54, 1), 8);
}

// Which types refer to a symbol decides what is kept and what is rewritten.
TEST(RelocFields, SymbolRelocations) {
    for (const std::uint16_t type : numbers{0, 17, 0x3FFF, 0x4011, 0x4017, 0x4FFF, 0x5003, 0xC011, 0xFFFF}) {
        EXPECT_TRUE(is_sym_reloc(type, 0)) << type;
        EXPECT_FALSE(is_sym_reloc(type, no_symbol)) << type;
    }
    for (const std::uint16_t type :
         numbers{0x4000, 0x400C, 0x400D, 0x4010, 0x4012, 0x4013, 0x4014, 0x4015, 0x4016, 0x5000, 0x5001, 0x5002})
        EXPECT_FALSE(is_sym_reloc(type, 0)) << type;
    for (const std::uint16_t type : numbers{0x400D, 0x400E, 0x400F, 0x4010, 0x4016})
        EXPECT_TRUE(is_field_reloc(type)) << type;
    for (const std::uint16_t type : numbers{0x400C, 0x4011, 0x4015, 0x4017, 17})
        EXPECT_FALSE(is_field_reloc(type)) << type;
    for (const std::uint16_t type : numbers{0, 0x3FFF, 0x4011, 0xC011})  // 0xC011 is not below 0x4000
        EXPECT_TRUE(has_displacement(type)) << type;
    for (const std::uint16_t type : numbers{0x4000, 0x4012, 0x4016, 0x8000, 0xC010})
        EXPECT_FALSE(has_displacement(type)) << type;
}

}  // namespace

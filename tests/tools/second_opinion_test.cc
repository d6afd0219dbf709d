// The facts of the two formats stand twice on purpose: the converter's in src/format, and those of the second opinion.
// Here, and only here, they are held against each other.
#include "tools/second_opinion/facts.h"

#include <gtest/gtest.h>

#include "format/limits.h"
#include "format/reloc_types.h"
#include "format/storage_classes.h"
#include "format/targets.h"

namespace {

namespace so = second_opinion;

TEST(Facts, RelocationTypesMeanTheSame) {
    for (std::uint32_t number = 0; number < 0x10000; ++number) {
        const auto type = static_cast<std::uint16_t>(number);
        const std::uint32_t bits = so::field_bits(type);
        ASSERT_EQ(bits, static_cast<std::uint32_t>(reloc_size(type))) << type;
        ASSERT_EQ(so::container_bits(type), static_cast<std::uint32_t>(reloc_stop(type, reloc_size(type)))) << type;
        ASSERT_EQ(so::has_descriptor(type), is_field_reloc(type)) << type;
        ASSERT_EQ(so::is_internal(type), is_internal_reloc(type)) << type;
        ASSERT_EQ(so::refers_to_symbol(type, 7), is_sym_reloc(type, 7)) << type;
        ASSERT_FALSE(so::refers_to_symbol(type, no_symbol) || is_sym_reloc(type, so::no_symbol)) << type;
        if (!so::is_internal(type)) {
            ASSERT_EQ(so::has_displacement(type), has_displacement(type)) << type;
        }
    }
    EXPECT_EQ(reloc_stop(54, 1) + reloc_stop(54, 13) + reloc_stop(54, 16), 8 + 16 + 16);  // of a type without its own
}

// Other numbers show in any conversion; limits lie far off.
TEST(Facts, LimitsAreTheSame) {
    const std::pair<std::uint64_t, std::uint64_t> rows[] = {
        {so::least_packet, min_packet_size},
        {so::greatest_packet, max_packet_size},
        {so::longest_entry, max_entry_length},
        {so::longest_name, max_name_length},
        {so::most_symbols, max_module_symbols},
        {so::most_sections, max_sections},
        {so::largest_input, max_coff_file_size},
        {so::memory_limit(0), proportionate_size(0)},
        {so::memory_limit(so::largest_input), proportionate_size(max_coff_file_size)},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.first, row.second) << "row " << &row - rows;
}

TEST(Facts, TargetsAndClassesAreTheSame) {
    for (std::uint32_t id = 0; id < 0x10000; ++id)
        ASSERT_EQ(so::unit_width(static_cast<std::uint16_t>(id)),
                  static_cast<std::uint32_t>(target_width(static_cast<std::uint16_t>(id))))
            << id;
    for (int sclass = -128; sclass < 128; ++sclass) {
        EXPECT_EQ(so::is_kept_class(sclass), is_accepted_class(sclass)) << sclass;
        EXPECT_EQ(so::is_kept_class(sclass) && so::is_external_class(sclass), is_external_class(sclass)) << sclass;
    }
}

}  // namespace

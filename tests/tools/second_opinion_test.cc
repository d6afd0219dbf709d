// The facts of the two formats stand twice on purpose: the converter's in src/format, and those of the second opinion.
// Here, and only here, they are held against each other.
#include "tools/second_opinion/facts.h"

#include <gtest/gtest.h>

#include "format/address_units.h"
#include "format/coff_records.h"
#include "format/limits.h"
#include "format/module_format.h"
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

TEST(Facts, NumbersAreTheSame) {
    const std::pair<std::uint64_t, std::uint64_t> rows[] = {
        {so::file_header_size, sizeof(filehdr)},
        {so::optional_header_size, sizeof(opthdr)},
        {so::section_header_size, sizeof(scnhdr)},
        {so::relocation_size, sizeof(reloc)},
        {so::symbol_size, sizeof(syment)},
        {so::symbol_size, aux_size},
        {so::module_header_size, sizeof(velm_filehdr)},
        {so::verification_size, sizeof(velm_verifyrec)},
        {so::section_record_size, sizeof(velm_scnhdr_record)},
        {so::symbol_record_size, sizeof(velm_symbol_record)},
        {so::packet_header_size, sizeof(velm_packet_header)},
        {so::relocation_record_size, sizeof(reloc_record)},
        {so::coff_version, coff_version_2},
        {so::order_mark, velm_byte_order_mark},
        {so::file_has_no_relocations, f_relflg},
        {so::file_is_executable, f_exec},
        {so::section_is_dummy, s_dummy},
        {so::section_is_not_loaded, s_noload},
        {so::section_is_copy, s_copy},
        {so::section_is_text, s_text},
        {so::section_is_bss, s_bss},
        {so::section_alignment, s_align},
        {so::section_alignment, velm_scn_align_mask},
        {so::module_section_relocated, velm_scn_relocated},
        {so::module_section_has_data, velm_scn_has_data},
        {so::type_code, velm_scn_code},
        {so::type_data, velm_scn_data},
        {so::type_uninitialised, velm_scn_uninitialised},
        {so::type_init_table, velm_scn_init_table},
        {so::type_mask, velm_scn_type_mask},
        {so::no_symbol, no_symbol},
        {so::no_name, velm_no_name},
        {so::nameless_class, velm_local_class},
        {so::absolute_entry, velm_absolute_entry},
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

TEST(Facts, UnitsAndBytesConvertAlike) {
    for (const std::uint32_t width : {8U, 16U, 32U})
        for (const std::int64_t number : {0LL, 1LL, 3LL, 5LL, -1LL, -6LL, 0x08000000LL, 0x0FFFFFFFLL, 0x10000000LL,
                                          0x20000000LL, 0x3FFFFFFFLL, 0x40000000LL, 0x7FFFFFFFLL, -0x80000000LL}) {
            const auto value = static_cast<std::int32_t>(number);
            const int bits = static_cast<int>(width);
            EXPECT_EQ(so::units_to_bytes(static_cast<std::uint32_t>(value), width), AUtobyte(value, bits)) << number;
            EXPECT_EQ(so::bytes_to_units(value, width), bytetoAU(value, bits)) << number;
        }
}

}  // namespace

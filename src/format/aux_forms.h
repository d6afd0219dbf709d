// The auxiliary entries of COFF symbols: which form an entry has, and which fields lie where in each form.
#ifndef MODFORGE_FORMAT_AUX_FORMS_H
#define MODFORGE_FORMAT_AUX_FORMS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

/// Size of an auxiliary entry in the file, bytes.
inline constexpr std::size_t aux_size = 18;

/// What an auxiliary entry holds; it follows from the class and type of the symbol that it belongs to.
enum class aux_form { file, block, function_mark, begin_function, end_of_struct, tag, function, array, section, other };

/// A number in an auxiliary entry.
struct aux_field {
    const char* name;     ///< fit for an XML attribute
    std::uint8_t offset;  ///< bytes
    std::uint8_t size;    ///< bytes: 2 or 4
};

/// The numbers in an entry of the form, in the order of listings. A file name is not among them: it is all characters.
std::span<const aux_field> aux_fields(aux_form form);

/// Auxiliary entry of a symbol, in host order. Its fields differ by form, so they are read by their place.
struct auxent {
    unsigned char bytes[20];  ///< the entry's 18 bytes, then slack

    [[nodiscard]] std::uint32_t word(std::size_t offset) const {
        std::uint32_t value;
        std::memcpy(&value, bytes + offset, sizeof value);
        return value;
    }
    [[nodiscard]] std::uint16_t half(std::size_t offset) const {
        std::uint16_t value;
        std::memcpy(&value, bytes + offset, sizeof value);
        return value;
    }
    void set_word(std::size_t offset, std::uint32_t value) { std::memcpy(bytes + offset, &value, sizeof value); }
    void set_half(std::size_t offset, std::uint16_t value) { std::memcpy(bytes + offset, &value, sizeof value); }

    /// The value of a field of the entry's form.
    [[nodiscard]] std::uint32_t value(const aux_field& field) const {
        return field.size == 2 ? half(field.offset) : word(field.offset);
    }
};

/// Where the fields lie that code asks for by name, bytes; the table in aux_forms.cc says in which forms.
inline constexpr std::size_t aux_tag_index = 0, aux_entry_size = 4, aux_lnnoptr = 8, aux_dimensions = 8, aux_next = 12;
inline constexpr std::size_t aux_regmask = 0, aux_line = 4, aux_line_count = 6, aux_framesize = 8;
inline constexpr std::size_t aux_scn_length = 0, aux_scn_nreloc = 4, aux_scn_nlnno = 6;

/// Brings an entry of the opposite byte order into host order.
void swap_record(auxent& entry, aux_form form);

#endif

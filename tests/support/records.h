// Where the records of a COFF file and of a module lie, as far as the bytes go: sweeps set their fields one by one,
// mutations change them and move them about. Reads damaged files as well as sound ones, and shares no code with the
// product.
#ifndef MODFORGE_SUPPORT_RECORDS_H
#define MODFORGE_SUPPORT_RECORDS_H

#include <span>

#include "support/coff_builder.h"

namespace support {

/// What all records of a kind have in common. Fields may overlap where the meaning decides which of them there are.
struct record_kind {
    const char* name;
    std::size_t size;  ///< bytes
    std::span<const field> fields;
};

struct record {
    const record_kind* kind;
    std::size_t offset;  ///< from the first byte of the input
};

/// All records of a file, in the order of the tables that name them; at most some thousand.
struct record_map {
    byte_order order = byte_order::little;
    std::size_t start = 0;  ///< where the file begins in the input; pointers count from there
    std::vector<record> records = {};
};

/// `start`: bytes in front of the file. Without a version id it is taken for little-endian.
record_map records_of_image(const bytes& input, std::size_t start = 0);
/// In the binary form.
record_map records_of_module(const bytes& module);

/// The values at which a number of `width` bytes breaks what relies on it: the ends of the number's range and the
/// middle, signed and not, what is next to `value`, what is next to the size of the file. No value twice.
std::vector<std::uint32_t> breaking_values(std::uint32_t value, std::size_t width, std::size_t file_size);

/// Visits the input with each of these values in a field of a record.
template <typename VISIT>
void at_every_value(bytes& input, const record_map& map, const record& part, const field& place, const VISIT& visit) {
    const std::size_t offset = part.offset + place.offset;
    const std::uint32_t sound = get(input, offset, place.width, map.order);
    for (const std::uint32_t value : breaking_values(sound, place.width, input.size() - map.start)) {
        put_at(input, offset, place.width, value, map.order);
        visit(value);
    }
    put_at(input, offset, place.width, sound, map.order);
}

}  // namespace support

#endif

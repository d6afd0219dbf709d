// Collects the names of the module, each once, where they will lie in the table.
#include "convert/string_table.h"

#include <cstring>
#include <string_view>

#include "convert/velm_file.h"
#include "format/limits.h"
#include "msg/allocation.h"
#include "msg/error_exit.h"

const char* str_table_buf;

namespace {

/// Ends the run when a table of `size` bytes is more than the input or the module's format justifies.
void check_table_size(std::uint64_t size) {
    if (size > proportionate_size(coff_file.file_length()))
        error_exit("ERROR: The names of the module are out of proportion to the input\n");
    if (size > UINT32_MAX - 3)
        error_exit("ERROR: The module would have 4 GiB or more\n");
}

constexpr auto name_at = [](std::uint32_t offset) { return hashed_name(&velm_file.strings[offset]); };

}  // namespace

void reserve_strings(std::size_t count) {
    const allocation_scope scope("ERROR: Unable to allocate string table entry\n");
    velm_file.string_offsets.reserve(count, name_at);
}

std::uint32_t add_to_string_list(const char* name) {
    return add_to_string_list(hashed_name(std::string_view(name, strnlen(name, max_name_length + 1))));
}

std::uint32_t add_to_string_list(const hashed_name& name) {
    if (name.text.size() > max_name_length)
        error_exit("ERROR: A name of the module has more than 65534 characters: %.60s...\n", name.text.data());
    const allocation_scope scope("ERROR: Unable to allocate string table entry\n");
    const std::uint32_t offset = velm_file.string_offsets.find_or_add(name, velm_file.strtab_size, name_at);
    if (offset != velm_file.strtab_size)
        return offset;  // only a new name can stand at the end of the table
    const std::size_t length = name.text.size() + 1;
    check_table_size(std::uint64_t{velm_file.strtab_size} + length);
    velm_file.strings.insert(velm_file.strings.end(), name.text.data(), name.text.data() + length);
    if (length > velm_file.max_str_len)
        velm_file.max_str_len = static_cast<std::uint16_t>(length);
    velm_file.strtab_size += static_cast<std::uint32_t>(length);
    return offset;
}

void string_table_create() {
    velm_file.strtab_size = (velm_file.strtab_size + 3) & ~std::uint32_t{3};
    create_string_tbl_buf();
}

void create_string_tbl_buf() {
    const allocation_scope scope("ERROR: Unable to allocate storage for the string table\n");
    velm_file.strings.resize(velm_file.strtab_size);
    str_table_buf = velm_file.strings.data();
}

// The module's string table: each name once, in the order of its first use.
#ifndef MODFORGE_CONVERT_STRING_TABLE_H
#define MODFORGE_CONVERT_STRING_TABLE_H

#include <cstdint>

/// The finished table, host memory, velm_file.strtab_size bytes as words; null until string_table_create() has run.
/// Owned by the module model.
extern const std::uint32_t* str_table_buf;

/// The offset of `name` in the table, bytes; adds the name when it is new. The text is not copied and must live until
/// string_table_create(). A name over 65,534 characters, or more names than the input justifies, ends the run.
std::uint32_t add_to_string_list(const char* name);

/// Rounds the table's size up to a multiple of 4 and builds the buffer. Once, after the last name.
void string_table_create();

/// The second half of string_table_create: copies the names into a new, zero-filled buffer.
void create_string_tbl_buf();

#endif

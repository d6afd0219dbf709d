// The module's string table: each name once, in the order of its first use.
#ifndef MODFORGE_CONVERT_STRING_TABLE_H
#define MODFORGE_CONVERT_STRING_TABLE_H

#include <cstddef>
#include <cstdint>

#include "containers/hashed_name.h"

/// The finished table, velm_file.strtab_size bytes, a multiple of 4; null until string_table_create() has run. Owned by
/// the module model.
extern const char* str_table_buf;

/// Makes room to look `count` names up, which need not come.
void reserve_strings(std::size_t count);

/// The offset of `name` in the table, bytes; adds the name when it is new. The text is copied. A name over 65,534
/// characters, or more names than the input justifies, ends the run.
std::uint32_t add_to_string_list(const char* name);
/// The same for a name that has been hashed already; a NUL follows it.
std::uint32_t add_to_string_list(const hashed_name& name);

/// Rounds the table's size up to a multiple of 4 and completes the buffer. Once, after the last name.
void string_table_create();

/// The second half of string_table_create: zero bytes up to the rounded end.
void create_string_tbl_buf();

#endif

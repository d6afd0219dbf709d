// Memory for the tables of a large input.
#ifndef MODFORGE_DRIVER_TABLE_MEMORY_H
#define MODFORGE_DRIVER_TABLE_MEMORY_H

/// Arranges that what is allocated from now on, for reading the file `path`, comes in large pages, where the system has
/// them and the file is large. Nothing depends on it, so nothing is said when it cannot be done.
void prepare_table_memory(const char* path);

#endif

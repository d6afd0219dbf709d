// Whether two names stand for one file: the only question to the system that standard C++ answers too slowly.
#ifndef MODFORGE_OUTPUT_SAME_FILE_H
#define MODFORGE_OUTPUT_SAME_FILE_H

/// Whether both names lead to the same existing file, over links and however they are spelt.
bool is_same_file(const char* one, const char* other);

#endif

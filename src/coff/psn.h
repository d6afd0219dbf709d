// A position in the source of a program.
#ifndef MODFORGE_COFF_PSN_H
#define MODFORGE_COFF_PSN_H

#include <cstdint>

struct PSN {
    PSN(const char* file, std::uint32_t line_number) : file_name(file), line(line_number) {}

    const char* file_name;    ///< not owned: a name in the symbol table it was found in; null if the file is not known
    std::uint32_t line;       ///< from 1
    std::uint32_t extra = 0;  ///< for the user of the position; nothing here gives it a meaning
};

#endif

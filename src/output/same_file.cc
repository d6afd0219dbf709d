// By device and inode where there are such, else as the standard library does it.
#include "output/same_file.h"

#if __has_include(<sys/stat.h>) && __has_include(<unistd.h>) && !defined(_WIN32)

#include <sys/stat.h>

// <filesystem> would do, but brings the locale along, whose start takes longer than many a conversion.
bool is_same_file(const char* one, const char* other) {
    struct stat a;
    struct stat b;
    return stat(one, &a) == 0 && stat(other, &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

#else

#include <filesystem>
#include <system_error>

bool is_same_file(const char* one, const char* other) {
    std::error_code none;
    return std::filesystem::equivalent(one, other, none);
}

#endif

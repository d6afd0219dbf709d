// File-name helpers: everything happens in the caller's buffer, nothing is allocated and nothing can fail.
#include "convert/file_names.h"

#include <cstring>

char* fn_addext(char* name, const char* ext, int replace) {
    char* dot = std::strrchr(name, '.');
    if (dot && std::strchr(dot, '/'))
        dot = nullptr;  // it belongs to a directory
    if (!dot) {
        if (*ext != '\0' && *ext != '.')
            std::strcat(name, ".");
        return std::strcat(name, ext);
    }
    if (!replace)
        return name;
    char* place = dot;
    if (*ext != '\0') {
        ++place;
        ext += *ext == '.';
    }
    std::strcpy(place, ext);
    return name;
}

const char* fn_basename(const char* path) {
    if (*path == '\0')
        return nullptr;
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

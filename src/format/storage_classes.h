// The storage classes of COFF symbols: their names, and which of them a module holds. One row a class in
// storage_classes.def.
#ifndef MODFORGE_FORMAT_STORAGE_CLASSES_H
#define MODFORGE_FORMAT_STORAGE_CLASSES_H

#include <cstdint>

/// Signed on purpose: a byte from 0x80 on is a negative class.
enum storage_class : std::int8_t {
    C_NULL = 0,  ///< no class
#define STORAGE_CLASS(number, name, keeping, linkage) name = (number),
#include "format/storage_classes.def"
#undef STORAGE_CLASS
};

/// "C_EXT" and so on; null for a number that is no class.
const char* storage_class_name(int sclass);

/// Whether a module may hold symbols of the class.
bool is_accepted_class(int sclass);

/// Whether an entry alone brings symbols of the class into a module. Those of other classes need a relocation as well.
bool is_external_class(int sclass);

#endif

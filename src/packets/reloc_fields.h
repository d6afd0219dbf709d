// How many bits a relocated field takes, by relocation type. Leaf header.
#ifndef MODFORGE_PACKETS_RELOC_FIELDS_H
#define MODFORGE_PACKETS_RELOC_FIELDS_H

/// Width of the field that a relocation of `type` changes, in bits; 0 for types without a field of their own
/// (0 to 4, every expression type, every unknown type).
int reloc_size(int type);

/// Width in bits of the container that the loader rewrites, counted from the relocation's address. Types without
/// a container of their own get `size` rounded up to whole bytes.
int reloc_stop(int type, int size);

/// Bit offset of the field inside its container, 0 for types not listed.
int reloc_offset(int type);

#endif

/* Loads a VELM module that lies in memory: the part of a loader that does not depend on the target.
 *
 * velm_open() checks everything that a module says about itself, without a look at the target. velm_load() then asks
 * the target, through the functions of a velm_target, where each section goes and what each import is, hands over the
 * contents packet by packet and each relocation once, and tells where the module is entered. What a relocation of some
 * type does to a field is the target's own knowledge and stays with it.
 *
 * C99 and C++, no other file, no allocation, no library call, no recursion; less than 512 bytes of stack beside the
 * target's functions. One octet of the module to an element of an array of unsigned char, also where a char is wider.
 * Addresses and places count the target's address units, sizes of contents bytes; names say which.
 */
#ifndef VELM_LOADER_H
#define VELM_LOADER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a call came to. After a failure velm_module.fault is the file offset of what was wrong. */
typedef enum velm_status {
    VELM_OK = 0,
    /* From velm_open(): the bytes are no sound module. */
    VELM_TOO_SHORT,      /* they end before the module does */
    VELM_NOT_A_MODULE,   /* no byte-order word at offset 8 */
    VELM_BAD_SUM,        /* a checksum is wrong; fault is where it stands */
    VELM_BAD_HEADER,     /* a size or reserved field that no module has */
    VELM_BAD_ENTRY,      /* the entry point is in a section that there is not */
    VELM_BAD_NAME,       /* a name does not lie in the string table, or stands where there must be none */
    VELM_BAD_SECTION,    /* flags, sizes or counts of a section contradict each other or its packets */
    VELM_BAD_SYMBOL,     /* a symbol is in a section that there is not */
    VELM_BAD_PACKET,     /* a packet is not where it belongs, or of a size that none has */
    VELM_BAD_RELOCATION, /* a type that never reaches a module, a symbol that there is not, a stray byte */
    /* From velm_load(), before the target has been handed a byte of contents. */
    VELM_WRONG_TARGET,      /* made for another target id */
    VELM_TOO_MANY_SECTIONS, /* fewer placements than sections */
    VELM_UNRESOLVED,        /* resolve() does not know an import; fault is its symbol record */
    VELM_NOT_PLACED,        /* place() gave up; fault is the section header */
    VELM_NOT_MOVABLE,       /* a section of a module without relocations was moved */
    VELM_OUTSIDE,           /* a relocated field does not lie in its section, or packet */
    /* From velm_load(), later: the sections are half done. */
    VELM_NOT_WRITTEN,   /* write() or commit() gave up; fault is the packet, or the section header */
    VELM_NOT_RELOCATED, /* relocate() gave up; fault is the record */
    VELM_NOT_EXPORTED   /* offer() gave up; fault is the symbol record */
} velm_status;

/* The name of a status, "VELM_OK" and so on: a text for a person. Never null. */
const char* velm_status_name(velm_status status);

/* A module that velm_open() found sound. To be read; only `fault` changes afterwards. */
typedef struct velm_module {
    const unsigned char* bytes; /* the caller's; must stay as they are while the module is in use */
    uint32_t length;            /* of the module, bytes; there may have been more behind it */
    int big_endian;             /* fields have their high byte first */
    int big_endian_contents;    /* so have the contents, by the file flags */
    uint32_t target_id;
    uint32_t file_flags;
    uint32_t time_stamp;
    uint32_t section_count;
    uint32_t symbol_count;
    uint32_t entry_section; /* number, 0xFFFF absolute, 0 none */
    uint32_t entry_point;
    uint32_t strings_size; /* bytes; the string table is at offset 56 */
    uint32_t sections_at;  /* file offset */
    uint32_t symbols_at;   /* file offset */
    uint32_t fault;
} velm_module;

typedef enum velm_section_kind {
    VELM_LOADED,     /* part of the program's memory, with contents */
    VELM_RESERVED,   /* part of the program's memory, without: uninitialised, or empty */
    VELM_INIT_TABLE, /* .cinit left to the loader: contents without an address, for the target to work off */
    VELM_COPY        /* contents without an address that no program needs, such as debug information */
} velm_section_kind;

typedef struct velm_section {
    uint32_t number; /* from 1 */
    const char* name;
    velm_section_kind kind;
    uint32_t flags; /* as in the module */
    uint32_t page;
    uint32_t run; /* as linked, address units; 0 for sections without an address */
    uint32_t load;
    uint32_t units;        /* size in address units */
    uint32_t bytes;        /* of contents; 0 when there are none */
    uint32_t unit_bits;    /* of this section: 8, 16 or 32, from its contents, else from the target id; 0 not known */
    uint32_t alignment;    /* log2, address units */
    uint32_t first_packet; /* file offset */
    uint32_t packet_count;
    uint32_t record; /* file offset of its header */
} velm_section;

typedef enum velm_symbol_kind {
    VELM_EXPORTED, /* has a name and a section: what the module offers */
    VELM_IMPORTED, /* has a name and no section: what others must offer */
    VELM_NAMELESS, /* in a section, for relocations only */
    VELM_LEFT_OUT  /* nameless, in a section that is not in the module: keeps its value as linked */
} velm_symbol_kind;

typedef struct velm_symbol {
    uint32_t number;  /* from 0 */
    const char* name; /* null for those that have none */
    velm_symbol_kind kind;
    int32_t section; /* number; 0 none, negative for an absolute value */
    uint32_t storage_class;
    uint32_t linked; /* value as linked; an import has one only if its section was left out */
    uint32_t value;  /* value now; until velm_load() knows better, as linked */
    uint32_t record; /* file offset */
} velm_symbol;

/* Where a section goes. The array is the caller's, one element for each section, section n at [n - 1]. */
typedef struct velm_placement {
    uint32_t run;  /* address when the program runs, address units; as linked until place() changes it */
    uint32_t load; /* address for the contents, address units; likewise */
    /* Set by velm_load(): */
    uint32_t run_shift;  /* what is to be added to symbols of this section, modulo 2^32 */
    uint32_t load_shift; /* and to those whose linked value lies where the section is loaded, not where it runs */
    int wanted;          /* place() asked for contents and relocations */
} velm_placement;

/* What the symbol word of a relocation is. */
typedef enum velm_operand {
    VELM_NO_OPERAND, /* nothing: an operator, or a type with a symbol that names none here */
    VELM_SYMBOL,     /* `symbol` counts */
    VELM_FIELD,      /* `field` counts */
    VELM_CONSTANT    /* `constant` counts */
} velm_operand;

/* One relocation with everything that applying it needs. Valid during the call of relocate(). */
typedef struct velm_relocation {
    const velm_section* section;
    const velm_placement* placement; /* of that section */
    uint32_t record;                 /* file offset */
    uint32_t type;                   /* as in the COFF file */
    uint32_t place_units;            /* from the start of the section, address units */
    uint32_t place_bytes;            /* the same in bytes of contents */
    uint32_t room;         /* bytes of contents from there to the end of the section, or packet: see by_packet */
    uint32_t linked_place; /* the place's run address as linked; from 0 in a section without an address */
    uint32_t new_place;    /* and now */
    int32_t displacement;  /* 16 bits, sign-extended: the low bits of the distance from the symbol as linked */
    velm_operand operand;
    velm_symbol symbol;
    uint32_t constant; /* 32 bits as they stand; signed or not is the type's meaning */
    struct {
        uint32_t offset;    /* first bit */
        uint32_t width;     /* bits */
        uint32_t container; /* bits */
    } field;
} velm_relocation;

/* The target. Functions give 0 when all is well and anything else to give up, but for place(). Each gets `self`. */
typedef struct velm_target {
    void* self;
    uint32_t target_id; /* modules of this one are taken; 0: any */

    /* Nonzero: relocations follow the packet that they came with, and a place must lie in that packet: for targets that
     * hold one packet in a buffer and write it on at commit(). 0: they follow when all contents of the section are
     * written: for targets that patch memory; then also a field that reaches into another packet is whole. */
    int by_packet;

    /* The address that another module, or the system, gives an import. Called for every import before anything else,
     * and again for each relocation that refers to it: with the same answer. */
    int (*resolve)(void* self, const velm_symbol* import, uint32_t* value);

    /* Called once for each section, in order. Sets where->run and where->load, or leaves both as linked. Above 0: write
     * and relocate the contents; 0: leave them out; below 0: give up. */
    int (*place)(void* self, const velm_section* section, velm_placement* where);

    /* Contents, packet by packet in order: `size` bytes that belong `offset` bytes behind the start of the section. */
    int (*write)(void* self, const velm_section* section, const velm_placement* where, uint32_t offset,
                 const unsigned char* data, uint32_t size);

    /* One relocation, in the order of the module. */
    int (*relocate)(void* self, const velm_relocation* relocation);

    /* The packet, or section, has all its relocations. May be null. */
    int (*commit)(void* self, const velm_section* section, const velm_placement* where);

    /* An exported symbol with its new value, after all sections. May be null. */
    int (*offer)(void* self, const velm_symbol* exported);
} velm_target;

/* Where to enter the module. */
typedef struct velm_entry {
    int present;      /* 0: it has none, and `address` is 0 */
    int absolute;     /* the address is as linked, whatever was moved */
    uint32_t section; /* number, when not absolute */
    uint32_t address; /* run address, address units */
} velm_entry;

/* Checks `size` bytes (an octet each) and describes them in *module. */
velm_status velm_open(velm_module* module, const unsigned char* bytes, uint32_t size);

/* Section `number`, 1 to section_count. */
void velm_get_section(const velm_module* module, uint32_t number, velm_section* section);

/* Symbol `number`, 0 to symbol_count - 1; its value as linked. */
void velm_get_symbol(const velm_module* module, uint32_t number, velm_symbol* symbol);

/* Loads a module that velm_open() found sound; `count` placements, at least section_count. After a failure the
 * placements tell what place() was asked; to free it is the target's. `entry` counts after VELM_OK only. */
velm_status velm_load(velm_module* module, const velm_target* target, velm_placement* placements, uint32_t count,
                      velm_entry* entry);

/* Bits of an address unit of a target id; 0 for one that is not known. */
uint32_t velm_unit_bits(uint32_t target_id);

#ifdef __cplusplus
}
#endif

#endif

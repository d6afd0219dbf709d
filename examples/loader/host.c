/* Loads a module into the memory of this machine, as a device would, and tells what came of it.
 *
 * usage: velm_host [-m UNITS] [-i ADDRESS] [-p] [-w DIRECTORY] MODULE
 *
 *   -m   moves every section with an address by so many address units
 *   -i   gives all imports this address; without it they stay as linked
 *   -p   relocates packet by packet, not section by section
 *   -w   writes the contents of section N into DIRECTORY/N.bin
 *
 * It stands for a target whose relocations of the types 15, 16 and 17 are plain addresses of 8, 16 and 32 bits. The
 * linker left linked addresses in these fields, so what is to be done is to add how far the symbol moved. All other
 * types need knowledge of a processor; they are counted and left as linked.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "velm_loader.h"

enum { most_sections = 4096, type_numbers = 0x10000 };

typedef struct host {
    const velm_module* module;
    const char* directory;
    uint32_t move;
    int imports_given;
    uint32_t import_address;
    unsigned char* memory[most_sections]; /* contents of section n at [n - 1] */
    uint32_t written[most_sections];      /* bytes */
    uint32_t relocations[most_sections];
    uint32_t offered[type_numbers]; /* relocations by type */
    uint32_t applied;
} host;

static int resolve(void* self, const velm_symbol* import, uint32_t* value) {
    const host* h = (const host*)self;
    *value = h->imports_given ? h->import_address : import->linked;
    return 0;
}

static int place(void* self, const velm_section* section, velm_placement* where) {
    host* h = (host*)self;
    if (section->kind == VELM_LOADED || section->kind == VELM_RESERVED) {
        where->run += h->move;
        where->load += h->move;
    }
    if (section->bytes == 0)
        return 0;
    h->memory[section->number - 1] = (unsigned char*)malloc(section->bytes);
    return h->memory[section->number - 1] != NULL ? 1 : -1;
}

static int write_packet(void* self, const velm_section* section, const velm_placement* where, uint32_t offset,
                        const unsigned char* data, uint32_t size) {
    host* h = (host*)self;
    (void)where;
    memcpy(h->memory[section->number - 1] + offset, data, size);
    h->written[section->number - 1] += size;
    return 0;
}

/* Adds to a field of `size` bytes in the order of the contents; what does not fit it is dropped. */
static void add_to_field(unsigned char* field, uint32_t size, uint32_t difference, int big_endian) {
    uint32_t i, carry = 0;
    for (i = 0; i < size; ++i) {
        unsigned char* byte = &field[big_endian ? size - 1 - i : i];
        carry += *byte + (difference & 0xFF);
        *byte = (unsigned char)(carry & 0xFF);
        carry >>= 8;
        difference >>= 8;
    }
}

static int relocate(void* self, const velm_relocation* r) {
    host* h = (host*)self;
    const uint32_t size = r->type == 15 ? 1 : r->type == 16 ? 2 : r->type == 17 ? 4 : 0; /* bytes */
    ++h->offered[r->type];
    ++h->relocations[r->section->number - 1];
    if (size == 0 || r->operand != VELM_SYMBOL)
        return 0;
    if (size > r->room)
        return -1;
    add_to_field(h->memory[r->section->number - 1] + r->place_bytes, size, r->symbol.value - r->symbol.linked,
                 h->module->big_endian_contents);
    ++h->applied;
    return 0;
}

static int offer(void* self, const velm_symbol* exported) {
    (void)self;
    printf("  offers 0x%08lX %s\n", (unsigned long)exported->value, exported->name);
    return 0;
}

static unsigned char* read_file(const char* name, uint32_t* size) {
    FILE* file = fopen(name, "rb");
    unsigned char* bytes = NULL;
    long end;
    if (file == NULL)
        return NULL;
    if (fseek(file, 0, SEEK_END) == 0 && (end = ftell(file)) > 0 && end <= 0x7FFFFFFF) {
        rewind(file);
        *size = (uint32_t)end;
        bytes = (unsigned char*)malloc(*size);
        if (bytes != NULL && fread(bytes, 1, *size, file) != *size) {
            free(bytes);
            bytes = NULL;
        }
    }
    fclose(file);
    return bytes;
}

static int write_section(const host* h, uint32_t number, uint32_t size) {
    char name[1024];
    FILE* file;
    size_t done;
    if (snprintf(name, sizeof name, "%s/%lu.bin", h->directory, (unsigned long)number) >= (int)sizeof name)
        return -1;
    file = fopen(name, "wb");
    if (file == NULL)
        return -1;
    done = fwrite(h->memory[number - 1], 1, size, file);
    return fclose(file) == 0 && done == size ? 0 : -1;
}

static int tell(const host* h, const velm_placement* placements, const velm_entry* entry) {
    static const char* const kinds[] = {"loaded", "reserved", "table", "copy"};
    uint32_t number, type, left = 0;
    velm_section s;
    for (number = 1; number <= h->module->section_count; ++number) {
        velm_get_section(h->module, number, &s);
        printf("  %2lu 0x%08lX -> 0x%08lX %8lu bytes %6lu relocations  %-8s %s\n", (unsigned long)number,
               (unsigned long)s.run, (unsigned long)placements[number - 1].run, (unsigned long)h->written[number - 1],
               (unsigned long)h->relocations[number - 1], kinds[s.kind], s.name);
        if (h->written[number - 1] != s.bytes)
            return -1;
        if (h->directory != NULL && s.bytes != 0 && write_section(h, number, s.bytes) != 0)
            return -1;
    }
    for (type = 0; type < type_numbers; ++type)
        left += h->offered[type];
    printf("  relocations: %lu applied, %lu left as linked\n", (unsigned long)h->applied,
           (unsigned long)(left - h->applied));
    if (entry->present)
        printf("  entry 0x%08lX\n", (unsigned long)entry->address);
    return 0;
}

static int load(host* h, const char* name, int by_packet) {
    static velm_placement placements[most_sections];
    velm_target target;
    velm_module module;
    velm_entry entry;
    velm_status status;
    uint32_t size = 0, number;
    unsigned char* bytes = read_file(name, &size);
    int result = 1;
    if (bytes == NULL) {
        fprintf(stderr, "velm_host: cannot read %s\n", name);
        return 1;
    }
    target.self = h;
    target.target_id = 0;
    target.by_packet = by_packet;
    target.resolve = resolve;
    target.place = place;
    target.write = write_packet;
    target.relocate = relocate;
    target.commit = NULL;
    target.offer = offer;
    h->module = &module;
    status = velm_open(&module, bytes, size);
    if (status == VELM_OK)
        status = velm_load(&module, &target, placements, most_sections, &entry);
    if (status != VELM_OK)
        fprintf(stderr, "velm_host: %s: %s at file offset 0x%lX\n", name, velm_status_name(status),
                (unsigned long)module.fault);
    else if (tell(h, placements, &entry) != 0)
        fprintf(stderr, "velm_host: a section was not written as a whole\n");
    else
        result = 0;
    for (number = 0; number < most_sections; ++number)
        free(h->memory[number]);
    free(bytes);
    return result;
}

int main(int argc, char** argv) {
    static host h;
    const char* name = NULL;
    int i, by_packet = 0;
    for (i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "-p") == 0)
            by_packet = 1;
        else if (strcmp(argv[i], "-m") == 0 && i + 1 < argc)
            h.move = (uint32_t)strtoul(argv[++i], NULL, 0);
        else if (strcmp(argv[i], "-i") == 0 && i + 1 < argc) {
            h.imports_given = 1;
            h.import_address = (uint32_t)strtoul(argv[++i], NULL, 0);
        } else if (strcmp(argv[i], "-w") == 0 && i + 1 < argc)
            h.directory = argv[++i];
        else if (argv[i][0] != '-' && name == NULL)
            name = argv[i];
        else
            name = "";
    }
    if (name == NULL || *name == '\0') {
        fprintf(stderr, "usage: velm_host [-m UNITS] [-i ADDRESS] [-p] [-w DIRECTORY] MODULE\n");
        return 2;
    }
    return load(&h, name, by_packet);
}

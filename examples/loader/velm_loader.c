/* See velm_loader.h. docs/module-format.md tells every byte that is read here.
 *
 * Numbers of a module are claims: each offset and count is held against the length before anything is read there, and
 * multiplied only where the product cannot wrap. velm_open() does all of that that needs no target, so everything
 * behind it may follow packets and symbol numbers blindly.
 */
#include "velm_loader.h"

enum {
    header_bytes = 36,
    tables_start = 56, /* header and verification record */
    section_bytes = 28,
    symbol_bytes = 12,
    packet_header_bytes = 12,
    relocation_bytes = 12,
    most_packet_bytes = 1024
};

enum { type_mask = 0x000F, type_data = 1, type_uninitialised = 2, type_init_table = 3 };
enum { relocated = 0x0010, has_contents = 0x0020 };
enum { known_flags = 0x0F3F, file_relocations_stripped = 0x0001, file_big_endian = 0x0200 };
enum { nameless_class = 3, absolute_entry = 0xFFFF };

static const uint32_t all_ones = 0xFFFFFFFFu; /* "no name", "no symbol", and what a sum with its checksum gives */

/* A packet; all but the counts are file offsets. */
typedef struct packet {
    uint32_t at, data, size, relocations, relocation_count, end;
} packet;

static velm_status fail(velm_module* m, uint32_t at, velm_status status) {
    m->fault = at;
    return status;
}

static uint32_t word_at(const velm_module* m, uint32_t at) {
    const unsigned char* p = m->bytes + at;
    return m->big_endian ? (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | p[3]
                         : (uint32_t)p[3] << 24 | (uint32_t)p[2] << 16 | (uint32_t)p[1] << 8 | p[0];
}

static uint32_t half_at(const velm_module* m, uint32_t at) {
    const unsigned char* p = m->bytes + at;
    return m->big_endian ? (uint32_t)p[0] << 8 | p[1] : (uint32_t)p[1] << 8 | p[0];
}

static int32_t sign_extended(uint32_t half) {
    return (int32_t)(half & 0x7FFFu) - (int32_t)(half & 0x8000u);
}

/* Whether the words in [from, to) and `checksum` add up. */
static int sum_holds(const velm_module* m, uint32_t from, uint32_t to, uint32_t checksum) {
    uint32_t sum = checksum;
    for (; from < to; from += 4)
        sum += word_at(m, from);
    return sum == all_ones;
}

/* Moves *at, which lies in the module, by `size` bytes; 0 when the module ends before. */
static int advance(const velm_module* m, uint32_t* at, uint32_t size) {
    if (size > m->length - *at)
        return 0;
    *at += size;
    return 1;
}

/* ---- header and tables ---- */

static int find_byte_order(velm_module* m) {
    const unsigned char* p = m->bytes + 8;
    m->big_endian = p[0] == 0;
    return word_at(m, 8) == 0x00010203u;
}

static void read_header(velm_module* m) {
    m->strings_size = word_at(m, 0);
    m->entry_point = word_at(m, 4);
    m->symbol_count = half_at(m, 16);
    m->section_count = half_at(m, 20);
    m->target_id = half_at(m, 26);
    m->file_flags = half_at(m, 28);
    m->entry_section = half_at(m, 30);
    m->time_stamp = word_at(m, 36);
    m->big_endian_contents = (m->file_flags & file_big_endian) != 0;
}

static velm_status check_header(velm_module* m) {
    if (m->length < tables_start)
        return fail(m, m->length, VELM_TOO_SHORT);
    if (!find_byte_order(m))
        return fail(m, 8, VELM_NOT_A_MODULE);
    if (!sum_holds(m, 0, 32, word_at(m, 32)))
        return fail(m, 32, VELM_BAD_SUM);
    if (!sum_holds(m, header_bytes, 52, word_at(m, 52)))
        return fail(m, 52, VELM_BAD_SUM);
    read_header(m);
    if ((m->strings_size & 3) != 0)
        return fail(m, 0, VELM_BAD_HEADER);
    if (half_at(m, 24) != 0)
        return fail(m, 24, VELM_BAD_HEADER);
    if (m->entry_section > m->section_count && m->entry_section != absolute_entry)
        return fail(m, 30, VELM_BAD_ENTRY);
    return VELM_OK;
}

/* Finds the tables and holds them against their sums; *end is where the first packet belongs. */
static velm_status check_tables(velm_module* m, uint32_t* end) {
    uint32_t at = tables_start;
    if (!advance(m, &at, m->strings_size))
        return fail(m, m->length, VELM_TOO_SHORT);
    m->sections_at = at;
    if (!advance(m, &at, section_bytes * m->section_count))
        return fail(m, m->length, VELM_TOO_SHORT);
    m->symbols_at = at;
    if (!advance(m, &at, symbol_bytes * m->symbol_count))
        return fail(m, m->length, VELM_TOO_SHORT);
    if (!sum_holds(m, m->sections_at, m->symbols_at, word_at(m, 40)))
        return fail(m, 40, VELM_BAD_SUM);
    if (!sum_holds(m, tables_start, m->sections_at, word_at(m, 44)))
        return fail(m, 44, VELM_BAD_SUM);
    if (!sum_holds(m, m->symbols_at, at, word_at(m, 48)))
        return fail(m, 48, VELM_BAD_SUM);
    /* With a NUL at its end, every name that begins in the table ends in it. */
    if (m->strings_size != 0 && m->bytes[m->sections_at - 1] != 0)
        return fail(m, m->sections_at - 1, VELM_BAD_NAME);
    *end = at;
    return VELM_OK;
}

/* Null when the offset is not one of the table. */
static const char* name_at(const velm_module* m, uint32_t offset) {
    return offset < m->strings_size ? (const char*)(m->bytes + tables_start + offset) : 0;
}

/* ---- symbols ---- */

void velm_get_symbol(const velm_module* m, uint32_t number, velm_symbol* s) {
    const uint32_t at = m->symbols_at + symbol_bytes * number;
    s->number = number;
    s->record = at;
    s->linked = s->value = word_at(m, at + 4);
    s->section = sign_extended(half_at(m, at + 8));
    s->storage_class = half_at(m, at + 10);
    if (s->storage_class == nameless_class) {
        s->name = 0;
        s->kind = s->section == 0 ? VELM_LEFT_OUT : VELM_NAMELESS;
    } else {
        s->name = name_at(m, word_at(m, at));
        s->kind = s->section == 0 ? VELM_IMPORTED : VELM_EXPORTED;
    }
}

static velm_status check_symbols(velm_module* m) {
    uint32_t i;
    for (i = 0; i < m->symbol_count; ++i) {
        velm_symbol s;
        velm_get_symbol(m, i, &s);
        if (s.storage_class == nameless_class ? word_at(m, s.record) != all_ones : s.name == 0)
            return fail(m, s.record, VELM_BAD_NAME);
        if (s.section > (int32_t)m->section_count)
            return fail(m, s.record + 8, VELM_BAD_SYMBOL);
    }
    return VELM_OK;
}

/* ---- packets ---- */

/* 0 when the module ends before the packet at `at`. */
static int read_packet(const velm_module* m, uint32_t at, packet* p) {
    p->at = p->end = at;
    if (!advance(m, &p->end, packet_header_bytes))
        return 0;
    p->relocation_count = word_at(m, at);
    p->size = word_at(m, at + 4);
    p->data = p->end;
    if (p->size > m->length || !advance(m, &p->end, (p->size + 3) & ~(uint32_t)3)) /* the padding may not wrap */
        return 0;
    p->relocations = p->end;
    return p->relocation_count <= all_ones / relocation_bytes &&
           advance(m, &p->end, relocation_bytes * p->relocation_count);
}

/* The chain of packets of a section, which must begin at *end; sets *end behind it. */
static velm_status check_chain(velm_module* m, uint32_t section_record, uint32_t* end) {
    const uint32_t count = word_at(m, section_record + 24);
    uint32_t i;
    if (word_at(m, section_record + 20) != (count != 0 ? *end : 0))
        return fail(m, section_record + 20, VELM_BAD_PACKET);
    for (i = 0; i < count; ++i) {
        packet p;
        if (!read_packet(m, *end, &p))
            return fail(m, m->length, VELM_TOO_SHORT);
        if (!sum_holds(m, p.at, p.end, 0))
            return fail(m, p.at + 8, VELM_BAD_SUM);
        if (p.size == 0 || p.size > most_packet_bytes || ((p.size & 1) != 0 && i + 1 < count))
            return fail(m, p.at + 4, VELM_BAD_PACKET);
        *end = p.end;
    }
    return VELM_OK;
}

/* ---- sections ---- */

uint32_t velm_unit_bits(uint32_t target_id) {
    switch (target_id) {
    case 0x93:
        return 32;
    case 0x98:
    case 0x9D:
        return 16;
    case 0x97:
    case 0x99:
    case 0x9C:
    case 0x9F:
        return 8;
    default:
        return 0;
    }
}

/* Width of a section of that many units and bytes, 0 when they do not fit together. */
static uint32_t width_of(uint32_t units, uint32_t bytes) {
    if (bytes == units)
        return 8;
    if ((bytes & 1) == 0 && bytes / 2 == units)
        return 16;
    return (bytes & 3) == 0 && bytes / 4 == units ? 32 : 0;
}

static velm_section_kind kind_of(const velm_module* m, const velm_section* s) {
    if (s->packet_count == 0)
        return VELM_RESERVED;
    if ((s->flags & type_mask) == type_init_table)
        return VELM_INIT_TABLE;
    if ((s->flags & has_contents) == 0)
        return VELM_COPY;
    /* Where relocations were kept, only an initialisation table has contents and is not relocated in place. */
    return (s->flags & relocated) != 0 || (m->file_flags & file_relocations_stripped) != 0 ? VELM_LOADED
                                                                                           : VELM_INIT_TABLE;
}

void velm_get_section(const velm_module* m, uint32_t number, velm_section* s) {
    const uint32_t at = m->sections_at + section_bytes * (number - 1);
    uint32_t i, next;
    s->number = number;
    s->record = at;
    s->name = name_at(m, word_at(m, at));
    s->run = word_at(m, at + 4);
    s->load = word_at(m, at + 8);
    s->units = word_at(m, at + 12);
    s->page = half_at(m, at + 16);
    s->flags = half_at(m, at + 18);
    s->alignment = s->flags >> 8;
    s->first_packet = next = word_at(m, at + 20);
    s->packet_count = word_at(m, at + 24);
    s->kind = kind_of(m, s);
    s->bytes = 0;
    for (i = 0; i < s->packet_count; ++i) {
        packet p;
        read_packet(m, next, &p);
        s->bytes += p.size;
        next = p.end;
    }
    s->unit_bits = s->packet_count != 0 ? width_of(s->units, s->bytes) : velm_unit_bits(m->target_id);
}

/* Whether a converter gives such flags to a section of that size and so many packets. */
static int flags_agree(const velm_module* m, const velm_section* s) {
    const uint32_t type = s->flags & type_mask;
    const int moves = (s->flags & relocated) != 0, filled = (s->flags & has_contents) != 0;
    if ((s->flags & ~(uint32_t)known_flags) != 0 || type > type_init_table)
        return 0;
    if (s->units == 0 && (moves || filled))
        return 0;
    if (moves && (type == type_init_table || (m->file_flags & file_relocations_stripped) != 0))
        return 0;
    if (s->packet_count != 0)
        return type != type_uninitialised && (filled || !moves);
    /* Code and uninitialised sections have the flag without packets where the COFF file gave them a file pointer. */
    return !filled || (type != type_data && type != type_init_table);
}

static velm_status check_section(velm_module* m, uint32_t number, uint32_t* end) {
    velm_section s;
    velm_status status = check_chain(m, m->sections_at + section_bytes * (number - 1), end);
    if (status != VELM_OK)
        return status;
    velm_get_section(m, number, &s);
    if (s.name == 0)
        return fail(m, s.record, VELM_BAD_NAME);
    if (!flags_agree(m, &s))
        return fail(m, s.record + 18, VELM_BAD_SECTION);
    if ((s.kind == VELM_COPY || s.kind == VELM_INIT_TABLE) && (s.run != 0 || s.load != 0))
        return fail(m, s.record + 4, VELM_BAD_SECTION);
    if (s.packet_count != 0 && s.unit_bits == 0)
        return fail(m, s.record + 12, VELM_BAD_SECTION);
    return VELM_OK;
}

/* ---- relocations ---- */

static int is_field_type(uint32_t type) {
    return (type >= 0x400D && type <= 0x4010) || type == 0x4016;
}

static velm_operand operand_of(uint32_t type, uint32_t word) {
    if (is_field_type(type))
        return VELM_FIELD;
    if (type == 0x4012 || type == 0x4013)
        return VELM_CONSTANT;
    if ((type >= 0x4000 && type <= 0x400C) || type == 0x4014 || type == 0x4015)
        return VELM_NO_OPERAND;
    return word != all_ones ? VELM_SYMBOL : VELM_NO_OPERAND;
}

static int has_displacement(uint32_t type) {
    return type < 0x4000 || type == 0x4011 || type == 0xC011;
}

/* What the record at `at` says by itself. */
static velm_status read_relocation(velm_module* m, uint32_t at, velm_relocation* r) {
    const uint32_t word = word_at(m, at + 4), displacement = half_at(m, at + 8);
    const unsigned char* field = m->bytes + at + 4; /* single bytes, in this order in every module */
    r->record = at;
    r->type = half_at(m, at + 10);
    r->displacement = sign_extended(displacement);
    r->operand = operand_of(r->type, word);
    if ((r->type >= 0x5000 && r->type <= 0x5002) || (displacement != 0 && !has_displacement(r->type)))
        return fail(m, at, VELM_BAD_RELOCATION);
    switch (r->operand) {
    case VELM_SYMBOL:
        if (word >= m->symbol_count)
            return fail(m, at + 4, VELM_BAD_RELOCATION);
        velm_get_symbol(m, word, &r->symbol);
        break;
    case VELM_FIELD:
        if (field[3] != 0)
            return fail(m, at + 4, VELM_BAD_RELOCATION);
        r->field.offset = field[0];
        r->field.width = field[1];
        r->field.container = field[2];
        break;
    case VELM_CONSTANT:
        r->constant = word;
        break;
    case VELM_NO_OPERAND:
        break;
    }
    return VELM_OK;
}

/* Where the relocation is, in the piece of its section that ends `end` bytes behind the start; the packet that it came
 * with begins at `start`. A place before its packet is a number close to 2^32, which the sum brings back. */
static velm_status find_place(velm_module* m, velm_relocation* r, uint32_t start, uint32_t end, int by_packet) {
    const uint32_t shift = r->section->unit_bits >> 4; /* 8, 16, 32 bits: 1 << 0, 1, 2 bytes */
    const uint32_t place = word_at(m, r->record), units = place + (start >> shift);
    if (units > end >> shift || (by_packet && place > (end - start) >> shift))
        return fail(m, r->record, VELM_OUTSIDE);
    r->place_units = units;
    r->place_bytes = units << shift;
    r->room = end - r->place_bytes;
    if (r->operand == VELM_FIELD && r->field.container >> 3 > r->room)
        return fail(m, r->record, VELM_OUTSIDE);
    return VELM_OK;
}

static velm_status check_packets(velm_module* m, const velm_section* s) {
    uint32_t next = s->first_packet, i, k;
    for (i = 0; i < s->packet_count; ++i) {
        packet p;
        read_packet(m, next, &p);
        if ((p.size & (s->unit_bits / 8 - 1)) != 0) /* places count whole units from the packet's start */
            return fail(m, p.at + 4, VELM_BAD_PACKET);
        for (k = 0; k < p.relocation_count; ++k) {
            velm_relocation r;
            const velm_status status = read_relocation(m, p.relocations + relocation_bytes * k, &r);
            if (status != VELM_OK)
                return status;
        }
        next = p.end;
    }
    return VELM_OK;
}

velm_status velm_open(velm_module* m, const unsigned char* bytes, uint32_t size) {
    uint32_t end = 0, number, moving = 0;
    velm_status status;
    m->bytes = bytes;
    m->length = size;
    m->fault = 0;
    if ((status = check_header(m)) != VELM_OK || (status = check_tables(m, &end)) != VELM_OK ||
        (status = check_symbols(m)) != VELM_OK)
        return status;
    for (number = 1; number <= m->section_count; ++number) {
        velm_section s;
        if ((status = check_section(m, number, &end)) != VELM_OK)
            return status;
        velm_get_section(m, number, &s);
        moving += (s.flags & relocated) != 0;
        if ((status = check_packets(m, &s)) != VELM_OK)
            return status;
    }
    if (moving != half_at(m, 22))
        return fail(m, 22, VELM_BAD_HEADER);
    m->length = end;
    return VELM_OK;
}

/* ---- loading ---- */

/* A load in progress. */
typedef struct load {
    velm_module* module;
    const velm_target* target;
    velm_placement* placements;
} load;

/* Most symbols are linked where their section runs; those that tell where to copy it from, where it is loaded. */
static uint32_t shift_of(const load* l, const velm_symbol* s) {
    const velm_placement* where = &l->placements[s->section - 1];
    const uint32_t header = l->module->sections_at + section_bytes * (uint32_t)(s->section - 1);
    const uint32_t units = word_at(l->module, header + 12);
    const int runs_there = s->linked - word_at(l->module, header + 4) <= units;
    const int is_loaded_there = s->linked - word_at(l->module, header + 8) <= units;
    return is_loaded_there && !runs_there ? where->load_shift : where->run_shift;
}

/* The value of a symbol now that its section has a place. */
static velm_status settle_symbol(const load* l, velm_symbol* s) {
    if (s->kind == VELM_IMPORTED) {
        if (l->target->resolve(l->target->self, s, &s->value) != 0)
            return fail(l->module, s->record, VELM_UNRESOLVED);
    } else if (s->section > 0) {
        s->value += shift_of(l, s);
    }
    return VELM_OK;
}

static velm_status resolve_imports(const load* l) {
    uint32_t i;
    for (i = 0; i < l->module->symbol_count; ++i) {
        velm_symbol s;
        velm_status status;
        velm_get_symbol(l->module, i, &s);
        if (s.kind == VELM_IMPORTED && (status = settle_symbol(l, &s)) != VELM_OK)
            return status;
    }
    return VELM_OK;
}

static velm_status place_section(const load* l, const velm_section* s, velm_placement* where) {
    const int has_address = s->kind == VELM_LOADED || s->kind == VELM_RESERVED;
    int answer;
    where->run = s->run;
    where->load = s->load;
    answer = l->target->place(l->target->self, s, where);
    if (answer < 0)
        return fail(l->module, s->record, VELM_NOT_PLACED);
    where->wanted = answer > 0 && s->packet_count != 0;
    /* The symbols of a section whose linked address is not in the module cannot follow it. */
    where->run_shift = has_address ? where->run - s->run : 0;
    where->load_shift = has_address ? where->load - s->load : 0;
    if (where->run_shift != 0 && s->units != 0 && (l->module->file_flags & file_relocations_stripped) != 0)
        return fail(l->module, s->record, VELM_NOT_MOVABLE);
    return VELM_OK;
}

/* The relocations of one packet, whose data begin `start` bytes into the section: looked at, or offered. */
static velm_status walk_relocations(const load* l, const velm_section* s, const packet* p, uint32_t start, int offer) {
    const velm_target* t = l->target;
    velm_relocation r;
    uint32_t k;
    r.section = s;
    r.placement = &l->placements[s->number - 1];
    for (k = 0; k < p->relocation_count; ++k) {
        velm_status status = read_relocation(l->module, p->relocations + relocation_bytes * k, &r);
        if (status == VELM_OK)
            status = find_place(l->module, &r, start, t->by_packet ? start + p->size : s->bytes, t->by_packet);
        if (status == VELM_OK && offer && r.operand == VELM_SYMBOL)
            status = settle_symbol(l, &r.symbol);
        if (status != VELM_OK)
            return status;
        r.linked_place = s->run + r.place_units;
        r.new_place = r.placement->run + r.place_units;
        if (offer && t->relocate(t->self, &r) != 0)
            return fail(l->module, r.record, VELM_NOT_RELOCATED);
    }
    return VELM_OK;
}

static velm_status commit(const load* l, const velm_section* s, uint32_t at) {
    const velm_target* t = l->target;
    if (t->commit != 0 && t->commit(t->self, s, &l->placements[s->number - 1]) != 0)
        return fail(l->module, at, VELM_NOT_WRITTEN);
    return VELM_OK;
}

/* What is done with the packets of a section, one after the other. */
enum { to_look = 1, to_write = 2, to_relocate = 4 };

static velm_status walk_packets(const load* l, const velm_section* s, int what) {
    const velm_target* t = l->target;
    uint32_t start = 0, next = s->first_packet, i;
    for (i = 0; i < s->packet_count; ++i) {
        velm_status status = VELM_OK;
        packet p;
        read_packet(l->module, next, &p);
        if ((what & to_write) != 0 &&
            t->write(t->self, s, &l->placements[s->number - 1], start, l->module->bytes + p.data, p.size) != 0)
            return fail(l->module, p.at, VELM_NOT_WRITTEN);
        if ((what & (to_look | to_relocate)) != 0)
            status = walk_relocations(l, s, &p, start, what & to_relocate);
        if (status == VELM_OK && what == (to_write | to_relocate))
            status = commit(l, s, p.at);
        if (status != VELM_OK)
            return status;
        start += p.size;
        next = p.end;
    }
    return VELM_OK;
}

static velm_status load_section(const load* l, const velm_section* s) {
    velm_status status;
    if (l->target->by_packet)
        return walk_packets(l, s, to_write | to_relocate);
    if ((status = walk_packets(l, s, to_write)) != VELM_OK || (status = walk_packets(l, s, to_relocate)) != VELM_OK)
        return status;
    return commit(l, s, s->record);
}

static velm_status offer_exports(const load* l) {
    const velm_target* t = l->target;
    uint32_t i;
    if (t->offer == 0)
        return VELM_OK;
    for (i = 0; i < l->module->symbol_count; ++i) {
        velm_symbol s;
        velm_get_symbol(l->module, i, &s);
        if (s.kind != VELM_EXPORTED)
            continue;
        settle_symbol(l, &s);
        if (t->offer(t->self, &s) != 0)
            return fail(l->module, s.record, VELM_NOT_EXPORTED);
    }
    return VELM_OK;
}

static void find_entry(const load* l, velm_entry* entry) {
    const velm_module* m = l->module;
    entry->section = m->entry_section;
    entry->absolute = m->entry_section == absolute_entry;
    /* All ones is what the header says of a program that had no word on it. */
    entry->present = m->entry_section != 0 && !(entry->absolute && m->entry_point == all_ones);
    entry->address = entry->present ? m->entry_point : 0;
    if (entry->present && !entry->absolute)
        entry->address += l->placements[m->entry_section - 1].run;
}

velm_status velm_load(velm_module* m, const velm_target* target, velm_placement* placements, uint32_t count,
                      velm_entry* entry) {
    load l;
    velm_section s;
    velm_status status;
    uint32_t number;
    l.module = m;
    l.target = target;
    l.placements = placements;
    if (target->target_id != 0 && target->target_id != m->target_id)
        return fail(m, 26, VELM_WRONG_TARGET);
    if (count < m->section_count)
        return fail(m, 20, VELM_TOO_MANY_SECTIONS);
    if ((status = resolve_imports(&l)) != VELM_OK)
        return status;
    for (number = 1; number <= m->section_count; ++number) {
        velm_placement* where = &placements[number - 1];
        velm_get_section(m, number, &s);
        if ((status = place_section(&l, &s, where)) != VELM_OK ||
            (where->wanted && (status = walk_packets(&l, &s, to_look)) != VELM_OK))
            return status;
    }
    for (number = 1; number <= m->section_count; ++number) {
        velm_get_section(m, number, &s);
        if (placements[number - 1].wanted && (status = load_section(&l, &s)) != VELM_OK)
            return status;
    }
    find_entry(&l, entry);
    return offer_exports(&l);
}

const char* velm_status_name(velm_status status) {
    switch (status) {
#define NAMED(name)                                                                                                    \
    case name:                                                                                                         \
        return #name
        NAMED(VELM_OK);
        NAMED(VELM_TOO_SHORT);
        NAMED(VELM_NOT_A_MODULE);
        NAMED(VELM_BAD_SUM);
        NAMED(VELM_BAD_HEADER);
        NAMED(VELM_BAD_ENTRY);
        NAMED(VELM_BAD_NAME);
        NAMED(VELM_BAD_SECTION);
        NAMED(VELM_BAD_SYMBOL);
        NAMED(VELM_BAD_PACKET);
        NAMED(VELM_BAD_RELOCATION);
        NAMED(VELM_WRONG_TARGET);
        NAMED(VELM_TOO_MANY_SECTIONS);
        NAMED(VELM_UNRESOLVED);
        NAMED(VELM_NOT_PLACED);
        NAMED(VELM_NOT_MOVABLE);
        NAMED(VELM_OUTSIDE);
        NAMED(VELM_NOT_WRITTEN);
        NAMED(VELM_NOT_RELOCATED);
        NAMED(VELM_NOT_EXPORTED);
#undef NAMED
    }
    return "?";
}

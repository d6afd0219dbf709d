// The reference loader: sound modules arrive whole, wherever their sections go, and unsound ones do not.
#include "velm_loader.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cases/random_request.h"
#include "support/coff_builder.h"
#include "support/module_sums.h"
#include "support/run_program.h"
#include "tools/second_opinion/coff_input.h"
#include "tools/second_opinion/conversion.h"

namespace {

using namespace support;

const std::string samples = MODFORGE_SAMPLES;
constexpr std::uint32_t import_address = 0xF0000010;

bytes converted(const std::string& input) {
    const temporary_directory room;
    const run_result run = run_program({MODFORGE_PROGRAM, "-o=" + room.file("m"), input});
    EXPECT_EQ(run.status, 0) << run.err;
    return read_file(room.file("m"));
}

bytes converted(const coff_image& image) {
    const temporary_directory room;
    return converted(room.write("app.out", image.data()));
}

std::string text(const char* name) {
    return name != nullptr ? name : "";
}

/// A relocation as it was offered, with copies of what dies behind the call.
struct offered {
    velm_relocation reloc;
    std::string section, symbol;
};

/// A target with a memory of its own for each section. `move` says how far a section with an address goes; `import`
/// what an import is; the steps whose name is in `refuse` give up.
class device {
public:
    std::function<std::uint32_t(const velm_section&)> move = [](const velm_section&) { return 0U; };
    std::function<std::uint32_t(const velm_symbol&)> import = [](const velm_symbol& s) { return s.linked; };
    std::string refuse = {};
    bool by_packet = false;
    std::uint32_t target_id = 0, room_for_sections = 0xFFFF;

    bytes module;  ///< exactly as long as it is, so that a read behind it shows
    velm_module opened{};
    velm_entry entry{};
    std::map<std::string, bytes> memory;
    std::vector<offered> relocs;
    std::map<std::string, std::uint32_t> exports;
    int commits = 0;

    explicit device(bytes module_bytes) : module(std::move(module_bytes)) { module.shrink_to_fit(); }

    velm_status load() {
        const velm_status status = velm_open(&opened, module.data(), static_cast<std::uint32_t>(module.size()));
        if (status != VELM_OK)
            return status;
        std::vector<velm_placement> placements(opened.section_count);
        const velm_target target = {this, target_id, by_packet, resolve, place, write, relocate, commit, offer};
        return velm_load(&opened, &target, placements.data(), std::min(opened.section_count, room_for_sections),
                         &entry);
    }

private:
    static device& self(void* pointer) { return *static_cast<device*>(pointer); }
    [[nodiscard]] int answer(const char* step) const { return refuse == step ? -1 : 0; }

    static int resolve(void* pointer, const velm_symbol* s, std::uint32_t* value) {
        *value = self(pointer).import(*s);
        return self(pointer).answer("resolve");
    }
    static int place(void* pointer, const velm_section* s, velm_placement* where) {
        if (s->kind == VELM_LOADED || s->kind == VELM_RESERVED) {
            where->run += self(pointer).move(*s);
            where->load += 3 * self(pointer).move(*s);
        }
        self(pointer).memory[s->name].resize(s->bytes);
        return self(pointer).refuse == "place" ? -1 : self(pointer).refuse == "contents" ? 0 : 1;
    }
    static int write(void* pointer, const velm_section* s, const velm_placement*, std::uint32_t offset,
                     const unsigned char* data, std::uint32_t size) {
        bytes& memory = self(pointer).memory[s->name];
        EXPECT_LE(std::uint64_t{offset} + size, memory.size());
        std::copy(data, data + size, memory.begin() + offset);
        return self(pointer).answer("write");
    }
    /// The plain types are differences in contents of either order.
    static int relocate(void* pointer, const velm_relocation* r) {
        device& d = self(pointer);
        d.relocs.push_back({*r, r->section->name, r->operand == VELM_SYMBOL ? text(r->symbol.name) : ""});
        const std::map<std::uint32_t, std::size_t> plain = {{15, 1}, {16, 2}, {17, 4}};
        if (plain.contains(r->type) && r->operand == VELM_SYMBOL && plain.at(r->type) <= r->room) {
            const byte_order order = d.opened.big_endian_contents ? byte_order::big : byte_order::little;
            const std::uint32_t old = get(d.memory[r->section->name], r->place_bytes, plain.at(r->type), order);
            put_at(d.memory[r->section->name], r->place_bytes, plain.at(r->type),
                   old + r->symbol.value - r->symbol.linked, order);
        }
        return d.answer("relocate");
    }
    static int commit(void* pointer, const velm_section*, const velm_placement*) {
        ++self(pointer).commits;
        return self(pointer).answer("commit");
    }
    static int offer(void* pointer, const velm_symbol* s) {
        self(pointer).exports[s->name] = s->value;
        return self(pointer).answer("offer");
    }
};

/// The name of a section or symbol of it, below.
std::string name_of(const auto& named) {
    return std::string(named.name);
}

/// A linked program, read without the product, as the loader must see it.
class program {
public:
    explicit program(const std::string& path) : data_(read_file(path)), input_(data_) {
        for (const second_opinion::symbol& s : input_.symbols)
            symbols_.emplace(s.index, &s);
    }

    [[nodiscard]] const second_opinion::coff_input& input() const { return input_; }
    [[nodiscard]] bytes contents(const second_opinion::section& s) const {
        const auto start = data_.begin() + s.scnptr;
        return s.scnptr != 0 ? bytes(start, start + s.byte_size()) : bytes();
    }
    [[nodiscard]] const second_opinion::symbol& symbol(std::uint32_t index) const { return *symbols_.at(index); }
    [[nodiscard]] const second_opinion::section* section_of(const second_opinion::symbol& s) const {
        return s.scnum > 0 ? &input_.sections.at(static_cast<std::size_t>(s.scnum) - 1) : nullptr;
    }
    [[nodiscard]] byte_order order() const {
        return (input_.flags & 0x200) != 0 ? byte_order::big : byte_order::little;
    }

private:
    bytes data_;
    second_opinion::coff_input input_;
    std::map<std::uint32_t, const second_opinion::symbol*> symbols_;
};

/// Compares a load of all sections with the program that the module was made from.
class comparison {
public:
    comparison(const program& linked, const device& loaded, bool moved)
        : linked_(linked), loaded_(loaded), moved_(moved) {}

    void run() {
        std::size_t next = 0;
        // The relocations of a section come in one piece; in which order the sections come is the module's matter.
        std::map<std::string, std::vector<const offered*>> by_section;
        for (const offered& o : loaded_.relocs)
            by_section[o.section].push_back(&o);
        for (const second_opinion::section& s : linked_.input().sections) {
            if (!loaded_.memory.contains(name_of(s)))
                continue;
            compare(s, by_section[name_of(s)]);
            next += by_section[name_of(s)].size();
        }
        EXPECT_EQ(next, loaded_.relocs.size());
        EXPECT_GT(next, 1000U);
    }

    /// How far a section went; sections that hold no place in memory stay.
    [[nodiscard]] std::uint32_t shift(const second_opinion::section& s) const {
        return moved_ && (s.flags & 0x13) == 0 && loaded_.memory.contains(name_of(s)) &&
                       !(s.name == ".cinit" && (linked_.input().flags & 2) == 0)
                   ? distance(name_of(s))
                   : 0;
    }
    static bool within(std::uint32_t value, std::uint32_t start, std::uint32_t size) {
        return value >= start && value <= start + size;
    }
    static std::uint32_t distance(const std::string& section) {
        return 0x10000 + 0x40 * static_cast<std::uint32_t>(std::hash<std::string>{}(section) % 1000);
    }

private:
    void compare(const second_opinion::section& s, const std::vector<const offered*>& relocs) {
        SCOPED_TRACE(name_of(s));
        bytes expected = linked_.contents(s);
        std::size_t next = 0;
        for (std::uint32_t i = 0; i < s.nreloc; ++i) {
            const second_opinion::relocation r = linked_.input().relocation_at(s, i);
            ASSERT_LT(next, relocs.size());
            ASSERT_NO_FATAL_FAILURE(compare(s, r, *relocs[next++], expected)) << "relocation " << next;
        }
        EXPECT_EQ(next, relocs.size());
        EXPECT_TRUE(loaded_.memory.at(name_of(s)) == expected) << "contents differ";
    }

    void compare(const second_opinion::section& s, const second_opinion::relocation& r, const offered& o,
                 bytes& expected) {
        const std::uint32_t place = (r.vaddr - s.vaddr) * (s.width / 8);
        ASSERT_EQ(o.reloc.type, r.type);
        ASSERT_EQ(o.reloc.place_units, r.vaddr - s.vaddr);
        ASSERT_EQ(o.reloc.place_bytes, place);
        ASSERT_EQ(o.reloc.new_place - o.reloc.linked_place, shift(s));
        const bool with_symbol = r.type < 0x4000 || r.type == 0x4011 || r.type == 0xC011;
        ASSERT_EQ(o.reloc.displacement, with_symbol ? static_cast<std::int16_t>(r.disp) : 0);
        if (r.type == 0x4012 || r.type == 0x4013) {
            ASSERT_EQ(o.reloc.operand, VELM_CONSTANT);
            ASSERT_EQ(o.reloc.constant, r.symndx);
        } else if ((r.type >= 0x400D && r.type <= 0x4010) || r.type == 0x4016) {
            ASSERT_EQ(o.reloc.operand, VELM_FIELD);
            ASSERT_EQ(o.reloc.field.offset, r.descriptor[0]);
            ASSERT_EQ(o.reloc.field.width, r.descriptor[1]);
            ASSERT_EQ(o.reloc.field.container, r.descriptor[2]);
            ASSERT_GE(o.reloc.room, r.descriptor[2] / 8U);
        } else if (!with_symbol || r.symndx == 0xFFFFFFFF) {
            ASSERT_EQ(o.reloc.operand, VELM_NO_OPERAND);
        } else {
            compare_symbol(linked_.symbol(r.symndx), o);
            const std::size_t width = r.type == 15 ? 1 : r.type == 16 ? 2 : r.type == 17 ? 4 : 0;
            ASSERT_GE(o.reloc.room, width);
            if (width != 0)
                put_at(expected, place, width,
                       get(expected, place, width, linked_.order()) + new_value(linked_.symbol(r.symndx)) -
                           linked_.symbol(r.symndx).value,
                       linked_.order());
        }
    }

    /// A symbol goes where its section runs, unless only its load address explains the value. Without a section in the
    /// module it is an import, if it has a name there.
    [[nodiscard]] std::uint32_t new_value(const second_opinion::symbol& s) const {
        const second_opinion::section* home = linked_.section_of(s);
        if (home != nullptr && loaded_.memory.contains(name_of(*home)))
            return s.value +
                   shift(*home) *
                       (within(s.value, home->paddr, home->size) || !within(s.value, home->vaddr, home->size) ? 1 : 3);
        return moved_ && s.scnum >= 0 && s.sclass != 3 ? import_address : s.value;
    }

    void compare_symbol(const second_opinion::symbol& s, const offered& o) {
        ASSERT_EQ(o.reloc.operand, VELM_SYMBOL);
        ASSERT_EQ(o.reloc.symbol.linked, s.value);
        ASSERT_EQ(o.reloc.symbol.value, new_value(s)) << s.name;
        if (o.reloc.symbol.kind == VELM_EXPORTED || o.reloc.symbol.kind == VELM_IMPORTED) {
            ASSERT_EQ(o.symbol, s.name);
        }
    }

    const program& linked_;
    const device& loaded_;
    bool moved_;
};

class LoaderSamples : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(All, LoaderSamples, testing::Values("sensor", "audio", "firmware"),
                         [](const auto& chosen) { return chosen.param; });

// Everything of the input that a relocation is made of arrives, once and in order; contents are the linked ones, but for
// the plain fields, which went along with their symbols.
TEST_P(LoaderSamples, ArriveAsLinkedAndMoved) {
    const std::string path = samples + '/' + GetParam() + ".out";
    const program linked(path);
    const bytes module = converted(path);
    const auto entry = std::find_if(linked.input().symbols.begin(), linked.input().symbols.end(),
                                    [](const auto& s) { return s.name == "__DLStart"; });
    for (const bool swapped : {false, true}) {
        for (const bool moved : {false, true}) {
            SCOPED_TRACE(std::string(swapped ? "swapped" : "as written") + (moved ? ", moved" : ", as linked"));
            device loaded(swapped ? byte_swapped(module) : module);
            loaded.by_packet = swapped;
            if (moved) {
                loaded.move = [](const velm_section& s) { return comparison::distance(s.name); };
                loaded.import = [](const velm_symbol&) { return import_address; };
            }
            ASSERT_EQ(loaded.load(), VELM_OK) << loaded.opened.fault;
            comparison compared(linked, loaded, moved);
            compared.run();
            EXPECT_EQ(loaded.opened.length, module.size());
            EXPECT_EQ(loaded.entry.address, entry->value + compared.shift(*linked.section_of(*entry)));
            for (const second_opinion::symbol& s : linked.input().symbols) {
                if (loaded.exports.contains(name_of(s)) && s.sclass == 2 && s.scnum > 0) {
                    EXPECT_EQ(loaded.exports.at(name_of(s)), s.value + compared.shift(*linked.section_of(s))) << s.name;
                }
            }
        }
    }
}

// No sound module is refused; the kinds of section and symbol that the samples lack come in here.
TEST(Loader, OpensEveryModuleOfTheConverter) {
    unsigned modules = 0;
    for (std::uint32_t seed = 0; modules < 300; ++seed) {
        const second_opinion::conversion made = second_opinion::convert(cases::random_request(seed));
        if (made.status != 0 || made.module.at(0) == '0')
            continue;
        for (const bytes& module : {made.module, byte_swapped(made.module)}) {
            device loaded(module);
            loaded.refuse = "contents";  // sections may share a name, and places may lie outside
            ASSERT_EQ(loaded.load(), VELM_OK) << "seed " << seed << " at " << loaded.opened.fault;
        }
        ++modules;
    }
}

coff_image blink_image() {
    coff_image image;
    image.sections = {{.name = ".text",
                       .flags = 0x220,
                       .paddr = 0x1000,
                       .contents = {0xA1, 0, 0, 0, 0, 0, 0xA2, 0, 0, 0x20, 0, 0, 0xC3, 0},
                       .relocs = {{.vaddr = 0x1002, .type = 17, .symndx = 2, .disp = 0xFFFE},
                                  {.vaddr = 0x1008, .type = 17, .symndx = 3}}},
                      {.name = ".bss", .flags = 0x280, .paddr = 0x2000, .size = 4}};
    image.symbols = {{.name = "__DLStart", .value = 0x100C},
                     {.name = "_toggle", .value = 0x1000},
                     {.name = "_led", .scnum = 0},
                     {.name = "_count", .value = 0x2000, .scnum = 2, .sclass = 3}};
    return image;
}

TEST(Loader, WorkedOutByHand) {
    device loaded(converted(blink_image()));
    loaded.move = [](const velm_section& s) { return s.number * 0x100; };
    loaded.import = [](const velm_symbol&) { return 0x40U; };
    ASSERT_EQ(loaded.load(), VELM_OK);
    EXPECT_EQ(loaded.memory[".text"], (bytes{0xA1, 0, 0x40, 0, 0, 0, 0xA2, 0, 0, 0x22, 0, 0, 0xC3, 0}));
    EXPECT_EQ(loaded.exports, (std::map<std::string, std::uint32_t>{{"_toggle", 0x1100}}));
    EXPECT_EQ(loaded.entry.address, 0x110CU);
    EXPECT_EQ(loaded.relocs.at(0).reloc.displacement, -2);
    EXPECT_EQ(loaded.relocs.at(0).reloc.room, 12U);
    EXPECT_EQ(loaded.relocs.at(0).reloc.new_place, 0x1102U);
    EXPECT_EQ(loaded.commits, 1);
}

// Relocations out of order: the second lies before its packet, which only a target that patches memory can bear.
TEST(Loader, PlacesBeforeTheirPacket) {
    coff_image image = blink_image();
    image.sections[0].contents.resize(1100);
    image.sections[0].relocs = {{.vaddr = 0x1000 + 1022, .type = 17, .symndx = 3},
                                {.vaddr = 0x1002, .type = 17, .symndx = 2}};
    device loaded(converted(image));
    ASSERT_EQ(loaded.load(), VELM_OK);
    ASSERT_EQ(loaded.relocs.size(), 2U);
    EXPECT_EQ(loaded.relocs[0].reloc.place_bytes, 1022U);
    EXPECT_EQ(loaded.relocs[1].reloc.place_bytes, 2U);
    loaded.by_packet = true;
    loaded.memory.clear();
    EXPECT_EQ(loaded.load(), VELM_OUTSIDE);
    EXPECT_EQ(loaded.commits, 1) << "refused only after contents were written";
}

/// Fields of the worked example, in the little-endian module; the page docs/module-format.md shows where each lies.
struct damage {
    velm_status status;
    std::uint32_t fault;
    struct {
        std::size_t offset, width;
        std::uint32_t value;
    } fields[3];
    bool checked = true;  ///< velmdump check calls it an error, too
};

const damage repaired_damage[] = {
    {VELM_NOT_A_MODULE, 8, {{8, 4, 0x00010204}}},
    {VELM_BAD_HEADER, 0, {{0, 4, 35}}},
    {VELM_BAD_HEADER, 22, {{22, 2, 1}}},
    {VELM_BAD_HEADER, 24, {{24, 2, 1}}},
    {VELM_BAD_ENTRY, 30, {{30, 2, 3}}},
    {VELM_TOO_SHORT, 236, {{0, 4, 0xFFFFFFFC}}},
    {VELM_TOO_SHORT, 236, {{16, 2, 0xFFFF}}},
    {VELM_TOO_SHORT, 236, {{20, 2, 0xFFFF}}},
    {VELM_BAD_NAME, 0x5B, {{0x5B, 1, 'x'}}},
    {VELM_BAD_NAME, 0x5C, {{0x5C, 4, 36}}},
    {VELM_BAD_NAME, 0x94, {{0x94, 4, 0xFFFFFFFF}}},
    {VELM_BAD_NAME, 0xAC, {{0xAC, 4, 29}}},
    {VELM_BAD_SECTION, 0x60, {{0x6E, 2, 0x200}}},       // a copy section with an address
    {VELM_BAD_SECTION, 0x60, {{0x6E, 2, 0x223}}},       // a table with an address
    {VELM_BAD_SECTION, 0x68, {{0x68, 4, 13}}},          // no width makes 14 bytes of 13 units
    {VELM_BAD_SECTION, 0x68, {{0x68, 4, 0x80000007}}},  // 14 when doubled in 32 bits
    {VELM_BAD_SECTION, 0x6E, {{0x68, 4, 0}}},           // empty, with contents
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x270}}},       // an unknown flag
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x234}}},       // an unknown type
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x210}}},       // relocated packets without the flag for contents
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x232}}},       // uninitialised, with packets
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x233}}},       // a table that is relocated in place
    {VELM_BAD_SECTION, 0x6E, {{28, 2, 0x1101}}},        // relocated, although relocations were stripped
    {VELM_BAD_SECTION, 0x8A, {{0x8A, 2, 0x231}}},       // contents without packets
    {VELM_BAD_SYMBOL, 0x9C, {{0x9C, 2, 3}}},
    {VELM_BAD_PACKET, 0x70, {{0x70, 4, 0xBC}}},
    {VELM_BAD_PACKET, 0x8C, {{0x8C, 4, 4}}},  // an offset, but no packets
    {VELM_BAD_PACKET, 0xBC, {{0xBC, 4, 0}}},
    {VELM_TOO_SHORT, 236, {{0x74, 4, 2}}},
    {VELM_TOO_SHORT, 236, {{0xB8, 4, 3}}},
    {VELM_TOO_SHORT, 236, {{0xB8, 4, 0x15555556}}},  // 12 times this is 8 in 32 bits
    {VELM_TOO_SHORT, 236, {{0xBC, 4, 0xFFFFFFFF}}},
    {VELM_BAD_RELOCATION, 0xD4, {{0xDE, 2, 0x5000}}},
    {VELM_BAD_RELOCATION, 0xD4, {{0xDE, 2, 0x4000}, {0xDC, 2, 1}}},
    {VELM_BAD_RELOCATION, 0xD8, {{0xD8, 4, 3}}},
    {VELM_BAD_RELOCATION, 0xD8, {{0xDE, 2, 0x400D}, {0xD8, 4, 0x01000000}}},
    // Legal, but not for a loader.
    {VELM_OUTSIDE, 0xD4, {{0xD4, 4, 15}}, false},
    {VELM_OUTSIDE, 0xD4, {{0xD4, 4, 0xFFFFFFFF}}, false},
    {VELM_OUTSIDE, 0xD4, {{0xD4, 4, 11}, {0xDE, 2, 0x400F}, {0xD8, 4, 0x00200000}}, false},
};

/// The example that docs/module-format.md works out, little-endian.
bytes worked_example() {
    const temporary_directory room;
    const std::string examples = MODFORGE_SOURCE_DIR "/examples/";
    const run_result run = run_program(
        {MODFORGE_PROGRAM, "-e=" + examples + "blink.entries", "-o=" + room.file("m"), examples + "blink.out"});
    EXPECT_EQ(run.status, 0) << run.err;
    const bytes module = read_file(room.file("m"));
    return order_of(module) == byte_order::little ? module : byte_swapped(module);
}

TEST(Loader, RefusesWhatIsUnsound) {
    const temporary_directory room;
    const bytes sound = worked_example();
    ASSERT_EQ(sound.size(), 236U);
    for (const damage& d : repaired_damage) {
        SCOPED_TRACE("row " + std::to_string(&d - repaired_damage));
        bytes module = sound;
        for (const auto& field : d.fields)
            put_at(module, field.offset, field.width, field.value, byte_order::little);
        repair_sums(module);
        device loaded(module);
        EXPECT_EQ(velm_status_name(loaded.load()), std::string(velm_status_name(d.status)));
        EXPECT_EQ(loaded.opened.fault, d.fault);
        EXPECT_TRUE(loaded.relocs.empty());
        const run_result check = run_program({VELMDUMP_PROGRAM, "check", room.write("m.vlm", module)});
        EXPECT_EQ(check.status, d.checked ? 1 : 0) << check.out;
    }
}

TEST(Loader, EverySumIsChecked) {
    const std::map<std::size_t, std::uint32_t> sum_over = {{4, 32},    {36, 52},    {60, 44},   {0x60, 40},
                                                           {0x98, 48}, {0xC4, 192}, {0xD4, 192}};
    for (const bytes& sound : {worked_example(), byte_swapped(worked_example())}) {
        for (const auto& [place, sum] : sum_over) {
            device loaded(sound);
            loaded.module[place] ^= 0x10;
            EXPECT_EQ(loaded.load(), VELM_BAD_SUM) << place;
            EXPECT_EQ(loaded.opened.fault, sum);
        }
    }
}

TEST(Loader, EndsWhereTheModuleEnds) {
    const bytes sound = worked_example();
    for (std::size_t kept = 0; kept < sound.size(); ++kept)
        EXPECT_NE(device(bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(kept))).load(), VELM_OK);
    device loaded(sound);
    loaded.module.resize(300, 0xFF);
    EXPECT_EQ(loaded.load(), VELM_OK);
    EXPECT_EQ(loaded.opened.length, 236U);
}

// What the target has a say in.
TEST(Loader, StopsWhereTheTargetSaysSo) {
    const std::pair<const char*, velm_status> steps[] = {{"resolve", VELM_UNRESOLVED}, {"place", VELM_NOT_PLACED},
                                                         {"write", VELM_NOT_WRITTEN},  {"relocate", VELM_NOT_RELOCATED},
                                                         {"commit", VELM_NOT_WRITTEN}, {"offer", VELM_NOT_EXPORTED}};
    for (const auto& [step, status] : steps) {
        device loaded(worked_example());
        loaded.refuse = step;
        EXPECT_EQ(loaded.load(), status) << step;
    }
    device other(worked_example());
    other.target_id = 0x98;
    EXPECT_EQ(other.load(), VELM_WRONG_TARGET);
    device small(worked_example());
    small.room_for_sections = 1;
    EXPECT_EQ(small.load(), VELM_TOO_MANY_SECTIONS);
    device without(worked_example());
    without.refuse = "contents";
    EXPECT_EQ(without.load(), VELM_OK);
    EXPECT_TRUE(without.relocs.empty());
    EXPECT_EQ(without.memory[".text"], bytes(14));
}

TEST(Loader, MovesNoProgramWithoutRelocations) {
    coff_image image = blink_image();
    image.flags |= 1;
    image.sections[0].relocs.clear();
    device loaded(converted(image));
    EXPECT_EQ(loaded.load(), VELM_OK);
    loaded.move = [](const velm_section&) { return 4U; };
    EXPECT_EQ(loaded.load(), VELM_NOT_MOVABLE);
}

TEST(Loader, EntryPoints) {
    struct {
        std::uint32_t section, point;
        velm_entry expected;
    } const rows[] = {{0, 0, {0, 0, 0, 0}},
                      {1, 12, {1, 0, 1, 0x110C}},
                      {2, 0, {1, 0, 2, 0x2100}},
                      {0xFFFF, 0x5000, {1, 1, 0xFFFF, 0x5000}},
                      {0xFFFF, 0xFFFFFFFF, {0, 1, 0xFFFF, 0}}};
    for (const auto& row : rows) {
        bytes module = worked_example();
        put_at(module, 30, 2, row.section, byte_order::little);
        put_at(module, 4, 4, row.point, byte_order::little);
        repair_sums(module);
        device loaded(module);
        loaded.move = [](const velm_section&) { return 0x100U; };
        ASSERT_EQ(loaded.load(), VELM_OK);
        EXPECT_EQ(loaded.entry.present, row.expected.present);
        EXPECT_EQ(loaded.entry.absolute, row.expected.absolute);
        EXPECT_EQ(loaded.entry.section, row.expected.section);
        EXPECT_EQ(loaded.entry.address, row.expected.address);
    }
}

}  // namespace

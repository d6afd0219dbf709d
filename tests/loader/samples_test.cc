// The samples arrive whole, wherever their sections go: compared with the linked programs, which are read without the
// product.
#include "loader/device.h"
#include "tools/second_opinion/coff_input.h"

namespace {

using namespace loader;

const std::string samples = MODFORGE_SAMPLES;
constexpr std::uint32_t import_address = 0xF0000010;

/// A linked program, read without the product, as the loader must see it.
class program {
public:
    explicit program(const std::string& path) : data_(read_file(path)), input_(data_) {
        for (const second_opinion::symbol& s : input_.symbols)
            symbols_.emplace(s.index, s);
    }

    [[nodiscard]] const second_opinion::coff_input& input() const { return input_; }
    [[nodiscard]] bytes contents(const second_opinion::section& s) const {
        const auto start = data_.begin() + s.scnptr;
        return s.scnptr != 0 ? bytes(start, start + s.byte_size()) : bytes();
    }
    [[nodiscard]] const second_opinion::symbol& symbol(std::uint32_t index) const { return symbols_.at(index); }
    [[nodiscard]] const second_opinion::section* section_of(const second_opinion::symbol& s) const {
        return s.scnum > 0 ? &input_.sections.at(static_cast<std::size_t>(s.scnum) - 1) : nullptr;
    }
    [[nodiscard]] byte_order order() const {
        return (input_.flags & 0x200) != 0 ? byte_order::big : byte_order::little;
    }

private:
    bytes data_;
    second_opinion::coff_input input_;
    std::map<std::uint32_t, second_opinion::symbol> symbols_;
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

    /// How far the symbols of a section went; those of sections that hold no place in memory stay.
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
        ASSERT_EQ(o.reloc.new_place - o.reloc.linked_place, moved_ ? distance(name_of(s)) : 0);
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
    const bytes module = converted({path});
    second_opinion::symbol entry;
    for (const second_opinion::symbol& s : linked.input().symbols) {
        if (s.name == "__DLStart")
            entry = s;
    }
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
            EXPECT_EQ(loaded.entry.address, entry.value + compared.shift(*linked.section_of(entry)));
            for (const second_opinion::symbol& s : linked.input().symbols) {
                if (loaded.exports.contains(name_of(s)) && s.sclass == 2 && s.scnum > 0) {
                    EXPECT_EQ(loaded.exports.at(name_of(s)), s.value + compared.shift(*linked.section_of(s))) << s.name;
                }
            }
        }
    }
}

}  // namespace

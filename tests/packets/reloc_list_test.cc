// Where packets end. Records are written as byte offset from the section's start and length of the field in bytes.
#include "format/reloc_types.h"
#include "packets/reloc_list.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using ::testing::ElementsAre;

struct placed {
    std::int32_t offset;  ///< bytes
    std::uint8_t bytes;
};

/// A section made of relocations only.
class section {
public:
    section(std::uint32_t vaddr, std::uint16_t width, const std::vector<placed>& fields) {
        hdr_.vaddr = vaddr;
        hdr_.wordsz = width;
        for (const placed& field : fields)
            records_.push_back(record_at(vaddr + static_cast<std::uint32_t>(field.offset) / (width / 8U), field.bytes));
        hdr_.relocs = {static_cast<std::uint32_t>(records_.size()), 0, records_.data()};
    }

    /// The packet that starts at byte `start`, proposed with `size` bytes: returns its length.
    std::int32_t packet(std::int32_t start, std::int32_t size) {
        const std::uint32_t first = cursor();
        const std::int32_t count = build_reloc_list(&hdr_, start, &size);
        offsets_.clear();
        for (std::uint32_t i = first; i < cursor(); ++i)
            offsets_.push_back(records_[i].r_vaddr);
        EXPECT_EQ(static_cast<std::size_t>(count), offsets_.size());
        return size;
    }

    /// Offsets, in address units, of the records in the last packet.
    const std::vector<std::uint32_t>& offsets() const { return offsets_; }
    std::uint32_t cursor() const { return hdr_.relocs.reloc_start; }
    bool field_passes_packet() const { return hdr_.field_passes_packet; }

private:
    static reloc_record record_at(std::uint32_t vaddr, std::uint8_t bytes) {
        reloc_record record{};
        record.r_vaddr = vaddr;
        record.r_type = RE_USTFLD;
        record.r_field.r_wordsz = static_cast<std::uint8_t>(bytes * 8);
        return record;
    }

    velm_scnhdr hdr_{};
    std::vector<reloc_record> records_;
    std::vector<std::uint32_t> offsets_;
};

/// One packet: what is proposed, and what is expected.
struct packet {
    std::int32_t start, size;
    std::int32_t length;
    std::vector<std::uint32_t> offsets;
    bool field_passes = false;
};

TEST(RelocList, PacketsEndWhereTheirFieldsAllow) {
    const struct {
        const char* what;
        std::uint16_t width;
        std::vector<placed> fields;
        std::vector<packet> packets;
    } table[] = {
        // At an even cut the field goes to the next packet.
        {"the field ends with the packet", 8, {{1020, 4}}, {{0, 1024, 1024, {1020}}}},
        {"one byte more", 8, {{8, 4}, {1022, 4}}, {{0, 1024, 1022, {8}}, {1022, 1024, 1024, {0}}}},
        // The pushes of an expression have no extent: they stay, at the very end of the packet.
        {"a group is split", 8, {{12, 0}, {12, 0}, {12, 8}}, {{0, 16, 12, {12, 12}}, {12, 16, 16, {0}}}},
        // An odd cut goes back one byte more and looks again.
        {"the field before stays", 8, {{3, 1}, {13, 4}}, {{0, 16, 12, {3}}, {12, 16, 16, {1}}}},
        {"a whole group moves on", 8, {{13, 0}, {13, 0}, {13, 4}}, {{0, 16, 12, {}}, {12, 16, 16, {1, 1, 1}}}},
        {"one cut causes the next", 8, {{5, 4}, {9, 4}, {13, 4}}, {{0, 16, 4, {}}, {4, 16, 16, {1, 5, 9}}}},
        {"the field before is cut", 8, {{2, 2}, {10, 3}, {13, 4}}, {{0, 16, 10, {2}}, {10, 16, 16, {0, 3}}}},
        {"a group before a group", 8, {{3, 0}, {3, 1}, {13, 0}, {13, 4}}, {{0, 16, 12, {3, 3}}, {12, 16, 16, {1, 1}}}},
        // Offsets are in address units.
        {"16 bits", 16, {{0, 2}, {6, 4}, {14, 4}}, {{0, 16, 14, {0, 3}}}},
        {"32 bits", 32, {{4, 4}, {12, 4}}, {{0, 16, 16, {1, 3}}}},
        // What lies behind the packet is not looked at; what lies below it is taken, as it comes.
        {"out of order", 8, {{20, 1}, {4, 1}}, {{0, 16, 16, {}}, {16, 16, 16, {4, 0xFFFFFFF4U}}}},
        {"a late cut inside the field before", 8, {{10, 4}, {6, 16}}, {{0, 16, 6, {10}, true}}},
        // No packet is left, which the caller reports.
        {"the lowest offset, whose predecessor wraps", 8, {{INT32_MIN, 0}}, {{0, 16, INT32_MIN, {}}}},
        {"too long a field at the start", 8, {{0, 8}}, {{0, 4, 0, {}}}},
        {"too long a field behind it", 8, {{1, 8}}, {{0, 4, 0, {}}}},
    };
    for (const std::uint32_t vaddr : {0U, 0x1001U, 0x7FFFFFF8U, 0x80000000U, 0xFFFFFFF8U}) {
        for (const auto& c : table) {
            section cut(vaddr, c.width, c.fields);
            for (const packet& p : c.packets) {
                EXPECT_EQ(cut.packet(p.start, p.size), p.length) << c.what << " at " << vaddr;
                EXPECT_EQ(cut.offsets(), p.offsets) << c.what << " at " << vaddr;
                EXPECT_EQ(cut.field_passes_packet(), p.field_passes) << c.what << " at " << vaddr;
            }
        }
    }
}

// A translated record holds an offset. Here that of the second (7) equals the address to which the second packet goes
// back.
TEST(RelocList, TranslatedRecordsAreNotReadAgain) {
    section wrapping(0xFFFFFFF0U, 8, {{1, 1}, {7, 1}, {23, 4}, {31, 4}});
    EXPECT_EQ(wrapping.packet(0, 18), 18);
    EXPECT_THAT(wrapping.offsets(), ElementsAre(1U, 7U));
    EXPECT_EQ(wrapping.packet(18, 16), 12);
    EXPECT_THAT(wrapping.offsets(), ElementsAre(5U));
    EXPECT_EQ(wrapping.cursor(), 3U);
}

TEST(RelocList, SymbolsBecomeModuleSymbols) {
    c2v_symbol_xtbl = {no_velm_symbol, 7};
    reloc_record word{};
    word.r_symndx = 1;
    word.r_type = R_RELLONG;
    xlate_reloc(&word, 6, 16);
    EXPECT_EQ(word.r_vaddr, 3U);
    EXPECT_EQ(word.r_symndx, 7U);

    reloc_record constant{};
    constant.r_symndx = 1;
    constant.r_type = RE_PUSHSK;
    xlate_reloc(&constant, 0, 8);
    EXPECT_EQ(constant.r_symndx, 1U);

    reloc_record dropped{};
    dropped.r_type = R_RELLONG;
    EXPECT_EXIT(xlate_reloc(&dropped, 0, 8), ::testing::ExitedWithCode(1), "^$");
    c2v_symbol_xtbl.clear();
}

TEST(RelocList, SwapsFourBytes) {
    std::uint32_t word = 0x01020384U;
    EXPECT_EQ(swap4(&word), 0x84030201U);
    EXPECT_EQ(word, 0x84030201U);
}

}  // namespace

// Where packets end. Records are written as byte offset from the section's start and length of the field in bytes.
#include "packets/reloc_list.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
        for (reloc_record& record : records_)
            pointers_.push_back(&record);
        hdr_.relocs = {static_cast<std::uint32_t>(records_.size()), 0, pointers_.data()};
    }

    /// The packet that starts at byte `start`, proposed with `size` bytes: returns its length.
    std::int32_t packet(std::int32_t start, std::int32_t size) {
        SLIST list;
        const std::int32_t count = build_reloc_list(&hdr_, start, &size, &list);
        offsets_.clear();
        for (const reloc_record* rec : items<reloc_record>(list))
            offsets_.push_back(rec->r_vaddr);
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
    std::vector<reloc_record*> pointers_;
    std::vector<std::uint32_t> offsets_;
};

// A field that ends with the packet stays; one byte more and the packet ends before it.
TEST(RelocList, EvenCutLeavesTheFieldToTheNextPacket) {
    section whole(0x1000, 8, {{1020, 4}});
    EXPECT_EQ(whole.packet(0, 1024), 1024);
    EXPECT_THAT(whole.offsets(), ElementsAre(1020U));

    section crossing(0x1000, 8, {{8, 4}, {1022, 4}});
    EXPECT_EQ(crossing.packet(0, 1024), 1022);
    EXPECT_THAT(crossing.offsets(), ElementsAre(8U));
    EXPECT_EQ(crossing.packet(1022, 1024), 1024);
    EXPECT_THAT(crossing.offsets(), ElementsAre(0U));
}

// The pushes of an expression have no extent: at an even cut they stay, at the very end of the packet.
TEST(RelocList, EvenCutSplitsAnAddressGroup) {
    section expression(0, 8, {{12, 0}, {12, 0}, {12, 8}});
    EXPECT_EQ(expression.packet(0, 16), 12);
    EXPECT_THAT(expression.offsets(), ElementsAre(12U, 12U));
    EXPECT_FALSE(expression.field_passes_packet());
    EXPECT_EQ(expression.packet(12, 16), 16);
    EXPECT_THAT(expression.offsets(), ElementsAre(0U));
}

struct odd_cut {
    const char* what;
    std::vector<placed> fields;
    std::int32_t length;
    std::vector<std::uint32_t> offsets;
    std::int32_t next_length;
    std::vector<std::uint32_t> next_offsets;
};

TEST(RelocList, OddCutGoesBackOneByteMoreAndLooksAgain) {
    const odd_cut table[] = {
        {"the field before stays", {{3, 1}, {13, 4}}, 12, {3}, 16, {1}},
        {"a whole group moves on", {{13, 0}, {13, 0}, {13, 4}}, 12, {}, 16, {1, 1, 1}},
        {"one cut causes the next", {{5, 4}, {9, 4}, {13, 4}}, 4, {}, 16, {1, 5, 9}},
        {"the field before loses its last byte", {{2, 2}, {10, 3}, {13, 4}}, 10, {2}, 16, {0, 3}},
        {"first of all", {{13, 4}}, 12, {}, 16, {1}},
        {"a group before a group", {{3, 0}, {3, 1}, {13, 0}, {13, 4}}, 12, {3, 3}, 16, {1, 1}},
    };
    for (const std::uint32_t vaddr : {0U, 0x1001U, 0x7FFFFFF8U, 0x80000000U, 0xFFFFFFF8U}) {
        for (const odd_cut& c : table) {
            section odd(vaddr, 8, c.fields);
            EXPECT_EQ(odd.packet(0, 16), c.length) << c.what;
            EXPECT_EQ(odd.offsets(), c.offsets) << c.what;
            EXPECT_EQ(odd.packet(c.length, 16), c.next_length) << c.what;
            EXPECT_EQ(odd.offsets(), c.next_offsets) << c.what;
            EXPECT_FALSE(odd.field_passes_packet()) << c.what;
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

TEST(RelocList, OffsetsAreInAddressUnits) {
    section sixteen(0x100, 16, {{0, 2}, {6, 4}, {14, 4}});
    EXPECT_EQ(sixteen.packet(0, 16), 14);
    EXPECT_THAT(sixteen.offsets(), ElementsAre(0U, 3U));
    section thirtytwo(0x100, 32, {{4, 4}, {12, 4}});
    EXPECT_EQ(thirtytwo.packet(0, 16), 16);
    EXPECT_THAT(thirtytwo.offsets(), ElementsAre(1U, 3U));
}

// No packet is left, which the caller reports.
TEST(RelocList, FieldAtTheStartLeavesNothing) {
    for (const std::int32_t offset : {0, 1}) {
        section stuck(0x1000, 8, {{offset, 8}});
        EXPECT_LE(stuck.packet(0, 4), 0) << offset;
        EXPECT_THAT(stuck.offsets(), IsEmpty());
    }
}

// What lies behind the packet is not looked at; what lies below it is taken, as it comes.
TEST(RelocList, RecordsOutOfOrder) {
    section behind(0x1000, 8, {{20, 1}, {4, 1}});
    EXPECT_EQ(behind.packet(0, 16), 16);
    EXPECT_THAT(behind.offsets(), IsEmpty());
    EXPECT_EQ(behind.packet(16, 16), 16);
    EXPECT_THAT(behind.offsets(), ElementsAre(4U, 0xFFFFFFF4U));

    section cut_late(0x1000, 8, {{10, 4}, {6, 16}});  // the second field ends the packet inside the first one
    EXPECT_EQ(cut_late.packet(0, 16), 6);
    EXPECT_THAT(cut_late.offsets(), ElementsAre(10U));
    EXPECT_TRUE(cut_late.field_passes_packet());
}

TEST(RelocList, SymbolsBecomeModuleSymbols) {
    velm_symbol symbol{};
    symbol.index = 7;
    c2v_symbol_xtbl = {nullptr, &symbol};
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

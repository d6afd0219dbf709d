// Listings show what is there, whatever is in the names, and of damaged files what they hold.
#include "coff/listing_text.h"
#include "coff_input.h"
#include "format/reloc_types.h"

namespace {

using namespace support;
using testing::HasSubstr;

/// What `dump` prints to the stream that it is given.
template <typename DUMP> std::string listing(DUMP dump) {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* const out = open_memstream(&text, &size);
    dump(out);
    std::fclose(out);
    const std::string result(text, size);
    std::free(text);
    return result;
}

coff_image awkward_image() {
    coff_image image;
    image.optional_header = coff_optional_header{.entrypt = 0x1234};
    image.sections = {{.name = "<&\">", .flags = 0x320, .contents = {0xDE, 0xAD}},
                      {.name = ".gone", .size = 0x1000, .scnptr = 0x7000000, .lnnoptr = 0x7000000, .nlnno = 3}};
    image.sections[0].relocs = {{.vaddr = 0, .type = 17, .symndx = 0},
                                {.vaddr = 1, .type = 0x400F, .descriptor = {{1, 2, 16, 0}}},
                                {.vaddr = 1, .type = 0x4012, .symndx = 0x55},
                                {.vaddr = 1, .type = 0x7777, .symndx = 4000},
                                {.vaddr = 7, .type = 0x4000, .symndx = 0}};
    image.sections[0].lines = {{0, 0}, {0, 9}};
    image.symbols = {{.name = "a_long\x01\xFF\\name", .type = 0x20, .aux = {aux_function(0, 2, 0, 9)}},
                     {.name = ".bf", .sclass = 101, .aux = {aux_bf(1, 1, 2, 3, 9)}},
                     {.name = "a.c", .scnum = -2, .sclass = 103, .aux = {aux_file("a<b.c")}},
                     {.name = "array", .scnum = 0, .type = 0x34, .aux = {aux_array(0, 8, {2, 3, 4, 5})}}};
    return image;
}

TEST(CoffListing, TextNamesEverything) {
    coff_input input(awkward_image());
    const std::string text = listing([&](std::FILE* out) { input.file.dump(out); });
    const std::string all =
        "target 0x0099|entry point 0x00001234|Section 1 <&\">|aligned to 8 units|(TEXT)|DE AD|"
        "R_RELLONG  0x0011  32 bits at bit 0 of 32  symbol 0 (a_long\\x01\\xFF\\\\name)|2 bits at bit 1 of 16|"
        "constant 0x00000055|symbol 4000 (none)\n|RE_ADD     0x4000\n|function 0 (a_long|line 9|contents are not in "
        "the file|"
        "line numbers are not in the file|C_FCN|register_mask 2|file a<b.c|dimension_3 5|(undefined)|String table|";
    for (std::size_t from = 0, to; (to = all.find('|', from)) != std::string::npos; from = to + 1)
        EXPECT_THAT(text, HasSubstr(all.substr(from, to - from)));
}

TEST(CoffListing, NoStringTableIsNoFault) {
    coff_input input(coff_image{.string_table = false});
    EXPECT_EQ(listing([&](std::FILE* out) { input.file.dump_strings(out); }), "No string table\n");
    EXPECT_EQ(listing([&](std::FILE* out) { input.file.dump_strings_xml(out); }), "<strings size=\"0\"/>\n");
}

TEST(CoffListing, SingleEntriesByNumber) {
    coff_input input(awkward_image());
    COFF_SECTION& section = input.section(1);
    const COFF_SYMBOL& array = input.symbol(6);
    const std::string text = listing([&](std::FILE* out) {
        section.dump_reloc(2, out);
        section.dump_linenos(1, out);
        array.dump_aux(&array, out);
    });
    EXPECT_THAT(text, testing::AllOf(HasSubstr("RE_PUSHSK  0x4012  constant 0x00000055\n"), HasSubstr("line 9\n"),
                                     HasSubstr("dimension_3 5")));
    const std::string xml = listing([&](std::FILE* out) {
        section.dump_reloc_xml(0, out);
        section.dump_reloc_xml(4, out);
        section.dump_linenos_xml(0, out);
        array.dump_aux_xml(&array, out);
    });
    EXPECT_THAT(xml, testing::AllOf(HasSubstr("symbol_name=\"a_long\\x01\\xFF"), HasSubstr("type_name=\"RE_ADD\"/>"),
                                    HasSubstr("function=\"0\""), HasSubstr("dimension_3=\"5\"")));
    EXPECT_THAT(listing([&](std::FILE* out) { input.file.dump_xml(out); }), HasSubstr(xml.substr(0, xml.find('\n'))));
    EXPECT_STREQ(section.reloc_name(-1), "other");
    EXPECT_ENDS(section.dump_reloc(5, stdout), "there is no relocation 5");
    EXPECT_ENDS(section.dump_linenos(2, stdout), "COFF_SECTION::dump_linenos");
    EXPECT_ENDS(section.dump_reloc_xml(-1, stdout), "there is no relocation -1");
    EXPECT_ENDS(section.dump_linenos_xml(-1, stdout), "COFF_SECTION::dump_linenos_xml");
}

}  // namespace

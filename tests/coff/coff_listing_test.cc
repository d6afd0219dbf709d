// Listings show what is there, whatever is in the names, and of damaged files what they hold.
#include <numeric>

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

/// Every field has bytes of its own, so that a swapped, shifted or narrowed one shows.
coff_image awkward_image(byte_order order) {
    coff_image image{.order = order, .flags = 0x3103};
    image.optional_header =
        coff_optional_header{0x8108, 0xFFFE, 0x01020304, 0x05060708, 0x090A0B0C, 0x80818283, 0x11121314, 0x15161718};
    image.sections = {{.name = "<&\">",
                       .flags = 0x2C320,
                       .paddr = 0x81828384,
                       .vaddr = 0x01020304,
                       .contents = bytes(34),
                       .page = 0x0102},
                      {.name = ".gone", .size = 0x1000, .scnptr = 0x7000000, .lnnoptr = 0x7000000, .nlnno = 3}};
    std::iota(image.sections[0].contents.begin(), image.sections[0].contents.end(), std::uint8_t{0});
    image.sections[0].relocs = {{.vaddr = 0x80000001, .type = 17, .symndx = 0, .disp = 0x102},
                                {.vaddr = 1, .type = 0x400F, .descriptor = {{1, 2, 16, 0}}},
                                {.vaddr = 1, .type = 0x4012, .symndx = 0x55},
                                {.vaddr = 1, .type = 0x7777, .symndx = 4000},
                                {.vaddr = 7, .type = 0x4000, .symndx = 0}};
    image.sections[0].lines = {{0, 0}, {0x11223344, 0x5566}};
    image.symbols = {{.name = "a_long\x01\xFF\\name", .type = 0x20, .aux = {aux_function(0, 2, 0, 9)}},
                     {.name = ".bf", .sclass = 101, .aux = {aux_bf(1, 2, 3, 4, 9)}},
                     {.name = "a.c", .scnum = -2, .sclass = 103, .aux = {aux_file("a<b.c")}},
                     {.name = "array", .scnum = 0, .type = 0x34, .aux = {aux_array(0, 8, {2, 3, 4, 5})}},
                     {.name = "tag", .scnum = -1, .sclass = 10, .aux = {aux_tag(4, 10)}},
                     {.name = "1234567\x7F", .sclass = 3, .aux = {aux_section(33, 5, 2)}},
                     {.name = ".eos", .sclass = 102, .aux = {aux_end_of_tag(8, 4)}},
                     {.name = ".bb", .value = 0x80000000, .sclass = 100, .aux = {aux_block(13, 16)}},
                     {.name = ".ef", .sclass = 101, .aux = {aux_block(0x1234, 18)}},
                     {.name = "union", .sclass = 12, .type = 0x30, .aux = {aux_tag(0x12345678, 20)}},
                     {.name = "enum", .sclass = 15, .type = 0x20, .aux = {aux_tag(4, 0x12345678)}},
                     {.name = "type", .sclass = 13, .type = 0x24, .aux = {aux_other(0x12345678, 4)}},
                     {.name = "a_variable", .type = 4, .aux = {aux_other(4, 0x12345678)}},
                     {.name = "last", .value = 0x01020304, .scnum = -2, .sclass = 0xC8, .type = 0x0102}};
    return image;
}

MODFORGE_SUITE_IN_BOTH_ORDERS(CoffListing);

TEST_P(CoffListing, TextNamesEverything) {
    coff_input input(awkward_image(GetParam()));
    const std::string text = listing([&](std::FILE* out) { input.file.dump(out); });
    const std::string all =
        "target 0x0099|entry point 0x80818283\n    .text 16909060 bytes at 0x11121314, .data 84281096 bytes at "
        "0x15161718, .bss 151653132 bytes|"
        "Section 1 <&\">\n  run address 0x81828384, load address 0x01020304, size 34 units of 8 bits (34 bytes), page "
        "258|"
        "aligned to 8 units|(TEXT, CLINK, VECTOR, ICODE)|0E 0F\n    00000010  10|"
        "R_RELLONG  0x0011  32 bits at bit 0 of 32  symbol 0 (a_long\\x01\\xFF\\\\name)  displacement 0x0102\n|"
        "2 bits at bit 1 of 16|constant 0x00000055\n|symbol 4000 (none)\n|RE_ADD     0x4000\n|function 0 (a_long|line "
        "21862|"
        "contents are not in the file|line numbers are not in the file|C_FCN|\n             register_mask 3|file "
        "a<b.c|dimension_3 5|"
        "(undefined)|String table, 29 bytes\n         4  a_long\\x01\\xFF\\\\name\n        18  a_variable\n|";
    for (std::size_t from = 0, to; (to = all.find('|', from)) != std::string::npos; from = to + 1)
        EXPECT_THAT(text, HasSubstr(all.substr(from, to - from)));
}

// Line by line as it was worked out from the image; the function's line pointer is that of the lines.
constexpr const char* all_as_xml =
    R"(<coff_file name="the specified file" version="0x00C2" target="0x0099" time_stamp="0x12345678"
  flags="0x3103" flag_names="RELFLG EXEC LITTLE SYMMERGE ICODE" sections="2" symbol_entries="27">
<optional_header size="28" magic="0x8108" version="-2" entry_point="0x80818283"
  text_size="16909060" data_size="84281096" bss_size="151653132" text_start="0x11121314" data_start="0x15161718"/>
<section number="1" name="&lt;&amp;&quot;&gt;" run_address="0x81828384" load_address="0x01020304"
  size="34" unit_bits="8" bytes="34" page="258" flags="0x0002C320" flag_names="TEXT, CLINK, VECTOR, ICODE">
<contents>
000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F
2021
</contents>
<relocation address="0x80000001" type="0x0011" type_name="R_RELLONG" bit_offset="0" field_bits="32" container_bits="32" symbol="0" symbol_name="a_long\x01\xFF\\name" displacement="0x0102"/>
<relocation address="0x00000001" type="0x400F" type_name="RE_USTFLD" bit_offset="1" field_bits="2" container_bits="16"/>
<relocation address="0x00000001" type="0x4012" type_name="RE_PUSHSK" constant="0x00000055"/>
<relocation address="0x00000001" type="0x7777" type_name="type 30583" symbol="4000"/>
<relocation address="0x00000007" type="0x4000" type_name="RE_ADD"/>
<line function="0" number="0"/>
<line address="0x11223344" number="21862"/>
</section>
<section number="2" name=".gone" run_address="0x00000000" load_address="0x00000000"
  size="4096" unit_bits="8" bytes="4096" page="0" flags="0x00000020" flag_names="TEXT">
</section>
<symbols entries="27">
<symbol index="0" name="a_long\x01\xFF\\name" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0020" class="2" class_name="C_EXT"><auxiliary tag="0" size="2" line_pointer="240" next="9"/></symbol>
<symbol index="2" name=".bf" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0000" class="101" class_name="C_FCN"><auxiliary register_mask="3" line="1" lines="2" frame_size="4" next="9"/></symbol>
<symbol index="4" name="a.c" value="0x00000000" section="-2" section_name="none" type="0x0000" class="103" class_name="C_FILE"><auxiliary file="a&lt;b.c"/></symbol>
<symbol index="6" name="array" value="0x00000000" section="0" section_name="undefined" type="0x0034" class="2" class_name="C_EXT"><auxiliary tag="0" size="8" dimension_0="2" dimension_1="3" dimension_2="4" dimension_3="5"/></symbol>
<symbol index="8" name="tag" value="0x00000000" section="-1" section_name="absolute" type="0x0000" class="10" class_name="C_STRTAG"><auxiliary size="4" next="10"/></symbol>
<symbol index="10" name="1234567\x7F" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0000" class="3" class_name="C_STAT"><auxiliary length="33" relocations="5" line_numbers="2"/></symbol>
<symbol index="12" name=".eos" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0000" class="102" class_name="C_EOS"><auxiliary tag="8" size="4"/></symbol>
<symbol index="14" name=".bb" value="0x80000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0000" class="100" class_name="C_BLOCK"><auxiliary line="13" next="16"/></symbol>
<symbol index="16" name=".ef" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0000" class="101" class_name="C_FCN"><auxiliary line="4660" next="18"/></symbol>
<symbol index="18" name="union" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0030" class="12" class_name="C_UNTAG"><auxiliary size="305419896" next="20"/></symbol>
<symbol index="20" name="enum" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0020" class="15" class_name="C_ENTAG"><auxiliary size="4" next="305419896"/></symbol>
<symbol index="22" name="type" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0024" class="13" class_name="C_TPDEF"><auxiliary tag="305419896" size="4"/></symbol>
<symbol index="24" name="a_variable" value="0x00000000" section="1" section_name="&lt;&amp;&quot;&gt;" type="0x0004" class="2" class_name="C_EXT"><auxiliary tag="4" size="305419896"/></symbol>
<symbol index="26" name="last" value="0x01020304" section="-2" section_name="none" type="0x0102" class="-56" class_name="INVALID STORAGE CLASS"></symbol>
</symbols>
<strings size="29">
<string offset="4">a_long\x01\xFF\\name</string>
<string offset="18">a_variable</string>
</strings>
</coff_file>
)";

TEST_P(CoffListing, XmlHasAllFacts) {
    coff_input input(awkward_image(GetParam()));
    EXPECT_EQ(listing([&](std::FILE* out) { input.file.dump_xml(out); }), all_as_xml);
}

// Whether a section was read already does not show; what overlaps too far is named and kept out.
TEST_P(CoffListing, SectionsInMemoryAndKeptOut) {
    coff_input input(awkward_image(GetParam()));
    COFF_SECTION& section = input.section(1);
    ASSERT_NE(section.raw_data(), nullptr);
    ASSERT_NE(section.lnno(1), nullptr);
    EXPECT_EQ(listing([&](std::FILE* out) { input.file.dump_xml(out); }), all_as_xml);
    section.unlist_contents();
    section.unlist_lines();
    const std::string text = listing([&](std::FILE* out) { section.dump(out); });
    EXPECT_THAT(text, HasSubstr("  contents overlap those of other sections\n"));
    EXPECT_THAT(text, HasSubstr("  line numbers overlap those of other sections\n"));
    const std::string xml = listing([&](std::FILE* out) { section.dump_xml(out); });
    EXPECT_EQ(xml.find("<contents>"), std::string::npos);
    EXPECT_EQ(xml.find("<line "), std::string::npos);
}

TEST(CoffListings, NoStringTableIsNoFault) {
    coff_input input(coff_image{.opthdr = 20, .string_table = false});
    EXPECT_EQ(listing([&](std::FILE* out) { input.file.dump_strings(out); }), "No string table\n");
    EXPECT_EQ(listing([&](std::FILE* out) { input.file.dump_strings_xml(out); }), "<strings size=\"0\"/>\n");
    EXPECT_THAT(listing([&](std::FILE* out) { input.file.dump_xml(out); }), HasSubstr("size=\"20\" magic=\"0x0000\""));
}

// Emptied nodes are no entries.
TEST(CoffListings, SingleEntriesByNumber) {
    coff_input input(awkward_image(byte_order::little));
    COFF_SECTION& section = input.section(1);
    const COFF_SYMBOL& array = input.symbol(6);
    section.first_reloc()->set_data(nullptr);
    const std::string all = listing([&](std::FILE* out) { input.file.dump(out); }) + all_as_xml;
    const std::pair<std::string, const char*> entries[] = {
        {listing([&](std::FILE* out) { section.dump_reloc(1, out); }), "constant 0x00000055\n"},
        {listing([&](std::FILE* out) { section.dump_linenos(1, out); }), "line 21862\n"},
        {listing([&](std::FILE* out) { array.dump_aux(&array, out); }), "dimension_3 5\n"},
        {listing([&](std::FILE* out) { section.dump_reloc_xml(1, out); }), "constant=\"0x00000055\"/>\n"},
        {listing([&](std::FILE* out) { section.dump_linenos_xml(1, out); }), "number=\"21862\"/>\n"},
        {listing([&](std::FILE* out) { array.dump_aux_xml(&array, out); }), "dimension_3=\"5\"/>"}};
    for (const auto& [entry, end] : entries)
        EXPECT_TRUE(entry.ends_with(end) && all.find(entry) != std::string::npos) << entry;
    EXPECT_STREQ(section.reloc_name(-1), "other");
    EXPECT_ENDS(section.dump_reloc(4, stdout), "there is no relocation 4");
    EXPECT_ENDS(section.dump_linenos(2, stdout), "COFF_SECTION::dump_linenos");
    EXPECT_ENDS(section.dump_reloc_xml(-1, stdout), "there is no relocation -1");
    EXPECT_ENDS(section.dump_linenos_xml(-1, stdout), "COFF_SECTION::dump_linenos_xml");
}

// Between two characters of the name, however many characters stand for one.
TEST(BriefNames, AreCutWhereTheyTakeMoreThanTheyMay) {
    const struct {
        std::string shown, expected;
    } rows[] = {{brief("", 6), "\"\""},
                {brief("abcdef", 6), "abcdef"},
                {brief("abcdefg", 6), "abcdef... (7 bytes)"},
                {brief("ab\xFF", 6), "ab\\xFF"},
                {brief("abc\xFF\xFF", 6), "abc... (5 bytes)"},
                {brief("abcde\\", 6), "abcde... (6 bytes)"},
                {brief("abcd\\e", 6), "abcd\\\\... (6 bytes)"},
                {brief("\xFF", 3), "... (1 byte)"},
                {brief_xml("a<b", 6), "a&lt;b"},
                {brief_xml("a<b>", 6), "a&lt;b... (4 bytes)"},
                {brief_xml("a&&", 6), "a&amp;... (3 bytes)"},
                {brief_xml("\xFF\"", 9), "\\xFF... (2 bytes)"}};
    for (const auto& [shown, expected] : rows)
        EXPECT_EQ(shown, expected);
}

}  // namespace

// Inputs that cannot be converted, one fault each with its message as docs/messages.md has it, and oddities next to them
// that must not be taken for faults.
#include "cases/messages_page.h"
#include "cases/run_modforge.h"

#include <algorithm>
#include <functional>

#include <gtest/gtest.h>

using namespace cases;
using second_opinion::conversion_request;
using support::built_image;
using support::bytes;
using support::coff_image;

namespace {

using image_change = std::function<void(coff_image&)>;
using byte_change = std::function<void(built_image&)>;

/// small_image() with a name in the string table, changed before and after it is built.
conversion_request changed(const image_change& before, const byte_change& after = nullptr) {
    coff_image image = small_image();
    image.sections[0].lines = {{0x1000, 1}};
    image.symbols.push_back(
        {.name = "_long_name_of_a_function", .type = 0x20, .aux = {support::aux_function(0, 8, 0, 5)}});
    if (before)
        before(image);
    built_image built = image.build();
    if (after)
        after(built);
    return {.input = built.data};
}

void cut(built_image& built, std::size_t length) {
    built.data.resize(length);
}

// Messages of several faults.
const char* const headers_message = ">>   error: Failed to read file and/or section headers";
const char* const version_message = ">> fatal error: this application only supports COFF version 2";
const char* const target_message = "Invalid target type";
const char* const symbols_message = ">> fatal error: failed to read symbol table";
const char* const auxiliary_message = ">> fatal error: failed to read auxiliary entry";
const char* const translation_message = "Internal Error in translating symbols";

const struct {
    const char* what;
    std::string message;  ///< a whole line, or a row of the page
    image_change before;
    byte_change after = nullptr;
    bool symbols_only_converts = false;
} faults[] = {
    {"empty file", headers_message, nullptr, [](auto& b) { cut(b, 0); }},
    {"short file header", headers_message, nullptr, [](auto& b) { cut(b, 21); }},
    {"short section header", headers_message, nullptr, [](auto& b) { cut(b, b.section_headers[1] + 47); }},
    {"more sections than the file holds", headers_message, [](auto& i) { i.nscns = 0xFFFF; }},
    {"version 1", version_message, [](auto& i) { i.magic = 0x00C1; }},
    {"version 2 in both halves", version_message, [](auto& i) { i.magic = 0xC2C2; }},
    {"unknown target", target_message, [](auto& i) { i.target_id = 0x96; }},
    {"no target", target_message, [](auto& i) { i.target_id = 0; }},
    {"short symbol entry", symbols_message, nullptr, [](auto& b) { cut(b, b.symbols[2] + 17); }},
    {"short auxiliary entry", auxiliary_message, nullptr, [](auto& b) { cut(b, b.symbols[3] + 18 + 17); }},
    {"more symbols than the file holds", auxiliary_message, [](auto& i) { i.nsyms = 0x0FFFFFFF; }},
    {"symbol pointer past the end", symbols_message, [](auto& i) { i.symptr = 0xFFFFFFFE; }},
    {"no string table", ">> fatal error: app.out: the file ends before its string table", nullptr,
     [](auto& b) { cut(b, b.string_table); }},
    {"short string table", ">> fatal error: app.out: the string table runs past the end of the file", nullptr,
     [](auto& b) { cut(b, b.data.size() - 1); }},
    {"length word of 3", ">> fatal error: app.out: the length of the string table is below 4",
     [](auto& i) { i.string_table_length = 3; }},
    {"string without an end", ">> fatal error: app.out: no string at offset 4 of the string table (10 bytes)",
     [](auto& i) { i.string_table_length = 10; }},
    {"name in the length word", ">> fatal error: app.out: no string at offset 3 of the string table (29 bytes)",
     [](auto& i) { i.symbols[0].name_offset = 3; }},
    {"name at the table's end", ">> fatal error: app.out: no string at offset 29 of the string table (29 bytes)",
     [](auto& i) { i.symbols[0].name_offset = 29; }},
    {"name far away", ">> fatal error: app.out: no string at offset 4294967295 of the string table (29 bytes)",
     [](auto& i) { i.sections[1].name_offset = 0xFFFFFFFF; }},
    {"relocations past the end",
     ">>   error: app.out: 1 relocations of section .text at offset 4294967280 run past the end of the file",
     [](auto& i) { i.sections[0].relptr = 0xFFFFFFF0; }},
    {"too many relocations",
     ">>   error: app.out: 357913942 relocations of section .data at offset 0 run past the end of the file",
     [](auto& i) { i.sections[1].nreloc = 0x15555556; }},
    {"relocations of a dummy section",
     ">>   error: app.out: 1000 relocations of section .data at offset 0 run past the end of the file",
     [](auto& i) { i.sections[1].flags = 1, i.sections[1].nreloc = 1000; }},
    {"relocation to no such symbol", "ERROR: sym_refd array out of bounds",
     [](auto& i) { i.sections[0].relocs[0].symndx = 5; }},
    {"relocation to an auxiliary entry", translation_message, [](auto& i) { i.sections[0].relocs[0].symndx = 4; },
     nullptr, true},
    {"relocation to a dropped class", translation_message, [](auto& i) { i.symbols[2].sclass = 8; }, nullptr, true},
    {"symbol in no such section", "ERROR: scn_refd array out of bounds", [](auto& i) { i.symbols[1].scnum = 3; }},
    {"start in no such section", "ERROR: Symbol _DLStart lies in section 9, but there are only 2",
     [](auto& i) { i.symbols[0] = {.name = "__DLStart", .scnum = 9, .sclass = 8}; }, nullptr, true},
    {"start undefined", "ERROR: Symbol _DLStart is undefined. Improper linkage for entry point",
     [](auto& i) { i.symbols[0] = {.name = "__DLStart", .scnum = 0}; }, nullptr, true},
    {"contents past the end",
     ">> fatal error: app.out: 4 bytes of section .data at offset 16777216 run past the end of the file",
     [](auto& i) { i.sections[1].scnptr = 0x01000000; }, nullptr, true},
    {"contents of 2 GiB", "ERROR: Section .data: contents of 2147483648 bytes are too large",
     [](auto& i) { i.sections[1].size = 0x80000000; }, nullptr, true},
    {"byte size that wraps", "ERROR: Section .data: contents of 4294967300 bytes are too large",
     [](auto& i) { i.sections[1].mwidth = 32, i.sections[1].size = 0x40000001; }, nullptr, true},
    {"units of 12 bits", "ERROR: Section .data: a memory width of 12 bits is not supported",
     [](auto& i) { i.sections[1].mwidth = 12; }, nullptr, true},
    {"name of 65,535 characters",
     "ERROR: A name of the module has more than 65534 characters: " + std::string(60, 'n') + "...",
     [](auto& i) { i.symbols[0].name = std::string(65535, 'n'); }},
};

// Faults of tables as a whole.
const std::string whole_messages[] = {
    ">>   error: app.out: 24000000 bytes of relocations in a file of N bytes",
    "ERROR: Section s: the contents of the sections are out of proportion to the input",
    "ERROR: The names of the module are out of proportion to the input",
    "ERROR: The module would have more than 65535 symbols",
    ">>   error: app.out: 32768 sections: a file may have 32767",
};

/// Refused with just this message.
void expect_message(const conversion_request& request, const std::string& message) {
    const std::string printed = expect_refusal(request, "");
    EXPECT_TRUE(says(printed, message)) << printed;
}

}  // namespace

std::set<std::string> cases::rows_of_refusals() {
    std::set<std::string> rows;
    const std::vector<std::string> page = page_rows();
    const auto add = [&](const std::string& message) {
        const auto row = std::find_if(page.begin(), page.end(), [&](auto& text) { return says(message, text); });
        EXPECT_NE(row, page.end()) << "not on the page: " << message;
        rows.insert(row == page.end() ? message : *row);
    };
    for (const auto& fault : faults)
        add(fault.message);
    std::for_each(std::begin(whole_messages), std::end(whole_messages), add);
    return rows;
}

TEST(Refusals, EachFaultHasItsMessage) {
    for (const auto& row : faults)
        for (const support::byte_order order : {support::byte_order::little, support::byte_order::big}) {
            SCOPED_TRACE(row.what);
            const auto in_order = [&](coff_image& image) {
                image.order = order;
                if (row.before)
                    row.before(image);
            };
            conversion_request request = changed(in_order, row.after);
            expect_message(request, row.message);
            request.symbols_only = true;
            if (row.symbols_only_converts)
                expect_conversion(request);
            else
                expect_message(request, row.message);
        }
}

// Those of a single field, the fuzz targets sweep.
TEST(Refusals, OdditiesThatConvert) {
    const std::pair<const char*, image_change> rows[] = {
        {"symbol pointer beside no symbols",
         [](auto& i) {
             i.symbols.clear(), i.sections[0].relocs.clear(), i.symptr = 0xFFFFFFFF, i.string_table = false;
         }},
        {"no sections, no symbols", [](auto& i) { i.sections.clear(), i.symbols.clear(), i.target_id = 0x1234; }},
        {"an optional header that the file lacks",
         [](auto& i) { i.sections.clear(), i.symbols.clear(), i.opthdr = 28, i.string_table = false; }},
        {"no string table and no need of one", [](auto& i) { i.symbols.pop_back(), i.string_table = false; }},
        {"a broken string table and no need of it", [](auto& i) { i.symbols.pop_back(), i.string_table_length = 1; }},
        {"eight zero bytes are the empty name",
         [](auto& i) { i.symbols.pop_back(), i.symbols[0].name = i.sections[0].name = "", i.string_table = false; }},
        {"the longest name", [](auto& i) { i.symbols[0].name = std::string(65534, 'n'); }},
        {"a count of two auxiliary entries is misread",
         [](auto& i) {
             i.symbols[0].aux = {support::aux_other(0, 0), {.text = "_misread"}}, i.sections[0].relocs[0].symndx = 4;
         }},
        {"the last symbol's auxiliary entry lies behind the table",
         [](auto& i) {
             i.symbols[2].naux = 1, i.nsyms = 3;
             i.symbols[3].name = "x";
             i.sections[0].relocs.clear();
         }},
        {"a function in no such section that nobody keeps",
         [](auto& i) { i.symbols[1] = {.name = "_f", .scnum = 77, .sclass = 1, .type = 0x20}; }},
        {"an odd width nobody needs",
         [](auto& i) { i.sections[1].mwidth = 12, i.sections[1].flags = 2, i.sections[1].scnptr = 0xFFFFFF00; }},
        {"uninitialised, huge, with a pointer",
         [](auto& i) { i.sections[1].flags = 0x80, i.sections[1].size = 0xFFFFFFFF; }},
    };
    for (const auto& [what, before] : rows)
        for (const bool symbols_only : {false, true}) {
            SCOPED_TRACE(what);
            conversion_request request = changed(before);
            request.symbols_only = symbols_only;
            expect_conversion(request);
        }
}

// Tables that overlap would let a small file ask for any amount of memory.
TEST(Refusals, OverlappingTablesAreBounded) {
    coff_image relocs, contents, names;
    relocs.sections.assign(100, {.name = "s", .size = 0, .relptr = 0, .nreloc = 20000});
    relocs.sections[0].contents = bytes(240000);
    contents.sections.assign(100, {.name = "s", .size = 300000, .scnptr = 4});
    contents.sections[0].contents = bytes(300000);
    names.symbols = {{.name = std::string(40000, 'n'), .scnum = -1}};
    for (std::uint32_t i = 1; i < 2000; ++i)
        names.symbols.push_back({.scnum = -1, .name_offset = 4 + i});
    expect_message(request_for(relocs), whole_messages[0]);
    expect_message(request_for(contents), whole_messages[1]);
    expect_message(request_for(names), whole_messages[2]);
}

TEST(Refusals, CountsThatTheModuleCannotHold) {
    coff_image image;
    image.symbols.assign(65535, {.name = "_s", .scnum = -1});
    expect_conversion(request_for(image));
    image.symbols.push_back(image.symbols[0]);
    expect_message(request_for(image), whole_messages[3]);
    image.symbols.clear();
    image.sections.assign(32767, {.name = "s", .size = 1});
    expect_conversion(request_for(image));
    image.sections.push_back(image.sections[0]);
    expect_message(request_for(image), whole_messages[4]);
}

// Wherever memory runs out in a whole conversion, the run ends with one line and status 1.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "allocation/failing_allocation.h"
#include "convert/entries_files.h"
#include "convert/options.h"
#include "convert/velm_file.h"
#include "driver/options.h"
#include "msg/allocation.h"
#include "output/velm_writer.h"
#include "packets/image_packets.h"
#include "support/coff_builder.h"
#include "support/run_program.h"

namespace {

/// Something for every table: contents, relocations, names of both kinds, an auxiliary entry, a section without data.
support::coff_image image_with_everything() {
    support::coff_image image;
    image.sections = {{.name = ".text:with_a_long_name",
                       .paddr = 0x1000,
                       .contents = support::bytes(600),  // the second field makes three packets of two
                       .relocs = {{.vaddr = 0x1004, .type = 17, .symndx = 3}, {.vaddr = 0x112A, .type = 17}}},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x2000, .size = 8},
                      {.name = ".cinit", .flags = 0x40, .paddr = 0x3000, .contents = {1, 2, 3, 4}}};
    image.symbols = {{.name = ".bss", .scnum = 2, .sclass = 3, .aux = {support::aux_section(8, 0, 0)}},
                     {.name = "_main_with_a_long_name", .value = 0x1000},
                     {.name = "_printf", .scnum = 0},
                     {.name = "__DLStart", .value = 0x1000}};
    return image;
}

/// The stages of a run, in their order.
void convert(std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    proc_args(static_cast<int>(argv.size()), argv.data());
    ASSERT_EQ(coff_file.read(filename_in, false), 0);
    setup_entries_lists();
    init_velm_file();
    build_velm();
    if (!filename_out)
        build_outfile_name();
    write_velm();
    cleanup_velm();
}

/// What the conversion says with its 1st, 2nd, 3rd ... allocation failing, each text once.
std::set<std::string> messages_of(const std::vector<std::string>& arguments, const std::string& output) {
    std::set<std::string> messages;
    for_every_failing_allocation(
        [&] {
            install_allocation_handler();
            convert(arguments);
        },
        [&](long nth, const child_result& result) {
            EXPECT_EQ(result.status, 1) << "allocation " << nth << ": " << result.err;
            EXPECT_THAT(result.err, testing::MatchesRegex("ERROR: Unable to allocate [^\n]+\n")) << nth;
            messages.insert(result.err);
        },
        [&](const child_result& result) {
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(result.err, "");
            EXPECT_TRUE(support::file_exists(output));
        });
    return messages;
}

std::string storage_for(const std::string& what) {
    return "ERROR: Unable to allocate storage for " + what + '\n';
}

TEST(Allocation, ConversionsRunOutOfMemoryCleanly) {
    const support::temporary_directory files;
    const std::string input = files.write("app.out", image_with_everything().data());
    const std::string entries = files.write("names", "_main_with_a_long_name ^_pr @.bss -@.none !.none # end");
    std::set<std::string> messages =
        messages_of({"modforge", "-e=" + entries, "-p=300", "-q", input}, files.file("app.vlm"));
    messages.merge(messages_of({"modforge", "-s", "-fc", "-o=" + files.file("out"), input}, files.file("out")));
    const std::set<std::string> expected = {
        storage_for("the conversion"),
        storage_for(std::string(32, ' ') + "output filename"),
        storage_for("output filename"),
        storage_for("symbolreferenced table"),
        storage_for("sect referenced table"),
        storage_for("sect xlation table"),
        storage_for("sectionheader entry"),
        storage_for("sect relocation table"),
        storage_for("sym xlation table"),
        storage_for("a VELM symbol"),
        storage_for("the string table"),
        "ERROR: Unable to allocate string table entry\n",
        "ERROR: Unable to allocate image and reloc list\n",
        "ERROR: Unable to allocate image entry\n",
    };
    EXPECT_EQ(messages, expected);
}

}  // namespace

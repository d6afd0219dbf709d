// The command extract.
#include <memory>

#include "tools/common/file_input.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/output_file.h"
#include "tools/velmdump/section_choice.h"

namespace {

struct extract_arguments {
    std::string path;
    std::string section;
    std::string output;
};

int extract(const extract_arguments& given) {
    int status = status_good;
    const auto file = read_module(given.path, wanted_module::sound, status);
    if (!file)
        return status;
    const section_place* section = one_section(file->module, given.section);
    if (!section)
        return status_trouble;
    if (section->packets_in_file == 0) {
        complain("section %s has no contents in the module", printable(given.section).c_str());
        return status_trouble;
    }
    const auto print = [&file, section](std::FILE* out) {
        for (const packet_place& packet : file->module.packets(*section))
            std::fwrite(&file->module.raw.bytes[packet.data()], 1, packet.header.data_size, out);
    };
    return write_output(given.output, {given.path}, print) ? status_good : status_trouble;
}

std::function<int()> set_up_extract(command_arguments& arguments) {
    auto given = std::make_shared<extract_arguments>();
    add_file(arguments, given->path);
    arguments.add_positional("SECTION", given->section, "SECTION", "the section, by name or by number").required();
    add_output(arguments, given->output, "the file to write");
    return [given] { return extract(*given); };
}

}  // namespace

const command extract_command = {"the contents of a section, as they are",
                                 "  velmdump extract app.vlm .text -o text.bin\n", set_up_extract};

// The command convert.
#include <memory>

#include "tools/common/tool_run.h"
#include "tools/velmdump/byte_order.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/output_file.h"

namespace {

struct convert_arguments {
    std::string path;
    std::string output;
    std::string byte_order;  ///< "little" or "big"; empty: as it is
    std::string form;        ///< "binary" or "text"; empty: as it is
};

int convert(const convert_arguments& given) {
    int status = status_good;
    // Sums made anew would hide damage: only what is sound is converted.
    const auto file = read_module(given.path, wanted_module::sound, status);
    if (!file)
        return status;
    const module_bytes& raw = file->module.raw;
    const bool big_endian = given.byte_order.empty() ? raw.big_endian : given.byte_order == "big";
    const bool text_form = given.form.empty() ? raw.text_form : given.form == "text";
    const module_bytes result = in_byte_order(file->module, big_endian);
    const auto print = [&result, text_form](std::FILE* out) {
        if (text_form)
            print_as_text(result, out);
        else
            std::fwrite(result.bytes.data(), 1, result.bytes.size(), out);
    };
    return write_output(given.output, {given.path}, print) ? status_good : status_trouble;
}

std::function<int()> set_up_convert(command_arguments& arguments) {
    auto given = std::make_shared<convert_arguments>();
    add_file(arguments, given->path);
    add_output(arguments, given->output, "the module to write");
    arguments.add_option("--byte-order", given->byte_order, "ORDER", "little or big; otherwise as it is")
        .one_of({"little", "big"});
    arguments.add_option("--form", given->form, "FORM", "binary or text; otherwise as it is")
        .one_of({"binary", "text"});
    return [given] { return convert(*given); };
}

}  // namespace

const command convert_command = {"the same module in the other byte order or form",
                                 "  velmdump convert app.vlm -o app-big.hex --byte-order big --form text\n",
                                 set_up_convert};

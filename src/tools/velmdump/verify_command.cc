// A second opinion on a module: the input is converted anew, by other code, and every byte compared.
#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <memory>

#include "tools/common/entries_input.h"
#include "tools/common/file_input.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"
#include "tools/second_opinion/account.h"
#include "tools/second_opinion/conversion.h"
#include "tools/second_opinion/places.h"
#include "tools/velmdump/account_text.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/diff.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/module_words.h"

namespace {

using second_opinion::account;
using second_opinion::byte_order;
using second_opinion::bytes;
using second_opinion::conversion;
using second_opinion::conversion_request;

/// So many places of difference are told one by one.
constexpr int most_places = 16;

struct verify_arguments {
    std::string module, input;
    bool account = false;
    std::vector<std::string> options;  ///< modforge's
};

/// Takes an option of modforge, in one of the forms that modforge takes. False, after a message, for any other.
bool take_option(const std::string& option, conversion_request& request, std::vector<std::string>& entries_files) {
    if (option.starts_with("-e=")) {
        entries_files.push_back(option.substr(3));
    } else if (option.starts_with("-p=")) {
        const long size = std::strtol(option.c_str() + 3, nullptr, 10);  // as modforge: what follows does not count
        if (size < second_opinion::least_packet || size > second_opinion::greatest_packet ||
            size % second_opinion::packet_step != 0) {
            complain("%s: image packet sizes are multiples of 4 from 300 to 1024", printable(option).c_str());
            return false;
        }
        request.packet_size = static_cast<int>(size);
    } else if (option.starts_with("-c")) {
        request.keep_cinit = true;
    } else if (option.starts_with("-fc")) {
        request.c_text = true;
    } else if (option == "-s") {
        request.symbols_only = true;
    } else if (option != "-q" && !option.starts_with("-o=")) {  // what these change is not in a module
        complain("%s: no option of verify or of modforge (try 'velmdump verify --help')", printable(option).c_str());
        return false;
    }
    return true;
}

/// The number in a field, or its bytes, as far as the module has them.
std::string value_of(const bytes& module, byte_order order, const second_opinion::place& field, std::uint64_t offset) {
    char text[16] = "nothing";
    const std::uint64_t size = field.end - field.start;
    if (!field.is_number && offset < module.size())
        std::snprintf(text, sizeof text, "%02X", module[offset]);
    else if (field.is_number && field.end <= module.size() && size == 4)
        std::snprintf(text, sizeof text, "0x%08" PRIX32, second_opinion::get_word(&module[field.start], order));
    else if (field.is_number && field.end <= module.size())
        std::snprintf(text, sizeof text, "0x%04X", unsigned{second_opinion::get_half(&module[field.start], order)});
    return text;
}

/// One module against what it must be.
class comparison {
public:
    comparison(const module_file& given, const bytes& wanted, byte_order order)
        : given_(given), is_(given.module.raw.bytes), must_(wanted), order_(order), title_(input_label(given.path)) {}

    [[nodiscard]] bool same() const { return is_ == must_ && !given_.module.raw.deviation; }

    void tell() const {
        if (const auto& where = given_.module.raw.deviation)
            std::printf("%s: line %zu, column %zu: not as the text form is written\n", title_.c_str(), where->line,
                        where->column);
        if (is_.size() != must_.size())
            std::printf("%s: %s, must be %zu\n", title_.c_str(), counted(is_.size(), "byte").c_str(), must_.size());
        tell_places();
        if (is_ != must_)
            tell_meaning();
    }

private:
    void tell_places() const {
        // Where the tables have other sizes all behind them lies elsewhere: there only the meaning says anything.
        const std::uint64_t common = std::min(is_.size(), must_.size());
        const std::uint64_t end = same_tables() ? common : std::min(common, second_opinion::tables_start);
        int told = 0;
        for (std::uint64_t at = next_difference(0); at < end; ++told) {
            if (told == most_places) {
                std::printf("%s: and more\n", title_.c_str());
                return;
            }
            const second_opinion::place field = second_opinion::place_of(must_, order_, at);
            std::printf("%s: offset 0x%" PRIX64 "%s: %s is %s, must be %s\n", title_.c_str(),
                        field.is_number ? field.start : at, line_of(at).c_str(), brief(field.name).c_str(),
                        value_of(is_, order_, field, at).c_str(), value_of(must_, order_, field, at).c_str());
            at = next_difference(field.end);
        }
    }

    [[nodiscard]] bool same_tables() const {
        using second_opinion::get_half, second_opinion::get_word;
        return is_.size() >= second_opinion::tables_start &&
               get_word(is_.data(), order_) == get_word(must_.data(), order_) &&
               get_half(&is_[16], order_) == get_half(&must_[16], order_) &&
               get_half(&is_[20], order_) == get_half(&must_[20], order_);
    }

    [[nodiscard]] std::uint64_t next_difference(std::uint64_t from) const {
        const auto end = static_cast<std::ptrdiff_t>(std::min(is_.size(), must_.size()));
        const auto start = std::min(static_cast<std::ptrdiff_t>(from), end);
        return static_cast<std::uint64_t>(
            std::mismatch(is_.begin() + start, is_.begin() + end, must_.begin() + start).first - is_.begin());
    }

    [[nodiscard]] std::string line_of(std::uint64_t offset) const {
        const std::size_t line = given_.module.raw.line_of(offset);
        return line == 0 ? "" : ", line " + std::to_string(line);
    }

    void tell_meaning() const {
        if (!given_.sound()) {
            std::printf("what this means cannot be told: the module is unsound ('velmdump check' tells why)\n");
            return;
        }
        std::printf("what this means, the given module first and the one made anew second:\n");
        const velm_module made(decode_module(must_));
        const auto tell = [](const difference& d) {
            std::printf("%s\n", (subject_words(d) + std::string(d.text)).c_str());
        };
        if (diff_modules(given_.module, made, false, tell) == 0)
            std::printf("nothing: they mean the same\n");
    }

    const module_file& given_;
    const bytes& is_;
    const bytes& must_;
    byte_order order_;
    std::string title_;
};

/// Says why the input cannot be converted, if so. The module is compared in the binary form.
int judge(const module_file& given, const conversion_request& request, const conversion& made) {
    const std::string title = input_label(given.path);
    if (made.unfinished) {
        std::printf("%s: %s, must be more than %" PRIu64 "\n", title.c_str(),
                    counted(given.module.raw.bytes.size(), "byte").c_str(), request.most_bytes);
        return status_faults;
    }
    if (made.status != 0) {
        std::printf("%s: must be refused: %s\n", input_label(request.input_name).c_str(), brief(made.why).c_str());
        return status_faults;
    }
    int status = status_good;
    if (request.c_text && !given.module.raw.text_form) {
        std::printf("%s: in the binary form, must be text\n", title.c_str());
        status = status_faults;
    }
    const comparison compared(given, made.module, request.order);
    if (compared.same())
        return status;
    compared.tell();
    return status_faults;
}

int verify(const verify_arguments& given) {
    conversion_request request;
    std::vector<std::string> entries_files;
    for (const std::string& option : given.options)
        if (!take_option(option, request, entries_files))
            return status_trouble;
    int status = status_good;
    const auto module = read_module(given.module, wanted_module::any, status);
    auto input = read_whole(given.input);
    if (!input || !read_entries_files(entries_files, request.entries))
        return status_trouble;
    if (!module)
        return status;
    request.input_name = given.input;
    request.input = std::move(*input);
    request.order = module->module.raw.big_endian ? byte_order::big : byte_order::little;
    // A module takes little more than its parts take in the input; where they overlap there, it could be any size.
    request.most_bytes = std::min(second_opinion::largest_module,
                                  module->module.size() + 2 * std::uint64_t{request.input.size()} + (1 << 20));
    conversion_request as_binary = request;
    as_binary.c_text = false;
    account told;
    const conversion made = second_opinion::convert(as_binary, given.account ? &told : nullptr);
    status = judge(*module, request, made);
    if (given.account && made.status == 0)
        print_account(told, stdout);
    return status;
}

std::function<int()> set_up_verify(command_arguments& arguments) {
    auto given = std::make_shared<verify_arguments>();
    arguments.add_positional("MODULE", given->module, "MODULE", "a module, binary or text; - for standard input")
        .required();
    arguments.add_positional("INPUT", given->input, "FILE.out", "the COFF file, named as in the call of modforge")
        .required();
    arguments.add_flag("--account", given->account, "tell what became of everything in the input, and why");
    arguments.add_rest(given->options);
    arguments.add_note(
        "Options of modforge, written as there: -e=FILE -c -s -p=N; -fc if MODULE must be text. -q and -o=FILE,\n"
        "which change nothing in a module, are accepted.\n");
    return [given] { return verify(*given); };
}

}  // namespace

const command verify_command = {"whether a module is, byte for byte, what its input must give",
                                "  velmdump verify -e=app.entries app.vlm app.out\n"
                                "  velmdump verify --account app.vlm app.out\n",
                                set_up_verify};

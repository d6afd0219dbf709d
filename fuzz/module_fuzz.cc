// velmdump: any bytes, in either form, can be checked, shown, compared, drawn and converted.
//
// What the check finds sound the loader takes, and it comes back from the other byte order as it was.
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "loader_opinion.h"
#include "mutator.h"
#include "support/module_sums.h"
#include "survive.h"
#include "tools/velmdump/byte_order.h"
#include "tools/velmdump/checks.h"
#include "tools/velmdump/diff.h"
#include "tools/velmdump/json_form.h"
#include "tools/velmdump/names.h"
#include "tools/velmdump/report_page.h"
#include "tools/velmdump/show.h"
#include "tools/velmdump/svg_map.h"
#include "tools/velmdump/velm_module.h"

namespace {

std::FILE* nowhere() {
    static std::FILE* stream = std::fopen("/dev/null", "w");
    return stream;
}

void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "module_fuzz: %s\n", what);
    std::abort();
}

void expect_good(const velm_module& module) {
    const char* refusal = loader_refusal(module.raw.bytes);
    require(refusal == nullptr, refusal);
    const module_bytes turned = in_byte_order(module, !module.raw.big_endian);
    print_as_text(turned, nowhere());
    const velm_module there(turned);
    require(!has_errors(check_module(there)), "sound in one byte order only");
    require(in_byte_order(there, module.raw.big_endian).bytes == module.raw.bytes, "not the same there and back");
}

void use(velm_module module) {
    std::vector<finding> findings = check_module(module);
    const module_file file{"fuzz.vlm", std::move(module), std::move(findings)};
    show_options everything;
    everything.symbols = everything.strings = everything.packets = everything.relocs = true;
    everything.contents = "*";
    show_module(file, everything, nowhere());
    print_json(file, nowhere());
    draw_map(file.module, file.findings, {.title = "fuzz"}, nowhere());
    print_report({{"fuzz.vlm", file.module, file.findings}}, nowhere());
    if (!file.sound())
        return;
    expect_good(file.module);
    diff_modules(file.module, file.module, false,
                 [](const difference& d) { std::fwrite(d.text.data(), 1, d.text.size(), nowhere()); });
    offered_names offer;
    offer.add(file.module);
    offer.add_lines({'a', '\n'});
    imported_names(file.module);
}

}  // namespace

const input_form fuzz_input = {.records = support::records_of_module, .repair = support::repair_sums};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    velm_module module(decode_module({data, data + size}));
    if (module.has_header)
        use(std::move(module));
    return 0;
}

// velmdump: any bytes, in either form, can be checked, shown, compared, drawn
// and converted.
//
// Damage seldom leaves the checksums right, and what comes after them would never be reached by a reader that stopped
// there. So each input is given twice: as it is, and with its checksums repaired.
#include <cstdio>
#include <utility>
#include <vector>

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
    print_as_text(in_byte_order(file.module, !file.module.raw.big_endian), nowhere());
    diff_modules(file.module, file.module, false, [](const difference& d) { std::fputs(d.text.c_str(), nowhere()); });
    offered_names offer;
    offer.add(file.module);
    offer.add_lines({'a', '\n'});
    imported_names(file.module);
}

/// Makes the words in [from, to) and the one at `checksum` add up; nothing when they are not all in the file.
void repair(module_bytes& module, std::uint64_t from, std::uint64_t to, std::uint64_t checksum) {
    if (from > to || to > module.bytes.size() || checksum + 4 > module.bytes.size() || (to - from) % 4 != 0)
        return;
    std::uint32_t sum = module.sum(from, to - from);
    if (checksum >= from && checksum < to)
        sum -= module.word(checksum);
    for (unsigned i = 0; i < 4; ++i)
        module.bytes[checksum + (module.big_endian ? 3 - i : i)] = static_cast<unsigned char>(~sum >> (8 * i));
}

module_bytes repaired(const velm_module& module) {
    module_bytes copy = module.raw;
    const std::uint64_t symbols = module.symbol_records();
    repair(copy, velm_strtab_offset, module.section_headers(), 44);
    repair(copy, module.section_headers(), symbols, 40);
    repair(copy, symbols, symbols + sizeof(velm_symbol_record) * std::uint64_t{module.header.nsyms}, 48);
    repair(copy, sizeof(velm_filehdr), velm_strtab_offset - 4, velm_strtab_offset - 4);
    repair(copy, 0, sizeof(velm_filehdr) - 4, sizeof(velm_filehdr) - 4);
    for (const section_place& section : module.sections)
        for (const packet_place& packet : module.packets(section))
            repair(copy, packet.offset, packet.end(), packet.offset + 8);
    return copy;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const velm_module module(decode_module({data, data + size}));
    if (!module.has_header)
        return 0;
    use(module);
    use(velm_module(repaired(module)));
    return 0;
}

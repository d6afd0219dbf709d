// The COFF reader: any bytes end in objects that can be walked, edited and listed, or in a message.
#include <cstdio>

#include "coff/coff_file.h"
#include "msg/user_msg.h"
#include "mutator.h"
#include "survive.h"

namespace {

std::FILE* nowhere() {
    static std::FILE* stream = std::fopen("/dev/null", "w");
    return stream;
}

void walk(COFF_FILE& file) {
    for (int number = 1; number <= file.fh_nscns(); ++number) {
        COFF_SECTION* section = file.get_section(static_cast<std::int16_t>(number));
        if (!section)
            continue;
        survive([&] { section->raw_data(); });
        survive([&] { delete section->get_source_psn(section->sh_vaddr()); });
    }
    file.dump(nowhere());
    file.dump_xml(nowhere());
}

void edit(COFF_FILE& file) {
    file.remove_coff_debug();
    file.clear_relocs();
    if (COFF_SECTION* first = file.get_section(1))
        file.delete_section(first);
    file.write("/dev/null");
}

support::record_map records(const support::bytes& input) {
    return support::records_of_image(input);
}

}  // namespace

const input_form fuzz_input = {.records = records};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    UMSG.set_max_errors(INT32_MAX);  // errors add up over the runs
    const auto stream = stream_of(data, size);
    COFF_FILE file(true);
    survive([&] {
        if (file.read(stream.get(), false) != 0)
            return;
        survive([&] { walk(file); });
        edit(file);
    });
    return 0;
}

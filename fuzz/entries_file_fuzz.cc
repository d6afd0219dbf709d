// The reader of entries files: any bytes end in tables that can be asked, or in a message.
#include "convert/entries_files.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "convert/options.h"
#include "mutator.h"
#include "survive.h"

const input_form fuzz_input = {};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    warn_missing_symbols = 1;
    filename_in = "fuzz.out";
    const auto stream = stream_of(data, size);
    survive([&] { read_in_entries(stream.get(), "fuzz.entries"); });

    // Ask for what the file named, if it named it plainly.
    const std::string first(data, data + std::min<std::size_t>(size, 255));
    entry_sym_table.find_matching_entry(hashed_name(first));
    entries_prefix_list.find_start_of(first);
    is_exported_symbols_section(first.c_str());
    report_missing_symbols();

    cleanup_entries_lists();
    return 0;
}

// Whole conversions, in memory: any input with any entries file ends as the second opinion says.
//
// An input is a byte of options, a byte that tells how long the entries file is, the entries file, and the COFF file.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "convert_here.h"
#include "mutator.h"
#include "survive.h"

namespace {

constexpr unsigned no_entries = 0x10;

second_opinion::conversion_request request_in(const std::uint8_t* data, std::size_t size) {
    const unsigned bits = data[0];
    const std::uint8_t *const entries = data + 2, *const input = entries + data[1];
    second_opinion::conversion_request request{.input_name = "fuzz.out", .input = {input, data + size}};
    request.symbols_only = bits & 0x01;
    request.c_text = bits & 0x02;
    request.keep_cinit = bits & 0x04;
    request.packet_size = bits & 0x08 ? 300 : 1024;
    request.quiet = bits & 0x20;
    if (!(bits & no_entries))
        request.entries.emplace_back(entries, input);
    return request;
}

support::record_map image_records(const support::bytes& input) {
    const std::size_t image = input.size() < 2 ? 0 : 2 + std::size_t{input[1]};
    return support::records_of_image(input, image);
}

}  // namespace

const input_form fuzz_input = {.records = image_records};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size - 2 < data[1])
        return 0;
    const auto request = request_in(data, size);
    const std::string fault = fault_of(convert_here(request), request);
    if (!fault.empty()) {
        std::fprintf(stderr, "%s\n", fault.c_str());
        std::abort();
    }
    return 0;
}

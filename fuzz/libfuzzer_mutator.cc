// The mutator for libFuzzer, which sees what its own changes by bytes reach and ours do not, and the other way round.
#include <algorithm>

#include "mutator.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    const bool by_bytes = seed % 4 == 0;
    if (by_bytes)
        size = LLVMFuzzerMutate(data, size, most);
    support::bytes input(data, data + size);
    if (!by_bytes)
        mutate(input, most, seed);
    else if (fuzz_input.repair)
        fuzz_input.repair(input);
    std::copy(input.begin(), input.end(), data);
    return input.size();
}

// What the reference loader says of a module. Apart from velmdump, which has a velm_module of its own.
#ifndef MODFORGE_FUZZ_LOADER_OPINION_H
#define MODFORGE_FUZZ_LOADER_OPINION_H

#include <cstdint>
#include <vector>

/// Why the loader refuses the bytes, the name of a status; null when it takes them.
const char* loader_refusal(const std::vector<std::uint8_t>& module);

#endif

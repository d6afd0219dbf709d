// Requests made up from a seed: small images with a bit of everything that the input format knows, entries files that
// fit them more or less, and options.
#ifndef MODFORGE_SUPPORT_RANDOM_REQUEST_H
#define MODFORGE_SUPPORT_RANDOM_REQUEST_H

#include "tools/second_opinion/conversion.h"

namespace support {

/// The same seed gives the same request everywhere. Most convert; some end in an error that every run must find.
second_opinion::conversion_request random_request(std::uint32_t seed);

}  // namespace support

#endif

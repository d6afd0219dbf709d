// A small program that has everything: sections of every kind, each relocation type, line numbers, every form of
// auxiliary entry, long names. The corpus of the fuzz targets holds it as everything_little and everything_big.
#ifndef MODFORGE_SWEEPS_EVERYTHING_H
#define MODFORGE_SWEEPS_EVERYTHING_H

#include "support/coff_builder.h"
#include "tools/second_opinion/conversion.h"

namespace sweeps {

support::coff_image everything(support::byte_order order);

/// The image with entries of every kind, in packets of 300 bytes.
second_opinion::conversion_request with_entries(const support::bytes& image);

}  // namespace sweeps

#endif

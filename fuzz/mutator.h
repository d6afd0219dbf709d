// Changes inputs the way they get damaged, or made by another hand: by fields and whole records, not by bytes alone.
#ifndef MODFORGE_FUZZ_MUTATOR_H
#define MODFORGE_FUZZ_MUTATOR_H

#include <cstddef>
#include <cstdint>

#include "support/records.h"

/// What the mutator has to know of a target's inputs. Each target defines its own.
struct input_form {
    /// Where records lie in an input; null: it has none.
    support::record_map (*records)(const support::bytes& input) = nullptr;
    /// Makes sums right again, which damage would never get past otherwise; null: there are none.
    void (*repair)(support::bytes& input) = nullptr;
};
extern const input_form fuzz_input;

/// Changes `input` one to four times; the seed decides how. It gets no longer than `most` bytes.
void mutate(support::bytes& input, std::size_t most, std::uint64_t seed);

#endif

// What the auxiliary entry of a symbol says, for listings.
#ifndef MODFORGE_COFF_AUX_FACTS_H
#define MODFORGE_COFF_AUX_FACTS_H

#include <cstdint>
#include <utility>
#include <vector>

#include "format/coff_records.h"

/// The numbers in an auxiliary entry of the form, each with a name that is fit for an XML attribute. A file name is not
/// among them.
std::vector<std::pair<const char*, std::uint32_t>> aux_facts(const auxent& aux, aux_form form);

#endif

// The sort behind SLIST::qsort.
#ifndef MODFORGE_CONTAINERS_TABLE_SORT_H
#define MODFORGE_CONTAINERS_TABLE_SORT_H

#include <cstdint>

#include "containers/slist.h"

/// Sorts `n` nodes by their items. Takes n * log(n)^2 steps at worst, and heap in proportion to n. A compare function
/// that contradicts itself gives some order of the same nodes.
void sort_table(SLIST::NODE** table, std::uint32_t n, SLIST::compare_function cmp);

#endif

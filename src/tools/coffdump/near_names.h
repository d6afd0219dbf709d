// "Did you mean": the name that a misspelt one was probably meant to be.
#ifndef MODFORGE_TOOLS_COFFDUMP_NEAR_NAMES_H
#define MODFORGE_TOOLS_COFFDUMP_NEAR_NAMES_H

#include <string>
#include <string_view>
#include <vector>

/// The candidate that is most like `name`: by its letters in either case or with an underscore more or less in front,
/// else with at most a quarter of its characters, and at most three, wrong, missing, too many or swapped. Empty when there is
/// none. With `as_prefix` only as much of a candidate counts as `name` has characters.
std::string nearest_name(std::string_view name, const std::vector<std::string_view>& candidates, bool as_prefix);

#endif

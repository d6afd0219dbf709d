// JSON as the companions print it.
#ifndef MODFORGE_TOOLS_COMMON_JSON_TEXT_H
#define MODFORGE_TOOLS_COMMON_JSON_TEXT_H

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

using json = nlohmann::ordered_json;

/// Sets object[key] to the name. When its bytes are no UTF-8, print_json will put replacement characters there, and
/// object[key + "_hex"] holds the bytes.
void put_name(json& object, const std::string& key, std::string_view name);

/// Prints the document, indented by one blank per level, with a line break at the end.
void print_json(const json& document, std::FILE* out);

#endif

// Holds JSON documents against the schemas in docs/, as far as those go.
#ifndef MODFORGE_SUPPORT_JSON_SCHEMA_H
#define MODFORGE_SUPPORT_JSON_SCHEMA_H

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

namespace support {

/// What the schema requires of an object is there, and nothing is there that it does not know.
inline void expect_as_in_schema(const nlohmann::json& value, const nlohmann::json& schema, const nlohmann::json& root,
                                const std::string& where) {
    if (schema.contains("$ref"))
        return expect_as_in_schema(value, root["$defs"][schema["$ref"].get<std::string>().substr(8)], root, where);
    if (value.is_array() && schema.contains("items")) {
        for (const auto& item : value)
            expect_as_in_schema(item, schema["items"], root, where + "[]");
    }
    if (!value.is_object())
        return;
    for (const auto& name : schema["required"])
        EXPECT_TRUE(value.contains(name)) << where << ": " << name;
    for (const auto& [name, member] : value.items()) {
        ASSERT_TRUE(schema["properties"].contains(name)) << where << ": " << name;
        expect_as_in_schema(member, schema["properties"][name], root, where + "." + name);
    }
}

}  // namespace support

#endif

// What the JSON library does not do by itself: names that are no UTF-8.
#include "tools/common/json_text.h"

#include "tools/common/text_forms.h"

void put_name(json& object, const std::string& key, std::string_view name) {
    object[key] = name;
    try {
        (void)object[key].dump();
    } catch (const json::exception&) {
        object[key + "_hex"] = hex_digits(name);
    }
}

void print_json(const json& document, std::FILE* out) {
    const std::string text = document.dump(1, ' ', false, json::error_handler_t::replace);
    std::fwrite(text.data(), 1, text.size(), out);
    std::fputc('\n', out);
}

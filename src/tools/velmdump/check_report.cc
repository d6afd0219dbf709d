#include "tools/velmdump/check_report.h"

#include <algorithm>
#include <cstdio>

#include "tools/velmdump/module_bytes.h"

namespace {

constexpr std::uint64_t most_of_a_kind = 100;

}  // namespace

std::string finding_words(const finding& f) {
    char place[64];
    std::snprintf(place, sizeof place, "offset 0x%llX: %s: ", static_cast<unsigned long long>(f.offset),
                  f.error ? "error" : "warning");
    const std::string line = f.line != 0 ? "line " + std::to_string(f.line) + ", " : "";
    return line + place + f.text;
}

void check_report::add(bool error, std::uint64_t offset, const char* format, std::va_list args) {
    errors_ += error;
    kind& own = kinds_[format];
    own.error = error;
    own.last_offset = offset;
    if (++own.count > most_of_a_kind)
        return;
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    findings_.push_back({error, offset, 0, text});
}

void check_report::error(std::uint64_t offset, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    add(true, offset, format, args);
    va_end(args);
}

void check_report::warning(std::uint64_t offset, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    add(false, offset, format, args);
    va_end(args);
}

std::vector<finding> check_report::sorted(const module_bytes& raw) && {
    for (const auto& [format, own] : kinds_) {
        if (own.count > most_of_a_kind)
            findings_.push_back({own.error, own.last_offset, 0,
                                 std::to_string(own.count - most_of_a_kind) +
                                     " more like those above, the last here (" + format + ")"});
    }
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const finding& a, const finding& b) { return a.offset < b.offset; });
    for (finding& f : findings_)
        f.line = raw.line_of(f.offset);
    return std::move(findings_);
}

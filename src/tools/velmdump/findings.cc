// Keeps the first hundred findings of a kind, and of the others the last and their number.
#include "tools/velmdump/findings.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tools/common/text_forms.h"
#include "tools/velmdump/module_bytes.h"

namespace {

constexpr std::uint64_t most_of_a_kind = 100;

}  // namespace

std::string finding_words(const finding& f) {
    char place[64];
    std::snprintf(place, sizeof place, "offset 0x%llX: %s: ", wide(f.offset), severity_word(f.error));
    const std::string line = f.line != 0 ? "line " + std::to_string(f.line) + ", " : "";
    return line + place + f.text;
}

void finding_list::add(bool error, std::uint64_t offset, const char* format, std::va_list args) {
    errors_ += error;
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    keep(format, {error, offset, 0, text});
}

void finding_list::keep(const char* kind_name, finding found) {
    kind& own = kinds_[kind_name];
    if (own.kept < most_of_a_kind) {
        ++own.kept;
        findings_.push_back({std::move(found), kind_name});
    } else {
        ++own.left_out;
        own.last = std::move(found);
    }
}

void finding_list::error(std::uint64_t offset, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    add(true, offset, format, args);
    va_end(args);
}

void finding_list::warning(std::uint64_t offset, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    add(false, offset, format, args);
    va_end(args);
}

void finding_list::take(finding_list other) {
    for (kept_finding& each : other.findings_)
        keep(each.kind_name, std::move(each.what));
    for (auto& [name, own] : other.kinds_) {
        if (own.left_out == 0)
            continue;
        kind& mine = kinds_[name];
        mine.left_out += own.left_out;
        mine.last = std::move(own.last);
    }
    errors_ += other.errors_;
}

std::vector<finding> finding_list::sorted(const module_bytes& raw) && {
    std::vector<finding> result;
    for (kept_finding& each : findings_)
        result.push_back(std::move(each.what));
    for (auto& [name, own] : kinds_) {
        if (own.left_out == 0)
            continue;
        own.last.text = std::to_string(own.left_out) + " more of this kind, the last: " + own.last.text;
        result.push_back(std::move(own.last));
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const finding& a, const finding& b) { return a.offset < b.offset; });
    for (finding& f : result)
        f.line = raw.line_of(f.offset);
    return result;
}

// Keeps the first hundred findings of a kind, and of the others the last and their number.
#include "tools/velmdump/check_report.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

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
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    kind& own = kinds_[format];
    finding& place = ++own.count > most_of_a_kind ? own.last : findings_.emplace_back();
    place = {error, offset, 0, text};
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

void check_report::take(check_report other) {
    std::move(other.findings_.begin(), other.findings_.end(), std::back_inserter(findings_));
    for (auto& [format, own] : other.kinds_) {
        kind& mine = kinds_[format];
        mine.count += own.count;
        mine.last = std::move(own.last);
    }
    errors_ += other.errors_;
}

std::vector<finding> check_report::sorted(const module_bytes& raw) && {
    for (auto& [format, own] : kinds_) {
        if (own.count <= most_of_a_kind)
            continue;
        own.last.text = std::to_string(own.count - most_of_a_kind) + " more of this kind, the last: " + own.last.text;
        findings_.push_back(own.last);
    }
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const finding& a, const finding& b) { return a.offset < b.offset; });
    for (finding& f : findings_)
        f.line = raw.line_of(f.offset);
    return std::move(findings_);
}

#include "tools/velmdump/check_report.h"

#include <cstdio>

void check_report::add(bool error, std::uint64_t offset, const char* format, std::va_list args) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    findings.push_back({error, offset, text});
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

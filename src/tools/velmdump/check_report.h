// Collects findings.
#ifndef MODFORGE_TOOLS_VELMDUMP_CHECK_REPORT_H
#define MODFORGE_TOOLS_VELMDUMP_CHECK_REPORT_H

#include <cstdarg>
#include <cstdint>
#include <vector>

#include "tools/velmdump/module_bytes.h"

class check_report {
public:
    /// `offset`: where in the file, bytes.
    [[gnu::format(printf, 3, 4)]] void error(std::uint64_t offset, const char* format, ...);
    [[gnu::format(printf, 3, 4)]] void warning(std::uint64_t offset, const char* format, ...);

    std::vector<finding> findings;

private:
    void add(bool error, std::uint64_t offset, const char* format, std::va_list args);
};

#endif

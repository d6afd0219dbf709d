// Findings, and what collects them.
#ifndef MODFORGE_TOOLS_VELMDUMP_FINDINGS_H
#define MODFORGE_TOOLS_VELMDUMP_FINDINGS_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

struct module_bytes;

/// One thing that is wrong, or odd, with a module.
struct finding {
    bool error;            ///< else a warning
    std::uint64_t offset;  ///< in the file, bytes; in the text form that of the word in the binary form
    std::size_t line;      ///< in the text form, from 1; 0: not known, or the binary form
    std::string text;      ///< printable
};

/// "offset 0x1C: error: text", with the line before it in the text form.
std::string finding_words(const finding& f);

/// Collects findings. Of each kind only so many are kept, and the rest counted: a file can hold millions.
class finding_list {
public:
    /// `offset`: where in the file, bytes. The texts of one place in the program, recognised by `format`, are one kind.
    [[gnu::format(printf, 3, 4)]] void error(std::uint64_t offset, const char* format, ...);
    [[gnu::format(printf, 3, 4)]] void warning(std::uint64_t offset, const char* format, ...);

    [[nodiscard]] bool has_errors() const { return errors_ != 0; }
    /// How many errors there were so far.
    [[nodiscard]] std::uint64_t errors() const { return errors_; }

    /// Adds what another report found.
    void take(finding_list other);

    /// All findings, in the order of their offsets; of findings at one offset, in the order in which they came.
    [[nodiscard]] std::vector<finding> sorted(const module_bytes& raw) &&;

private:
    struct kept_finding {
        finding what;
        const char* kind_name;
    };
    struct kind {
        std::uint64_t kept = 0;
        std::uint64_t left_out = 0;
        finding last;  ///< of those left out
    };

    void add(bool error, std::uint64_t offset, const char* format, std::va_list args);
    void keep(const char* kind_name, finding found);

    std::vector<kept_finding> findings_;
    std::unordered_map<const char*, kind> kinds_;
    std::uint64_t errors_ = 0;
};

#endif

// What the checks found, in words for people.
#ifndef MODFORGE_TOOLS_COFFDUMP_FINDINGS_H
#define MODFORGE_TOOLS_COFFDUMP_FINDINGS_H

#include <cstdio>
#include <map>
#include <source_location>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct finding {
    bool error;           ///< modforge refuses the input for it; else a warning
    std::string place;    ///< the file, or "file:line:column" of an entry
    std::string text;     ///< what is wrong, and where
    std::string says;     ///< the line that modforge prints for it, without line break; empty: it says nothing
    std::string way_out;  ///< what to do; empty: `text` tells
    /// Findings of one place in the program are of one kind.
    std::source_location kind = std::source_location::current();
};

class finding_list {
public:
    /// Of one kind only the first ten are kept, and the rest counted; with `all` every one.
    void add(finding added, bool all = false);

    bool has_errors() const { return errors_ != 0; }
    bool empty() const { return findings_.empty(); }
    /// Whether some finding has these words of modforge.
    bool tells(const std::string& says) const;

    /// "place: error: text", and what goes with it on lines of their own.
    void print(std::FILE* out) const;

private:
    std::vector<finding> findings_;
    using kind = std::pair<std::string_view, unsigned>;  // source file and line
    static kind kind_of(const finding& f) { return {f.kind.file_name(), f.kind.line()}; }

    std::map<kind, unsigned long> counts_;
    unsigned long errors_ = 0;
};

#endif

// The entries files of a run: which symbols they export, which sections they exclude, and what to say about them.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_ENTRIES_H
#define MODFORGE_TOOLS_SECOND_OPINION_ENTRIES_H

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/second_opinion/coff_input.h"
#include "tools/second_opinion/sayings.h"

namespace second_opinion {

/// One entry of the files.
struct entry {
    std::string_view name = {};  ///< without qualifier and marker; lies in the file's text
    char marker = '\0';          ///< '^' prefix, '@' section whose symbols are exported, '!' excluded section, else 0
    bool optional = false;       ///< written with '-': never missed
    bool found = false;          ///< some symbol was asked about and this entry exports it
    bool is_default = false;     ///< in no file, but in force as soon as there is one
};

class entries {
public:
    /// Reads the contents of the files, which must outlive this object. What is to be said about duplicates goes to
    /// `said`. Throws a refusal.
    entries(const std::vector<std::string>& files, sayings& said);
    entries(const entries&) = delete;
    entries& operator=(const entries&) = delete;
    entries(entries&&) = default;
    entries& operator=(entries&&) = default;
    ~entries() = default;

    /// Whether there are no files: then every symbol is an entry and no section is excluded.
    [[nodiscard]] bool everything() const { return everything_; }

    /// The entry that exports the symbol, which it marks as found; null when there is none.
    const entry* exporting(const symbol& sym, const std::vector<section>& sections);

    /// The entry that excludes a section of that name, null when there is none. The entry of a section excludes its
    /// subsections: "a" all of "a:b" and "a:b:c".
    [[nodiscard]] const entry* excluding(std::string_view section_name) const;

    /// Says which entries matched nothing in `input_name`.
    void tell_missing(const std::string& input_name, sayings& said) const;

private:
    using index = std::unordered_map<std::string_view, u32>;  // place in its list by name

    /// A prefix among all different ones, sorted: those that begin alike stand together.
    struct prefix_node {
        std::string_view name = {};
        u32 first = 0;   ///< of this prefix and all shorter ones of it the one that was read first
        u32 parent = 0;  ///< the longest shorter prefix of it, plus 1; 0 when there is none
    };

    void read(std::string_view text, sayings& said);
    void add(std::string_view token, sayings& said, bool is_default = false);
    void add_once(std::vector<entry>& list, index& places, const entry& added, sayings& said);
    void sort_prefixes();
    entry* prefix_of(std::string_view name);

    bool everything_;
    std::vector<entry> symbols_, prefixes_, exporting_, excluded_;  // in the order read
    index symbol_places_, exporting_places_, excluded_places_;
    std::vector<prefix_node> sorted_prefixes_;
};

}  // namespace second_opinion

#endif

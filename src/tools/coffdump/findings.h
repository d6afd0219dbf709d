// What the checks found, in words for people.
#ifndef MODFORGE_TOOLS_COFFDUMP_FINDINGS_H
#define MODFORGE_TOOLS_COFFDUMP_FINDINGS_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

class json_writer;

struct finding {
    bool error;           ///< modforge refuses the input for it; else a warning
    std::string place;    ///< the file, or "file:line:column" of an entry
    std::string text;     ///< what is wrong, and where
    std::string says;     ///< the line that modforge prints for it, without line break; empty: it says nothing
    std::string way_out;  ///< what to do; empty: `text` tells
    unsigned kind = 0;    ///< those of one kind have one number
};

/// Where the numbers of the kinds begin that each check has; behind that they are lines of its source.
enum : unsigned { reading_kinds = 10000, conversion_kinds = 20000, entries_kinds = 30000 };

class finding_list {
public:
    /// Of one kind only the first ten are kept, and the rest counted.
    void add(finding added);
    /// Adds a warning for each of `which`, of no kind, once at most. There may be a million: `make` is asked for each when
    /// it is shown, and what it refers to must outlive the list.
    void add_made_later(std::vector<std::uint32_t> which, std::function<finding(std::uint32_t)> make);

    bool has_errors() const { return errors_ != 0; }
    bool empty() const { return findings_.empty() && later_.empty(); }
    /// Whether some finding that is made already has these words of modforge.
    bool tells(const std::string& says) const;

    /// "place: error: text", and what goes with it on lines of their own.
    void print(std::FILE* out) const;
    /// The same as elements of the array that is open.
    void put(json_writer& json) const;

private:
    /// Calls visit(finding, whether it is the first of its kind, how many more of the kind are left out behind it).
    template <typename VISIT> void for_each(VISIT visit) const;

    std::vector<finding> findings_;
    std::size_t later_place_ = 0;  ///< so many findings come before those that are made later
    std::vector<std::uint32_t> later_;
    std::function<finding(std::uint32_t)> make_;
    std::map<unsigned, unsigned long> counts_;  // by kind
    unsigned long errors_ = 0;
};

#endif

// Tokens into four lists, look-ups by name and prefix, and the warnings in their order.
#include "tools/second_opinion/entries.h"

#include <algorithm>

#include "tools/second_opinion/facts.h"
#include "tools/second_opinion/refusal.h"

namespace second_opinion {
namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";
constexpr u32 buckets = 32;

/// The order of warnings about symbols is that of this hash. Characters are signed in it.
u32 bucket(std::string_view name) {
    u32 hash = 0;
    for (const char c : name)
        hash = (hash << 4) + static_cast<u32>(static_cast<signed char>(c));
    return (hash * 0x4E67C98C) >> 27;
}

std::size_t common_length(std::string_view a, std::string_view b) {
    return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
}

bool is_missing(const entry& e) {
    return !e.optional && !e.found;
}

}  // namespace

entries::entries(const std::vector<std::string>& files, sayings& said) : everything_(files.empty()) {
    for (const std::string& text : files)
        read(text, said);
    if (!everything_) {
        add("-__DLModules", said, true);
        add("-.bss", said, true);
    }
    sort_prefixes();
}

void entries::read(std::string_view text, sayings& said) {
    for (std::size_t at = text.find_first_not_of(blanks); at < text.size(); at = text.find_first_not_of(blanks, at)) {
        if (text[at] == '#') {
            at = std::min(text.find('\n', at), text.size());
            continue;
        }
        const std::size_t end = std::min(text.find_first_of(blanks, at), text.size());
        if (end - at > longest_entry)
            refuse("an entry has more than " + std::to_string(longest_entry) + " characters");
        const std::string_view token = text.substr(at, end - at);
        add(token.substr(0, token.find('\0')), said);
        at = end;
    }
}

void entries::add(std::string_view token, sayings& said, bool is_default) {
    entry added{.is_default = is_default};
    if (token.starts_with('-')) {
        added.optional = true;
        token.remove_prefix(1);
    }
    if (!token.empty() && (token[0] == '^' || token[0] == '@' || token[0] == '!')) {
        added.marker = token[0];
        token.remove_prefix(1);
    }
    added.name = token;
    switch (added.marker) {
    case '^':
        return prefixes_.push_back(added);
    case '@':
        exporting_places_.try_emplace(token, static_cast<u32>(exporting_.size()));
        return exporting_.push_back(added);
    case '!':
        return add_once(excluded_, excluded_places_, added, said);
    default:
        return add_once(symbols_, symbol_places_, added, said);
    }
}

void entries::add_once(std::vector<entry>& list, index& places, const entry& added, sayings& said) {
    const auto [place, is_new] = places.try_emplace(added.name, static_cast<u32>(list.size()));
    if (is_new)
        return list.push_back(added);
    const bool optional = list[place->second].optional;
    if (optional != added.optional && said.warns_of_entries()) {
        const std::string name(added.name);
        said.say("WARNING: Duplicate entries for " + name +
                 " from entries file(s) with different qualifiers. Keeping entry " + (optional ? '-' : ' ') + name +
                 '\n');
    }
}

void entries::sort_prefixes() {
    for (u32 i = 0; i < prefixes_.size(); ++i)
        sorted_prefixes_.push_back({.name = prefixes_[i].name, .first = i});
    std::stable_sort(sorted_prefixes_.begin(), sorted_prefixes_.end(),
                     [](const prefix_node& a, const prefix_node& b) { return a.name < b.name; });
    const auto same = [](const prefix_node& a, const prefix_node& b) { return a.name == b.name; };
    sorted_prefixes_.erase(std::unique(sorted_prefixes_.begin(), sorted_prefixes_.end(), same), sorted_prefixes_.end());
    for (u32 i = 1; i < sorted_prefixes_.size(); ++i) {
        prefix_node& node = sorted_prefixes_[i];
        u32 parent = i;  // the one before, or one of its parents
        while (parent != 0 && !node.name.starts_with(sorted_prefixes_[parent - 1].name))
            parent = sorted_prefixes_[parent - 1].parent;
        node.parent = parent;
        if (parent != 0)
            node.first = std::min(node.first, sorted_prefixes_[parent - 1].first);
    }
}

/// Of the prefixes of the name the one that was read first.
entry* entries::prefix_of(std::string_view name) {
    const auto behind =
        std::upper_bound(sorted_prefixes_.begin(), sorted_prefixes_.end(), name,
                         [](std::string_view text, const prefix_node& node) { return text < node.name; });
    auto at = static_cast<u32>(behind - sorted_prefixes_.begin());
    const std::size_t common = at == 0 ? 0 : common_length(name, sorted_prefixes_[at - 1].name);
    while (at != 0 && sorted_prefixes_[at - 1].name.size() > common)
        at = sorted_prefixes_[at - 1].parent;
    return at == 0 ? nullptr : &prefixes_[sorted_prefixes_[at - 1].first];
}

const entry* entries::exporting(const symbol& sym, const std::vector<section>& sections) {
    // Entries are never longer than this, so longer names need not be hashed.
    const auto find = [](std::string_view name, const index& places, std::vector<entry>& list) -> entry* {
        const auto place = name.size() <= longest_entry ? places.find(name) : places.end();
        return place == places.end() ? nullptr : &list[place->second];
    };
    entry* found = find(sym.name, symbol_places_, symbols_);
    if (found == nullptr)
        found = prefix_of(sym.name);
    if (found == nullptr && sym.scnum > 0 && static_cast<std::size_t>(sym.scnum) <= sections.size())
        found = find(sections[static_cast<std::size_t>(sym.scnum) - 1].name, exporting_places_, exporting_);
    if (found != nullptr)
        found->found = true;
    return found;
}

const entry* entries::excluding(std::string_view section_name) const {
    std::size_t length = section_name.size();
    if (length > longest_entry)  // entries are never longer, so begin with what they can name
        length = section_name.substr(0, longest_entry + 1).rfind(':');
    while (length != std::string_view::npos) {
        const auto place = excluded_places_.find(section_name.substr(0, length));
        if (place != excluded_places_.end())
            return &excluded_[place->second];
        length = length == 0 ? std::string_view::npos : section_name.rfind(':', length - 1);
    }
    return nullptr;
}

void entries::tell_missing(const std::string& input_name, sayings& said) const {
    bool told = false;
    const auto tell = [&](const entry& e, const char* kind) {
        told = true;
        said.say(std::string("WARNING: ") + kind + ' ' + std::string(e.name) + " from entries file not found in " +
                 input_name + '\n');
    };
    std::array<std::vector<const entry*>, buckets> missing;
    for (const entry& e : symbols_)
        if (is_missing(e))
            missing[bucket(e.name)].push_back(&e);
    for (const std::vector<const entry*>& chain : missing)
        for (auto e = chain.rbegin(); e != chain.rend(); ++e)  // the latest comes first
            tell(**e, "Symbol");
    for (const entry& e : prefixes_)
        if (is_missing(e))
            tell(e, "Prefix");
    for (const entry& e : exporting_)
        if (is_missing(e))
            tell(e, "Section");
    if (told)
        said.say("\n\n");
}

}  // namespace second_opinion

// The quick way to the entries: a thousand prefixes must not be tried on sixty thousand symbols one by one.
#include <algorithm>
#include <cstring>
#include <utility>

#include "convert/entries_files.h"

entries_file_sym* entries_index::make(std::string_view name, bool optional) {
    entries_file_sym* record = pool_.make();
    record->name = std::make_unique_for_overwrite<char[]>(name.size() + 1);
    std::memcpy(record->name.get(), name.data(), name.size());
    record->name[name.size()] = '\0';
    record->length = static_cast<std::uint32_t>(name.size());
    record->optional = optional;
    return record;
}

void entries_index::clear() {
    for (name_index* index : {&symbols, &excluded, &export_sections})
        index->clear();
    symbol_answers = section_answers = {};
    prefixes_ = {};
    records_.clear();
    pool_.clear();
}

std::string_view entries_index::name_of(std::uint32_t number) const {
    return {records_[number]->name.get(), records_[number]->length};
}

std::uint32_t entries_index::number_in(const name_index& index, std::string_view name) const {
    return index.find(name, [this](std::uint32_t number, std::string_view text) { return name_of(number) == text; });
}

entries_file_sym* entries_index::find(const name_index& index, std::string_view name) const {
    const std::uint32_t number = number_in(index, name);
    return number == name_index::none ? nullptr : records_[number];
}

void entries_index::add(name_index& index, entries_file_sym* record) {
    const auto number = static_cast<std::uint32_t>(records_.size());
    records_.push_back(record);
    index.find_or_add(name_of(number), number,
                      [this](std::uint32_t known, std::string_view text) { return name_of(known) == text; });
}

void entries_index::add_prefix(entries_file_sym* record) {
    const auto number = static_cast<std::uint32_t>(records_.size());
    records_.push_back(record);
    prefixes_.push_back({name_of(number), number, name_index::none});
    prefixes_sorted_ = false;
}

void entries_index::sort_prefixes() {
    prefixes_sorted_ = true;
    std::ranges::sort(prefixes_, {}, [](const prefix& p) { return std::pair(p.text, p.first); });
    std::uint32_t last = name_index::none;  // whose chain of parents holds all that the next one can begin with
    for (std::uint32_t i = 0; i < prefixes_.size(); ++i) {
        prefix& p = prefixes_[i];
        while (last != name_index::none && !p.text.starts_with(prefixes_[last].text))
            last = prefixes_[last].parent;
        p.parent = last;
        if (last != name_index::none)
            p.first = std::min(p.first, prefixes_[last].first);
        last = i;
    }
}

entries_file_sym* entries_index::find_prefix(std::string_view name) {
    if (!prefixes_sorted_)
        sort_prefixes();
    // What lies between a prefix of `name` and `name` begins with that prefix: so it is a parent of the last one there.
    const auto behind = std::ranges::upper_bound(prefixes_, name, {}, &prefix::text);
    auto i = static_cast<std::uint32_t>(behind - prefixes_.begin()) - 1;  // none if there is no one
    while (i != name_index::none && !name.starts_with(prefixes_[i].text))
        i = prefixes_[i].parent;
    return i == name_index::none ? nullptr : records_[prefixes_[i].first];
}

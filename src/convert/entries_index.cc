// The quick way to the entries: a thousand prefixes must not be tried on sixty thousand symbols one by one.
#include <algorithm>
#include <cstring>

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
    for (name_index* index : {&symbols, &excluded, &export_sections, &prefixes_})
        index->clear();
    prefix_lengths_.clear();
    records_.clear();
    pool_.clear();
}

entries_file_sym* entries_index::find(const name_index& index, std::string_view name) const {
    const std::uint32_t* number = index.find(name);
    return number ? records_[*number] : nullptr;
}

void entries_index::add(name_index& index, entries_file_sym* record) {
    index.find_or_add({record->name.get(), record->length}, static_cast<std::uint32_t>(records_.size()));
    records_.push_back(record);
}

entries_file_sym* entries_index::find_prefix(std::string_view name) const {
    // The numbers grow in the order of addition, so the least one is the first in the list.
    const std::uint32_t* first = nullptr;
    for (const std::uint32_t length : prefix_lengths_) {
        if (length > name.size())
            continue;
        const std::uint32_t* number = prefixes_.find(name.substr(0, length));
        if (number && (!first || *number < *first))
            first = number;
    }
    return first ? records_[*first] : nullptr;
}

void entries_index::add_prefix(entries_file_sym* record) {
    // Tokens have at most 255 characters, so there are few lengths.
    if (std::find(prefix_lengths_.begin(), prefix_lengths_.end(), record->length) == prefix_lengths_.end())
        prefix_lengths_.push_back(record->length);
    add(prefixes_, record);
}

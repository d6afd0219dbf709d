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

entries_file_sym* entries_index::find_prefix(std::string_view name) const {
    // The numbers grow in the order of addition, so the least one is the first in the list.
    std::uint32_t first = name_index::none;
    for (const std::uint32_t length : prefix_lengths_) {
        if (length <= name.size())
            first = std::min(first, number_in(prefixes_, name.substr(0, length)));
    }
    return first == name_index::none ? nullptr : records_[first];
}

void entries_index::add_prefix(entries_file_sym* record) {
    // Tokens have at most 255 characters, so there are few lengths.
    if (std::find(prefix_lengths_.begin(), prefix_lengths_.end(), record->length) == prefix_lengths_.end())
        prefix_lengths_.push_back(record->length);
    add(prefixes_, record);
}

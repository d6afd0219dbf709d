// A COFF file as bytes, looked at and mended record by record. Nothing of it needs to be sound.
#ifndef MODFORGE_TOOLS_COFFDUMP_RAW_IMAGE_H
#define MODFORGE_TOOLS_COFFDUMP_RAW_IMAGE_H

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "format/coff_records.h"

class raw_image {
public:
    /// The bytes, which are mended in place, must outlive it.
    explicit raw_image(std::vector<unsigned char>& bytes);

    std::uint64_t size() const { return bytes_.size(); }
    const std::vector<unsigned char>& bytes() const { return bytes_; }
    /// Whether the file has `length` bytes from `offset` on.
    bool holds(std::uint64_t offset, std::uint64_t length) const {
        return offset <= size() && length <= size() - offset;
    }

    /// The record at `offset`, in host order; what the file does not hold of it is zero.
    template <typename RECORD> RECORD get(std::uint64_t offset) const {
        RECORD record{};
        if (holds(offset, sizeof record))
            std::memcpy(&record, &bytes_[offset], sizeof record);
        if (swapped_)
            swap_record(record);
        return record;
    }
    /// Replaces a record that the file holds.
    template <typename RECORD> void put(std::uint64_t offset, RECORD record) {
        if (swapped_)
            swap_record(record);
        if (holds(offset, sizeof record))
            std::memcpy(&bytes_[offset], &record, sizeof record);
    }

    /// The file header; to be told of its changes.
    const filehdr& header() const { return header_; }
    void set_header(const filehdr& header);
    /// Whether the file begins with the version id of either byte order.
    bool is_coff() const { return header_.fh_magic == coff_version_2; }

    /// Where things lie, whether the file holds them or not. Sections count from 1, the other two from 0.
    std::uint64_t section_at(std::uint32_t number) const;
    std::uint64_t symbol_at(std::uint32_t index) const;
    std::uint64_t strings_at() const { return strings_at_; }

    scnhdr section(std::uint32_t number) const { return get<scnhdr>(section_at(number)); }
    syment symbol(std::uint32_t index) const { return get<syment>(symbol_at(index)); }
    /// Relocation `i` of a section whose header is given.
    static std::uint64_t reloc_at(const scnhdr& section, std::uint32_t i) {
        return section.s_relptr + std::uint64_t{i} * sizeof(reloc);
    }

    /// The length word of the string table, as it stands there; 0 when the file does not hold it.
    std::uint32_t strings_length() const;
    /// The same when it tells the truth; nothing when the file does not hold such a table.
    std::optional<std::uint32_t> strings_size() const;
    /// The name of a section or symbol, up to `most` characters of it: millions may share a long one. Nothing when it is
    /// not there.
    std::optional<std::string_view> name(const char (&field)[8], std::uint64_t field_at, std::size_t most) const;

    /// "section 3 (.text)" and "symbol 12 (_main)", as far as there are names, which stand as they are.
    std::string section_title(std::uint32_t number) const;
    std::string symbol_title(std::uint32_t index) const;
    /// The name of a section in full, as messages have it.
    std::string section_name(std::uint32_t number) const;

private:
    std::optional<std::string_view> string(std::uint32_t offset, std::size_t most) const;

    std::vector<unsigned char>& bytes_;
    bool swapped_ = false;
    filehdr header_{};
    std::uint64_t strings_at_ = 0;
    std::uint64_t last_nul_ = 0;  ///< of the string table; 0: none
};

#endif

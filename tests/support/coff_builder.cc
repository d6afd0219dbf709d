// Lays out COFF images front to back: headers are written last, when every pointer is known.
#include "support/coff_builder.h"

#include <algorithm>
#include <map>

namespace support {
namespace {

constexpr std::size_t file_header_size = 22, optional_header_size = 28, section_header_size = 48, line_size = 6,
                      symbol_size = 18;

/// Collects the names that need the string table and gives their offsets.
class string_table {
public:
    std::uint32_t add(const std::string& name) {
        const auto [place, added] = offsets_.try_emplace(name, static_cast<std::uint32_t>(4 + text_.size()));
        if (added) {
            append(text_, name);
            text_.push_back(0);
        }
        return place->second;
    }
    [[nodiscard]] const bytes& text() const { return text_; }

private:
    bytes text_;
    std::map<std::string, std::uint32_t> offsets_;
};

class image_writer {
public:
    explicit image_writer(const coff_image& image) : image_(image) { out_.order = image.order; }

    built_image write() {
        reserve_headers();
        for (const coff_section& section : image_.sections) {
            out_.contents.push_back(place(section.contents));
            if (image_.mixed)
                write_relocs(section);
        }
        if (!image_.mixed) {
            for (const coff_section& section : image_.sections)
                write_relocs(section);
        }
        for (const coff_section& section : image_.sections)
            write_lines(section);
        write_symbols();
        write_headers();
        write_strings();
        return std::move(out_);
    }

private:
    void add(std::size_t width, std::uint32_t value) { put(out_.data, width, value, image_.order); }

    void set(std::size_t part, field where, std::uint32_t value) { out_.patch(part, where, value); }

    std::size_t place(const bytes& more) {
        const std::size_t at = out_.data.size();
        append(out_.data, more);
        return at;
    }

    [[nodiscard]] std::uint32_t relative(std::size_t at) const { return static_cast<std::uint32_t>(at - image_.start); }

    void reserve_headers() {
        out_.file_header = image_.start;
        out_.optional_header = image_.start + file_header_size;
        std::size_t at = out_.optional_header + (image_.optional_header ? optional_header_size : 0);
        for (std::size_t i = 0; i < image_.sections.size(); ++i, at += section_header_size)
            out_.section_headers.push_back(at);
        out_.data.assign(at, 0);
        std::fill_n(out_.data.begin(), image_.start, std::uint8_t{0xA5});
    }

    void write_relocs(const coff_section& section) {
        out_.relocs.push_back(out_.data.size());
        for (const coff_reloc& reloc : section.relocs) {
            add(4, reloc.vaddr);
            if (reloc.descriptor)
                out_.data.insert(out_.data.end(), reloc.descriptor->begin(), reloc.descriptor->end());
            else
                add(4, reloc.symndx);
            add(2, reloc.disp);
            add(2, reloc.type);
        }
    }

    void write_lines(const coff_section& section) {
        out_.lines.push_back(out_.data.size());
        for (const coff_line& line : section.lines) {
            add(4, line.address);
            add(2, line.line);
        }
    }

    /// Inline when it fits; else four zero bytes and an offset.
    void write_name(std::size_t part, const std::string& name, bool long_name,
                    const std::optional<std::uint32_t>& offset) {
        if (offset || long_name || name.size() > 8) {
            set(part, s_name_zero, 0);
            set(part, s_name_offset, offset ? *offset : strings_.add(name));
        } else {
            std::copy(name.begin(), name.end(), out_.data.begin() + static_cast<std::ptrdiff_t>(part));
        }
    }

    void write_symbols() {
        symbol_table_ = out_.data.size();
        for (const coff_symbol& symbol : image_.symbols) {
            const std::size_t at = place(bytes(symbol_size));
            out_.symbols.push_back(at);
            write_name(at, symbol.name, symbol.long_name, symbol.name_offset);
            set(at, sym_value, symbol.value);
            set(at, sym_scnum, static_cast<std::uint16_t>(symbol.scnum));
            set(at, sym_type, symbol.type);
            set(at, sym_sclass, symbol.sclass);
            set(at, sym_naux, symbol.naux.value_or(static_cast<std::uint8_t>(symbol.aux.size())));
            for (const coff_aux& aux : symbol.aux)
                write_aux(symbol, aux);
        }
    }

    void write_aux(const coff_symbol& symbol, const coff_aux& aux) {
        bytes entry = to_bytes(aux.text);
        entry.resize(symbol_size);
        const std::size_t at = place(entry);
        for (const coff_aux::number& number : aux.numbers)
            set(at, number.place, number.value);
        if (aux.line_index && symbol.scnum >= 1 && static_cast<std::size_t>(symbol.scnum) <= out_.lines.size()) {
            const std::size_t table = out_.lines[static_cast<std::size_t>(symbol.scnum) - 1];
            set(at, {8, 4}, relative(table + *aux.line_index * line_size));
        }
    }

    void write_headers() {
        const std::size_t at = out_.file_header;
        const std::size_t nsyms = (out_.data.size() - symbol_table_) / symbol_size;
        set(at, fh_magic, image_.magic);
        set(at, fh_nscns, image_.nscns.value_or(static_cast<std::uint16_t>(image_.sections.size())));
        set(at, fh_timdat, image_.timestamp);
        set(at, fh_symptr, image_.symptr.value_or(static_cast<std::uint32_t>(symbol_table_)));
        set(at, fh_nsyms, image_.nsyms.value_or(static_cast<std::uint32_t>(nsyms)));
        set(at, fh_opthdr, image_.opthdr.value_or(image_.optional_header ? optional_header_size : 0));
        set(at, fh_flags, image_.flags);
        set(at, fh_target_id, image_.target_id);
        if (image_.optional_header)
            write_optional_header(*image_.optional_header);
        for (std::size_t i = 0; i < image_.sections.size(); ++i)
            write_section_header(i);
    }

    void write_optional_header(const coff_optional_header& header) {
        const std::size_t at = out_.optional_header;
        set(at, ofh_magic, header.magic);
        set(at, ofh_vstamp, header.vstamp);
        set(at, ofh_tsize, header.tsize);
        set(at, ofh_dsize, header.dsize);
        set(at, ofh_bsize, header.bsize);
        set(at, ofh_entrypt, header.entrypt);
        set(at, ofh_text_start, header.text_start);
        set(at, ofh_data_start, header.data_start);
    }

    void write_section_header(std::size_t i) {
        const coff_section& section = image_.sections[i];
        const std::size_t at = out_.section_headers[i];
        const unsigned width = section.mwidth ? section.mwidth : target_width(image_.target_id);
        const auto count = [](const auto& list) { return static_cast<std::uint32_t>(list.size()); };
        const auto pointer = [this](std::size_t part, bool used) { return used ? relative(part) : 0; };
        write_name(at, section.name, section.long_name, section.name_offset);
        set(at, sh_paddr, section.paddr);
        set(at, sh_vaddr, section.vaddr.value_or(section.paddr));
        set(at, sh_size, section.size.value_or(count(section.contents) / std::max(1U, width / 8)));
        set(at, sh_scnptr, section.scnptr.value_or(pointer(out_.contents[i], !section.contents.empty())));
        set(at, sh_relptr, section.relptr.value_or(pointer(out_.relocs[i], !section.relocs.empty())));
        set(at, sh_lnnoptr, section.lnnoptr.value_or(pointer(out_.lines[i], !section.lines.empty())));
        set(at, sh_nreloc, section.nreloc.value_or(count(section.relocs)));
        set(at, sh_nlnno, section.nlnno.value_or(count(section.lines)));
        set(at, sh_flags, section.flags);
        set(at, sh_mwidth, section.mwidth);
        set(at, sh_page, section.page);
    }

    void write_strings() {
        // The string table pointer counts from the image, the symbol pointer from the stream: hence the gap.
        out_.data.resize(out_.data.size() + image_.start);
        out_.string_table = out_.data.size();
        if (!image_.string_table)
            return;
        add(4, image_.string_table_length.value_or(static_cast<std::uint32_t>(4 + strings_.text().size())));
        append(out_.data, strings_.text());
    }

    const coff_image& image_;
    built_image out_;
    string_table strings_;
    std::size_t symbol_table_ = 0;
};

}  // namespace

coff_aux aux_file(const std::string& name) {
    return {.text = name};
}

coff_aux aux_block(std::uint16_t line, std::uint32_t next) {
    return {.numbers = {{{4, 2}, line}, {{12, 4}, next}}};
}

coff_aux aux_bf(std::uint16_t line, std::uint16_t line_count, std::uint32_t register_mask, std::uint32_t frame_size,
                std::uint32_t next) {
    return {.numbers = {
                {{0, 4}, register_mask}, {{4, 2}, line}, {{6, 2}, line_count}, {{8, 4}, frame_size}, {{12, 4}, next}}};
}

coff_aux aux_end_of_tag(std::uint32_t tag, std::uint32_t size) {
    return aux_other(tag, size);
}

coff_aux aux_tag(std::uint32_t size, std::uint32_t next) {
    return {.numbers = {{{4, 4}, size}, {{12, 4}, next}}};
}

coff_aux aux_function(std::uint32_t tag, std::uint32_t size, std::uint32_t line_index, std::uint32_t next) {
    return {.numbers = {{{0, 4}, tag}, {{4, 4}, size}, {{12, 4}, next}}, .line_index = line_index};
}

coff_aux aux_array(std::uint32_t tag, std::uint32_t size, std::array<std::uint16_t, 4> dimensions) {
    coff_aux aux = aux_other(tag, size);
    for (std::size_t i = 0; i < dimensions.size(); ++i)
        aux.numbers.push_back({{8 + 2 * i, 2}, dimensions[i]});
    return aux;
}

coff_aux aux_section(std::uint32_t length, std::uint16_t nreloc, std::uint16_t nlnno) {
    return {.numbers = {{{0, 4}, length}, {{4, 2}, nreloc}, {{6, 2}, nlnno}}};
}

coff_aux aux_other(std::uint32_t tag, std::uint32_t size) {
    return {.numbers = {{{0, 4}, tag}, {{4, 4}, size}}};
}

built_image& built_image::patch(std::size_t part, field place, std::uint32_t value) {
    put_at(data, part + place.offset, place.width, value, order);
    return *this;
}

built_image coff_image::build() const {
    return image_writer(*this).write();
}

std::uint32_t coff_image::index_of(std::size_t i) const {
    std::size_t index = i;
    for (std::size_t before = 0; before < i; ++before)
        index += symbols.at(before).aux.size();
    return static_cast<std::uint32_t>(index);
}

unsigned target_width(std::uint16_t target_id) {
    if (target_id == 0x93)
        return 32;
    return target_id == 0x98 || target_id == 0x9D ? 16 : 8;
}

}  // namespace support

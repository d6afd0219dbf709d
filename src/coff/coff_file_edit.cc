// Changing a COFF file and writing it.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string_view>
#include <unordered_set>

#include "coff/coff_file.h"
#include "format/special_names.h"
#include "msg/user_msg.h"

std::int32_t COFF_FILE::write(const char* path) {
    const std::int32_t errors = UMSG.get_error_count();
    if (errors != 0)
        fh_del_flags(f_exec);  // what was built after an error must not pass for a program
    require_room();
    load_everything();  // opening empties the file, which may be the input
    require_writable();
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(std::fopen(path, "wb"), std::fclose);
    if (!output) {
        UMSG.message(USER_MSG::ERROR, "Cannot open output file '%s': %s", path, std::strerror(errno));
        return -1;
    }
    fix_headers();
    fix_sym_table();
    // A full disk may show only when the file is closed.
    if (!write_parts(output.get()) || std::fclose(output.release()) != 0) {
        UMSG.message(USER_MSG::ERROR, "Cannot write output file '%s': %s", path, std::strerror(errno));
        return -1;
    }
    return errors;
}

/// False, with errno set, as soon as the stream has failed: behind that, no position is what it should be.
bool COFF_FILE::write_parts(std::FILE* fp) {
    write_headers(fp);
    for (const auto& section : sections_) {
        if (std::ferror(fp))
            return false;
        section->write_raw_data(fp);
    }
    for (const auto& section : sections_)
        section->write_relocs(fp);
    for (const auto& section : sections_)
        section->write_lnnos(fp);
    if (std::ferror(fp))
        return false;
    symtab_.write(fp);
    write_strtab(fp);
    return !std::ferror(fp);
}

/// Ends the run if what would be written could not be read back.
void COFF_FILE::require_writable() const {
    constexpr const char* where = "COFF_FILE::write";
    if (fh_magic() != coff_version_2 || sections_.size() != fh_nscns())
        UMSG.die(where, "the headers have not been read");
    if (fh_opthdr() != 0 && fh_opthdr() != sizeof opt_hdr_)
        UMSG.die(where, "an optional header of %u bytes cannot be written", fh_opthdr());
    for (const auto& section : sections_) {
        section->require_writable();
        if (fh_nsyms() == 0 && std::strlen(section->name()) > sizeof(scnhdr::s_name))
            UMSG.die(where, "the name of section %s needs a string table, which needs a symbol", section->name());
    }
    if (symtab_.n_syms() != fh_nsyms())
        UMSG.die(where, "symbol count mismatch");
}

/// Ends the run if the file would be longer than one may be. Asks headers alone, before memory is taken for contents.
void COFF_FILE::require_room() {
    std::uint64_t end = sizeof file_hdr_ + fh_opthdr();
    for (const auto& section : sections_) {
        place(end, sizeof(scnhdr) + (section->is_bss() || !section->has_contents() ? 0 : section->byte_size()));
        place(end, std::uint64_t{section->sh_nreloc()} * sizeof(reloc));
        place(end, std::uint64_t{section->sh_nlnno()} * sizeof(lineno));
    }
    place(end, std::uint64_t{fh_nsyms()} * sizeof(syment));
    place(end, strings_to_write());
}

/// Bytes of the string table that writing will build.
std::uint64_t COFF_FILE::strings_to_write() {
    std::unordered_set<std::string_view> names;
    for (const auto& section : sections_)
        names.insert(section->name());
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(symtab_.list()))
        names.insert(symbol->name());
    std::uint64_t size = sizeof strtab_size_;
    for (const std::string_view name : names)
        size += name.size() > sizeof(scnhdr::s_name) ? name.size() + 1 : 0;
    return size;
}

/// Reads what is still only in the input: from now on its place there does not matter.
void COFF_FILE::load_everything() {
    for (const auto& section : sections_) {
        section->read_raw_data();
        section->read_lnnos();
    }
}

void COFF_FILE::write_headers(std::FILE* fp) {
    std::fwrite(&file_hdr_, sizeof file_hdr_, 1, fp);
    if (fh_opthdr() == sizeof opt_hdr_)
        std::fwrite(&opt_hdr_, sizeof opt_hdr_, 1, fp);
    for (const auto& section : sections_)
        section->write_scn_hdr(fp);
}

void COFF_FILE::write_strtab(std::FILE* fp) const {
    if (!strtab_)
        return;
    std::fwrite(&strtab_size_, sizeof strtab_size_, 1, fp);
    std::fwrite(strtab_ + sizeof strtab_size_, 1, strtab_size_ - sizeof strtab_size_, fp);
}

/// The position for a part of `size` bytes, which moves it on; 0 for none. A file pointer has 31 bits of use.
std::uint32_t COFF_FILE::place(std::uint64_t& position, std::uint64_t size) const {
    if (size == 0)
        return 0;
    const std::uint64_t here = position;
    position += size;
    if (position > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()))
        UMSG.die("COFF_FILE::fix_headers", "the file would be longer than %d bytes",
                 std::numeric_limits<std::int32_t>::max());
    return static_cast<std::uint32_t>(here);
}

void COFF_FILE::fix_headers() {
    load_everything();
    std::uint64_t position = sizeof file_hdr_ + fh_opthdr() + std::uint64_t{fh_nscns()} * sizeof(scnhdr);
    for (const auto& section : sections_) {
        const bool has_room = !section->is_bss() && section->has_contents();
        section->set_scnptr(place(position, has_room ? section->byte_size() : 0));
    }
    for (const auto& section : sections_)
        section->set_relptr(place(position, std::uint64_t{section->sh_nreloc()} * sizeof(reloc)));
    for (const auto& section : sections_)
        section->set_lnnoptr(place(position, std::uint64_t{section->sh_nlnno()} * sizeof(lineno)));
    file_hdr_.fh_symptr = fh_nsyms() >= 1 ? static_cast<std::uint32_t>(position) : 0;
    retire_strtab();
}

void COFF_FILE::fix_sym_table() {
    symtab_.update_func_lnno_ptrs();
}

std::uint32_t COFF_FILE::add_symbol(COFF_SYMBOL* symbol) {
    const std::uint32_t index = symtab_.add_symbol(symbol);
    fh_set_nsyms(fh_nsyms() + 1);
    return index;
}

void COFF_FILE::add_section(COFF_SECTION* section) {
    if (!section)
        UMSG.die("COFF_FILE::add_section", "there is no section");
    if (section->owned_)
        UMSG.die("COFF_FILE::add_section", "section %s belongs to a file already", section->name());
    if (fh_nscns() >= std::numeric_limits<std::int16_t>::max())
        UMSG.die("COFF_FILE::add_section", "no number is left for section %s", section->name());
    symtab_.make_symbols();  // by the sections that there were when they were read
    section->set_cfile(this);
    sections_.emplace_back(section)->owned_ = true;
    ++file_hdr_.fh_nscns;
    section->set_scnum(next_scnum_++);
}

void COFF_FILE::add_icode(const char* path) {
    auto image = std::make_unique<COFF_SECTION>(this);
    image->set_name(icode_section_name);
    image->read_data_image(path);
    fh_add_flags(f_icode);
    for (const auto& section : sections_)
        section->add_flag(s_icode);
    add_section(image.release());
}

void COFF_FILE::delete_section(COFF_SECTION* section) {
    const auto is_this = [section](const auto& owned) { return owned.get() == section; };
    const auto found = std::find_if(sections_.begin(), sections_.end(), is_this);
    if (!section || found == sections_.end())
        UMSG.die("COFF_FILE::delete_section", "the section does not belong to the file");
    symtab_.make_symbols();
    const std::uint16_t number = section->scnum();
    for (const auto& other : sections_)
        other->delete_symrel_relocs(static_cast<std::int16_t>(number));
    delete_symbols_of(number);
    const auto position = static_cast<std::int32_t>(found - sections_.begin());
    sections_.erase(found);
    --file_hdr_.fh_nscns;
    for (const auto& other : sections_)
        other->remap_relocs();
    lower_scnums_above(position);
    next_scnum_ = 1;
    for (const auto& other : sections_)
        other->set_scnum(next_scnum_++);
}

void COFF_FILE::delete_symbols_of(std::uint16_t scnum) {
    for (SLIST::NODE* node = symtab_.list().begin(); node; node = symtab_.list().next(node)) {
        const auto* const symbol = static_cast<const COFF_SYMBOL*>(node->data);
        if (symbol && static_cast<std::uint16_t>(symbol->scnum()) == scnum)
            symtab_.delete_node(node);
    }
    symtab_.purge();
}

/// `position` counts from 0, so exactly the numbers above that of the section that stood there are met.
void COFF_FILE::lower_scnums_above(std::int32_t position) {
    for (COFF_SYMBOL* symbol : items<COFF_SYMBOL>(symtab_.list())) {
        if (symbol->scnum() > position)
            symbol->set_scnum(static_cast<std::int16_t>(symbol->scnum() - 1));
    }
}

void COFF_FILE::remove_coff_debug() {
    symtab_.remove_debug_symbols();
    for (const auto& section : sections_) {
        section->remap_relocs();
        section->clear_lnnos();
    }
}

void COFF_FILE::clear_relocs() {
    for (const auto& section : sections_)
        section->clear_relocs();
}

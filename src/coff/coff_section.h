// One section of a COFF file: header, contents, relocations, line numbers, and a byte stream over the contents.
#ifndef MODFORGE_COFF_COFF_SECTION_H
#define MODFORGE_COFF_COFF_SECTION_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "coff/psn.h"
#include "containers/record_pool.h"
#include "containers/slist.h"
#include "format/coff_records.h"

class COFF_FILE;

/// Made by its COFF_FILE, or added to it; the file then owns it. A file must outlive its sections. Header fields are in
/// host order; sizes and addresses in address units unless said otherwise; file pointers in bytes from the start of the
/// image.
///
/// Contents and line numbers are read when first asked for. If the file does not hold them, the run ends.
class COFF_SECTION {
public:
    /// A section without a file, of 8-bit address units.
    COFF_SECTION();
    /// An empty section with the address units of the file's target; an unknown target ends the run.
    explicit COFF_SECTION(COFF_FILE* file);
    COFF_SECTION(const COFF_SECTION&) = delete;
    COFF_SECTION& operator=(const COFF_SECTION&) = delete;

    // The order of the virtual operations is fixed: new ones go to the end.
    virtual ~COFF_SECTION();

    /// Takes a header in host order, and the name that it tells.
    virtual void init_section(const scnhdr* header);

    /// Reads the relocations and forgets contents and line numbers that were read before. False after a message if the
    /// file does not hold the relocations; without an input stream the run ends.
    virtual bool read_scn();

    /// Makes the section, with 8-bit units and as a copy section, the image of the file `path`. If that cannot be opened
    /// or read, only a message is given.
    virtual void read_data_image(const char* path);

    /// Reads the contents if there are any and they are not in memory. Once they are written, the run ends.
    virtual void read_raw_data();

    // Write this section's parts, in host order. Contents and relocations that do not agree with the header end the run.
    // The contents are freed once they are written.
    virtual void write_scn_hdr(std::FILE* fp);
    virtual void write_raw_data(std::FILE* fp);
    virtual void write_relocs(std::FILE* fp);
    virtual void write_lnnos(std::FILE* fp);

    /// New contents: `size` zero bytes. Relocations and line numbers go.
    virtual void alloc_raw_data(std::uint32_t size);

    // The byte stream over the contents. Numbers are in the file's own byte order. A position, number or string that is
    // not wholly inside the contents ends the run. Positions are in bytes; but on purpose eos(), read() and write()
    // take the size in address units for a number of bytes, so they see the front of contents with wider units only.
    virtual void seek(std::uint32_t position);
    virtual std::uint32_t tell();
    virtual bool eos();
    /// On purpose the shift of a byte is twice that of the one before (7, 14, 28, 24, 16, 0, ...), so only numbers of up
    /// to three bytes come out as they were written.
    virtual std::uint32_t ULEB128_read();
    virtual std::int32_t SLEB128_read();
    virtual std::uint32_t UINT32_read();
    virtual std::uint16_t UINT16_read();
    virtual std::uint8_t UINT8_read();
    /// A string inside the contents; it stays the section's.
    virtual char* string_read();
    /// Copies up to `size` bytes and gives how many there were.
    virtual std::uint32_t read(unsigned char* buffer, std::uint32_t size);
    virtual void ULEB128_write(std::uint32_t value);
    virtual void SLEB128_write(std::int32_t value);
    virtual void UINT32_write(std::uint32_t value);
    virtual void UINT16_write(std::uint16_t value);
    virtual void UINT8_write(std::uint8_t value);
    /// Writes the NUL, too.
    virtual void string_write(const char* text);
    virtual std::uint32_t write(const unsigned char* buffer, std::uint32_t size);

    virtual const char* name() const { return name_; }
    /// The order of the file's object code; false without a file.
    virtual bool is_big_e() const;
    virtual bool is_bss() const { return (header_.s_flags & s_bss) != 0; }
    /// Wraps at 2^32; byte_size() does not.
    virtual std::uint32_t size_in_bytes() const { return static_cast<std::uint32_t>(byte_size()); }
    virtual std::uint32_t size_in_words() const { return header_.s_size; }
    /// From 1, in the order of the file.
    virtual std::uint16_t scnum() const { return scnum_; }
    /// Index of the symbol that stands for this section; the symbol is made if there is none.
    virtual std::uint32_t symndx();
    /// Appends lineno_slot pointers, which stay the section's: `count` + 1 of them from file pointer `lnnoptr` on, as far
    /// as they lie in the table.
    virtual void lnno_list(SLIST* list, std::uint32_t lnnoptr, std::uint32_t count);
    /// The source position of an address; the caller's to delete. Null if the section does not hold the address or
    /// nothing is known about it.
    virtual PSN* get_source_psn(std::uint32_t address);
    /// The contents, byte_size() bytes, still the section's own; null if it has none.
    virtual unsigned char* raw_data();
    /// Bits per address unit.
    virtual std::uint16_t wordsz() const { return width_; }
    virtual std::uint32_t sh_paddr() const { return header_.s_paddr; }
    virtual std::uint32_t sh_vaddr() const { return header_.s_vaddr; }
    virtual std::uint32_t sh_scnptr() const { return header_.s_scnptr; }
    virtual std::uint32_t sh_relptr() const { return header_.s_relptr; }
    virtual std::uint32_t sh_lnnoptr() const { return header_.s_lnnoptr; }
    virtual std::uint32_t sh_nreloc() const { return header_.s_nreloc; }
    virtual std::uint32_t sh_nlnno() const { return header_.s_nlnno; }
    virtual std::uint32_t sh_flags() const { return header_.s_flags; }
    /// The width byte of the header, as read: 0 for the target's default. See wordsz().
    virtual std::uint8_t sh_mwidth() const { return header_.s_mwidth; }
    virtual std::uint16_t sh_page() const { return header_.s_page; }

    // Listings: of one line number or relocation (from 0), and of the section with all that it has. The XML ones give
    // one element each.
    virtual void dump_linenos(int index, std::FILE* out);
    virtual void dump_reloc(int index, std::FILE* out);
    virtual const char* reloc_name(int type) const;
    virtual void dump(std::FILE* out);
    virtual void dump_linenos_xml(int index, std::FILE* out);
    virtual void dump_reloc_xml(int index, std::FILE* out);
    virtual void dump_xml(std::FILE* out);

    virtual void set_scnptr(std::uint32_t pointer) { header_.s_scnptr = pointer; }
    virtual void set_relptr(std::uint32_t pointer) { header_.s_relptr = pointer; }
    virtual void set_lnnoptr(std::uint32_t pointer);
    /// Binds the section to a file, or to none; adding it is another matter. Contents, line numbers and name that still
    /// lie in the file that it leaves come along.
    virtual void set_cfile(COFF_FILE* file);
    /// Takes a copy.
    virtual void set_name(const char* name);
    /// Bits per address unit; the header's width byte follows when it is written.
    virtual void set_mwidth(std::uint8_t width) { width_ = width; }
    virtual void set_scnum(std::uint16_t number) { scnum_ = number; }
    virtual void add_flag(std::uint32_t flag) { header_.s_flags |= flag; }
    virtual void del_flag(std::uint32_t flag) { header_.s_flags &= ~flag; }

    /// The first relocation at an address, of any type if `type` is 0; null if there is none. Exact while the list is
    /// sorted by address.
    virtual SLIST::NODE* find_reloc(std::uint32_t address, std::uint16_t type);
    virtual SLIST::NODE* first_reloc() { return relocs().begin(); }
    /// Appends a copy and counts it.
    virtual void add_reloc(const reloc* entry);
    virtual void clear_relocs();
    virtual void clear_lnnos();
    /// After COFF_SYMBOL_TABLE::purge(): symbol indices become the new ones. One that has no new one ends the run.
    virtual void remap_relocs();
    /// Drops the relocations whose symbol is in section `scnum`. One whose symbol does not exist stays.
    virtual void delete_symrel_relocs(std::int16_t scnum);
    /// The relocations (reloc*, in host order, the section's own) in the order of the file.
    virtual SLIST* get_reloc_list() { return &relocs(); }

    /// Orders relocations (null ones first) by address, as a signed number; types do not matter.
    static int reloc_cmp(const void* a, const void* b);

    // The encodings of the stream on plain bytes; each gives the place behind what it took or put. Nothing checks where
    // the bytes end. The readers may be given a null result, and then only skip.
    static const unsigned char* ULEB128_read(const unsigned char* from, std::uint32_t* result);
    static const unsigned char* SLEB128_read(const unsigned char* from, std::int32_t* result);
    static const unsigned char* UINT32_read(const unsigned char* from, std::uint32_t* result, bool big_endian);
    static const unsigned char* UINT16_read(const unsigned char* from, std::uint16_t* result, bool big_endian);
    static const unsigned char* UINT8_read(const unsigned char* from, std::uint8_t* result);
    static const unsigned char* string_read(const unsigned char* from, const char** result);
    static unsigned char* ULEB128_write(unsigned char* to, std::uint32_t value);
    static unsigned char* SLEB128_write(unsigned char* to, std::int32_t value);
    static unsigned char* UINT32_write(unsigned char* to, std::uint32_t value, bool big_endian);
    static unsigned char* UINT16_write(unsigned char* to, std::uint16_t value, bool big_endian);
    static unsigned char* UINT8_write(unsigned char* to, std::uint8_t value);
    static unsigned char* string_write(unsigned char* to, const char* text);
    /// The number of bytes that an encoded number takes.
    static std::uint32_t ULEB128_size(std::uint32_t value);
    static std::uint32_t SLEB128_size(std::int32_t value);

    /// Size of the contents in bytes, in full.
    std::uint64_t byte_size() const {
        return std::uint64_t{header_.s_size} * (static_cast<std::uint32_t>(width_) >> 3);
    }
    /// Whether the name is one that debuggers' sections have.
    bool is_debug_section() const;
    /// Whether there are contents, in memory or in the file.
    bool has_contents() const;
    /// Whether the file holds the relocations that the header tells of; a message if not, or if there is no file.
    [[nodiscard]] bool relocs_in_file() const;
    /// The relocations as they were read, in host order, side by side. For whoever walks over all of them and needs no
    /// list, which is made only when it is asked for.
    [[nodiscard]] std::span<const reloc> relocs_read() const { return read_relocs_; }
    /// Calls `visit(const reloc&)` for every relocation in order, and makes no list for it.
    template <typename VISIT> void for_each_reloc(VISIT visit) const {
        if (reloc_list_) {
            for (const reloc* entry : items<reloc>(relocs()))
                visit(*entry);
        } else {
            for (const reloc& entry : read_relocs_)
                visit(entry);
        }
    }
    /// Gives them away to be changed; the section has no relocations afterwards. Their place stays the section's, until it
    /// reads or clears its relocations, or its file reads another time.
    [[nodiscard]] std::span<reloc> take_relocs();
    /// Whether the file holds the contents, or line numbers, that are not in memory yet; nothing is said.
    [[nodiscard]] bool contents_in_file() const;
    [[nodiscard]] bool lnnos_in_file() const;
    /// Where contents that are not in memory begin in the stream, bytes. If the file does not hold them, the run ends.
    [[nodiscard]] std::int64_t contents_position() const;
    /// Ends the run: what contents_position() told of could not be read.
    [[noreturn]] void end_on_unread_contents() const;
    /// Reads the line numbers if they are not in memory.
    void read_lnnos();
    /// Line number `index` (from 0); null past the end.
    const lineno_slot* lnno(std::uint32_t index);

    // What listings show. Contents and line numbers that are not in memory pass by in pieces; if the file does not give
    // what it holds, the run ends.

    /// The name with its length.
    [[nodiscard]] std::string_view title() const;
    /// Whether contents are listed: there are some, and the file holds them.
    [[nodiscard]] bool lists_contents() const;
    /// Calls `visit` with the place of each piece in the contents, bytes, and what is there: a multiple of 32 bytes, but
    /// for the last.
    void visit_contents(const std::function<void(std::uint32_t, std::span<const unsigned char>)>& visit);
    /// Calls `visit` for every line number that the file holds.
    void visit_lines(const std::function<void(const lineno&)>& visit);
    /// Keeps out of listings what overlaps so far that they would be many times as long as the file.
    void unlist_contents() { contents_unlisted_ = true; }
    void unlist_lines() { lines_unlisted_ = true; }

    // The parts of dump(). What the file does not hold is named as missing.
    void dump_header(std::FILE* out) const;
    void dump_contents(std::FILE* out);
    void dump_relocs(std::FILE* out) const;
    void dump_lines(std::FILE* out);

private:
    friend class COFF_FILE;

    /// What most sections of most runs never need.
    struct reloc_list {
        SLIST nodes;  ///< of `listed` read_relocs_, and of all that were added
        std::uint32_t listed = 0;
        record_pool<reloc> added;
    };

    void decode_relocs(std::uint32_t count);
    SLIST& relocs() const;
    void move_lnnos(std::uint32_t pointer);
    void leave_file();
    void forget_relocs();
    void require_writable() const;
    [[noreturn]] void end_on_unread_lines() const;
    void require_all_relocs() const;
    void require_all_contents() const;
    void encode_name();
    std::uint32_t stream_end() const;
    std::uint32_t left(const char* where) const;
    unsigned char* room(const char* where, std::uint32_t size);
    unsigned char* encoded_number(const char* where);
    void advance_to(const unsigned char* place);

    // In an order that leaves no gaps: a file may have tens of thousands of sections.
    COFF_FILE* file_ = nullptr;
    const char* name_ = "";  ///< in short_name_, in own_name_ or in the file's string table
    std::unique_ptr<unsigned char[]> raw_data_;
    scnhdr header_{};
    std::unique_ptr<lineno_slot[]> lnnos_;
    std::span<reloc> read_relocs_;                    ///< in own_relocs_, or in the file's table
    std::unique_ptr<reloc[]> own_relocs_;             ///< of a section that was read by itself
    mutable std::unique_ptr<reloc_list> reloc_list_;  ///< null until it is asked for; see relocs()
    std::unique_ptr<char[]> own_name_;                ///< that set_name() was given
    std::uint32_t cursor_ = 0;                        ///< bytes from the start of the contents
    std::uint32_t raw_size_ = 0;  ///< bytes of raw_data_, which a later change of width or flags does not change
    std::uint32_t symndx_ = 0;    ///< 0: not known
    std::uint16_t width_ = 8;
    std::uint16_t scnum_ = 0;
    bool written_ = false;
    bool contents_unlisted_ = false;
    bool lines_unlisted_ = false;
    bool owned_ = false;    ///< by its file, which deletes it
    bool in_room_ = false;  ///< which its file has for the sections that it reads
    char short_name_[sizeof(scnhdr::s_name) + 1];
};

#endif

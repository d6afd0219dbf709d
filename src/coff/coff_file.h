// One COFF version-2 file: its headers, sections, symbols and strings, read into memory in host byte order.
//
// Reading takes the headers, symbols and relocations; contents and line numbers of a section are read when they are
// asked for. A file can also be changed and written back, always in host byte order.
#ifndef MODFORGE_COFF_COFF_FILE_H
#define MODFORGE_COFF_COFF_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "coff/coff_section.h"
#include "coff/coff_symbol_table.h"
#include "coff/input_window.h"
#include "format/coff_records.h"

/// Faults of the file that is read are reported through UMSG. Those that a caller can survive make read() fail; a file
/// that contradicts itself further in (symbol table or string table cut short, contents not there) ends the run.
class COFF_FILE {
public:
    /// An object without a file; read() follows. Unless `any_target`, only files with target id 0 are accepted.
    explicit COFF_FILE(bool any_target);
    /// An object on an open stream, which stays the caller's and must outlive it.
    COFF_FILE(std::FILE* fp, bool any_target);
    COFF_FILE(const COFF_FILE&) = delete;
    COFF_FILE& operator=(const COFF_FILE&) = delete;

    // The order of the virtual operations is fixed: new ones go to the end.
    virtual ~COFF_FILE();

    /// Opens and reads a file, or reads from the current position of a stream. 0 if all went well, else a message has
    /// been given. The flag has no effect. Section numbers of a second read go on where the first ended.
    [[nodiscard]] virtual int read(const char* path, bool flag);
    [[nodiscard]] virtual int read(std::FILE* fp, bool flag);

    /// Writes a whole file; the one that was read may be overwritten. Gives the number of errors reported so far (by
    /// anyone, and then the file is not marked executable), or -1 after a message if it cannot be opened or written; what
    /// was written of it stays. A failure within the symbols ends the run. So does, before the file is opened, what could
    /// not be read back: parts that do not agree with their headers, an optional header of another size than 28, a file
    /// beyond 2^31 - 1 bytes, or a section name of more than 8 characters without any symbol, since the strings lie
    /// behind the symbols. Afterwards the contents of the sections are gone.
    virtual std::int32_t write(const char* path);

    /// Steps of read(): all headers; the file header and optional header, from the start of the image; section header
    /// number `index` (from 0), from the current position of the stream. True on success; without a stream the run ends.
    /// Sections in front of `index` whose headers have not been read are empty ones until then.
    virtual bool read_headers();
    virtual bool read_file_hdr();
    virtual bool read_section_hdr(int index);

    /// Steps of write(): lay out the file and drop the string table, which writing builds anew; then move the line-number
    /// pointers of function symbols along.
    virtual void fix_headers();
    virtual void fix_sym_table();

    /// Appends a section ".icode" that holds the whole file `path`, and marks the file and all older sections.
    virtual void add_icode(const char* path);
    /// Appends a section, which is this file's from now on, and numbers it. One that a file owns already ends the run.
    virtual void add_section(COFF_SECTION* section);
    /// Destroys a section of this file with its symbols and all relocations that refer to them; those behind it move up.
    virtual void delete_section(COFF_SECTION* section);
    /// Drops debugging symbols and line numbers.
    virtual void remove_coff_debug();
    virtual void clear_relocs();

    /// Measures the stream. False after a message if it cannot be sought in or read, or is longer than 2^31 - 1 bytes.
    virtual bool set_file_length(std::FILE* fp);

    /// Whether any section name begins with ".debug_".
    virtual bool contains_dwarf_info() const;

    /// Section `number`, from 1, or the first one of a name; null if there is none.
    virtual COFF_SECTION* get_section(std::int16_t number) const;
    virtual COFF_SECTION* get_section(const char* name) const;
    virtual COFF_SECTION* find_icode_sect() const;

    /// Whether the object code is most significant byte first.
    virtual bool is_big_e() const { return big_endian_; }

    // Fields of the file header.
    virtual std::uint16_t fh_magic() const { return file_hdr_.fh_magic; }
    virtual std::uint16_t fh_nscns() const { return file_hdr_.fh_nscns; }
    virtual std::uint32_t fh_timdat() const { return file_hdr_.fh_timdat; }
    virtual std::int32_t fh_symptr() const { return static_cast<std::int32_t>(file_hdr_.fh_symptr); }
    virtual std::uint32_t fh_nsyms() const { return file_hdr_.fh_nsyms; }
    virtual std::uint16_t fh_opthdr() const { return file_hdr_.fh_opthdr; }
    virtual std::uint16_t fh_flags() const { return file_hdr_.fh_flags; }
    virtual std::uint16_t fh_target_id() const { return file_hdr_.fh_target_id; }
    virtual void fh_set_nsyms(std::uint32_t count) { file_hdr_.fh_nsyms = count; }
    /// Set or clear flags; give all flags as they are now.
    virtual std::uint16_t fh_add_flags(std::uint16_t flags);
    virtual std::uint16_t fh_del_flags(std::uint16_t flags);

    // Fields of the optional header: -1 if fh_opthdr() is 0. On purpose they are 0, not -1, if it has another size than
    // 28, which is never read.
    virtual std::int32_t ofh_magic() const;
    virtual std::int32_t ofh_vstamp() const;
    virtual std::int32_t ofh_tsize() const;
    virtual std::int32_t ofh_dsize() const;
    virtual std::int32_t ofh_bsize() const;
    virtual std::uint32_t ofh_entrypt() const;
    virtual std::int32_t ofh_text_start() const;
    virtual std::int32_t ofh_data_start() const;

    /// The string at `offset` of the string table, which is loaded on the first call. Strings loaded from the input live
    /// as long as this object, others until the next add_string() or fix_headers(). A table or offset that is not sound
    /// ends the run.
    virtual const char* string(std::uint32_t offset);
    /// The offset of a string in the table to be written. Equal strings that were added share one.
    virtual std::uint32_t add_string(const char* text);

    // Listings, as text and as XML. The XML ones give one element, without a declaration.
    virtual void dump(std::FILE* out);
    virtual void dump_strings(std::FILE* out);
    virtual void dump_xml(std::FILE* out);
    virtual void dump_strings_xml(std::FILE* out);

    virtual COFF_SYMBOL_TABLE* symbol_table() { return &symtab_; }
    /// Appends a symbol, which is the symbol table's from now on. On purpose fh_nsyms() counts it once more than
    /// COFF_SYMBOL_TABLE::add_symbol() does, so the count must be set before a write.
    virtual std::uint32_t add_symbol(COFF_SYMBOL* symbol);

    /// Reads only the headers. The object is the caller's; null after a message if they are not sound.
    static COFF_FILE* coff_init(std::FILE* fp, bool any_target);

    /// Exchange the bytes in place and give the new value.
    static std::uint16_t swap2(std::uint16_t* value);
    static std::uint32_t swap4(std::uint32_t* value);

    // What sections and symbols need to know of their file.

    std::FILE* stream() const { return fp_; }
    /// The path, or words in its place for a file that was read from a stream.
    const char* label() const { return file_name_ ? file_name_->c_str() : "the specified file"; }
    /// Other words for a file that is read from a stream.
    void set_label(const char* words) { file_name_ = std::make_unique<std::string>(words); }
    std::int32_t file_length() const { return file_length_; }
    /// Where the image begins in the stream, bytes.
    std::int32_t image_start() const { return file_start_; }
    bool byte_swapped() const { return byte_swapped_; }
    /// Whether `size` bytes from `position` of the stream on lie inside it.
    bool holds(std::int64_t position, std::uint64_t size) const;
    /// Reads `size` bytes from `position` of the stream, which stays where it is; false if it ends too soon.
    [[nodiscard]] bool read_at(std::int64_t position, void* buffer, std::size_t size);
    /// Reads `size` bytes from where the stream stands; false if it ends too soon.
    [[nodiscard]] bool read_next(void* buffer, std::size_t size);
    /// Whether the system has ever not given what lies inside the file: then what was found missing says nothing of it.
    [[nodiscard]] bool reading_failed() const { return failed_ || window_.failed(); }
    /// `size` bytes of a section's contents as they lie in the file, without a copy, as input_window::view().
    const unsigned char* contents_at(std::int64_t position, std::size_t size, std::size_t ahead);
    /// The name that a string-table offset in a section or symbol stands for: empty for 0, without needing the table.
    const char* long_name(std::uint32_t offset) { return offset ? string(offset) : ""; }
    /// Whether long_name() would give one, without a word.
    bool has_long_name(std::uint32_t offset) { return offset == 0 || (try_load_strings() && holds_string(offset)); }
    /// A name that a section or symbol of this file gave, with its length: millions may end in the same long string, so
    /// that is not counted anew for each.
    std::string_view text_of(const char* name) const;
    /// Bytes of the string table, length word included: in use, and until it has to grow. 0 while there is none.
    std::uint32_t strtab_size() const { return strtab_size_; }
    std::uint32_t strtab_capacity() const { return strtab_capacity_; }
    /// The string table, length word included; empty while there is none. As string() says of its life.
    std::string_view strtab_bytes() const { return strtab_ ? std::string_view(strtab_, strtab_size_) : ""; }
    /// Loads the string table if the input holds a sound one. False, without a word, if not.
    bool try_load_strings();

    /// How many characters of a name listings show before they cut it and say its length: as many as there are, unless
    /// this was called. Then so many that names of that length in every line there is keep in proportion to the file.
    void bound_names();
    static std::size_t longest_name(const COFF_FILE* file) { return file ? file->longest_name_ : SIZE_MAX; }
    /// Lets relocation tables take no more than the file has bytes, as they do unless they overlap. Without this they may
    /// take some times as much.
    void refuse_overlaps() { overlaps_refused_ = true; }
    /// What the relocation tables of all sections may take, bytes.
    std::uint64_t most_relocation_bytes() const;

    /// The `count` relocations at `position` as they lie in the file; null if it does not give them. They stay the file's,
    /// until it reads another time, or become `own`.
    reloc* read_relocs(std::int64_t position, std::uint32_t count, std::unique_ptr<reloc[]>& own);

    /// The first part of dump(): file header and optional header.
    void dump_header(std::FILE* out) const;

private:
    void close_input();
    struct section_deleter {
        void operator()(COFF_SECTION* section) const;
    };
    using owned_section = std::unique_ptr<COFF_SECTION, section_deleter>;
    struct stream_part {  // bytes from the start of the stream
        std::int64_t begin = 0;
        std::int64_t end = 0;
    };

    owned_section new_section(scnhdr header, void* place);
    bool read_section_hdrs();
    bool prepare_relocs();
    bool read_mixed_part(std::uint64_t relocs_size);
    stream_part part_of_sections() const;
    bool holds_string(std::uint32_t offset) const;
    void note_string_ends() const;
    const char* strtab_fault(std::uint32_t& length);
    [[noreturn]] void end_on_bad_strings(const char* fault);
    void load_strtab();
    void read_strtab(std::uint32_t length);
    void retire_strtab();
    void load_everything();
    void require_writable() const;
    void require_room();
    std::uint64_t strings_to_write();
    bool write_parts(std::FILE* fp);
    void delete_symbols_of(std::uint16_t scnum);
    void lower_scnums_above(std::int32_t position);
    std::uint32_t place(std::uint64_t& position, std::uint64_t size) const;
    void write_headers(std::FILE* fp);
    void write_strtab(std::FILE* fp) const;

    std::unique_ptr<std::string> file_name_;  ///< null if read from a stream
    std::FILE* fp_ = nullptr;
    std::int32_t file_length_ = -1;  ///< bytes; -1: not measured
    std::int32_t file_start_ = 0;
    bool own_fp_ = false;
    bool big_endian_ = false;
    bool byte_swapped_ = false;  ///< file order is the opposite of the host's
    filehdr file_hdr_{};
    opthdr opt_hdr_{};
    /// Room for the sections and relocations that are read, side by side: there may be tens of thousands of small ones.
    std::unique_ptr<std::byte[]> section_room_;
    std::unique_ptr<reloc[]> reloc_room_;
    std::span<reloc> free_reloc_room_;  ///< while read() has sections to read
    /// All that the sections have in the file, if it was read in one piece.
    std::unique_ptr<std::byte[]> mixed_bytes_;
    stream_part mixed_part_;
    bool relocs_untouched_ = false;  ///< they lie in it as in the file
    std::vector<owned_section> sections_;
    COFF_SYMBOL_TABLE symtab_;
    std::uint32_t strtab_size_ = 0;
    std::uint32_t strtab_capacity_ = 0;
    const char* strtab_ = nullptr;  ///< the table in use; its first four bytes stand for the length word; null: none
    /// Offset of each text that was added. Keys are copies: the callers' texts may die. Not an SHASH, whose buckets would
    /// be sorted anew for every one of tens of thousands of names.
    std::unordered_map<std::string, std::uint32_t> string_hash_;
    std::uint16_t next_scnum_ = 1;
    bool any_target_ = false;
    bool failed_ = false;  ///< a read of the stream, or a search in it
    bool overlaps_refused_ = false;
    std::size_t longest_name_ = SIZE_MAX;

    std::int64_t strtab_position_ = 0;  ///< in the input, fixed when the headers are read; moved headers do not move it
    std::uint32_t strtab_last_nul_ = 0;                   ///< a string that begins behind it does not end
    std::vector<std::unique_ptr<char[]>> input_strtabs_;  ///< those that were read: names point into them
    std::vector<char> new_strtab_;                        ///< the one to be written
    /// Where the string ends that goes on from each stretch of `ends_noted_`; for text_of().
    mutable std::vector<std::uint32_t> string_ends_;
    mutable std::string_view ends_noted_;
    input_window window_;
};

#endif

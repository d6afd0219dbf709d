// One symbol of a COFF file with its auxiliary entry.
#ifndef MODFORGE_COFF_COFF_SYMBOL_H
#define MODFORGE_COFF_COFF_SYMBOL_H

#include <cstdint>
#include <cstdio>
#include <memory>

#include "containers/record_pool.h"
#include "containers/slist.h"
#include "format/coff_records.h"

class COFF_FILE;
class COFF_SYMBOL_TABLE;

/// Where a symbol table keeps what would cost its symbols an allocation each. Lives until the table is reset.
struct symbol_storage {
    struct short_name {
        char text[9];
    };
    record_pool<short_name> names;
    record_pool<auxent> auxiliaries;
};

/// All values are in host order. A symbol that was read from a file must not outlive it; name and auxiliary entry are
/// the file's then, those of a copy() its own. A field of the auxiliary entry is 0 if there is no such entry.
class COFF_SYMBOL {
public:
    COFF_SYMBOL() = default;
    COFF_SYMBOL(const COFF_SYMBOL&) = delete;
    /// Shares name and auxiliary entry with the other symbol: what is changed in one's entry changes in both.
    COFF_SYMBOL& operator=(const COFF_SYMBOL& other);

    // The order of the virtual operations is fixed: new ones go to the end.
    virtual ~COFF_SYMBOL();

    /// A symbol with a name and an auxiliary entry of its own; the caller's, until add_symbol() takes it.
    virtual COFF_SYMBOL* copy() const;

    /// Reads an entry and its auxiliary entry from the current position of the file's stream. If they are cut short,
    /// the run ends.
    virtual void read(COFF_FILE* file, std::uint32_t index);
    /// Writes them in host order; a failure ends the run.
    virtual void write(std::FILE* fp);

    /// The table of the file; a symbol without a file ends the run.
    virtual COFF_SYMBOL_TABLE* symbol_table() const;

    virtual const char* name() const { return name_; }
    /// Bytes in the file, auxiliary entry included.
    virtual std::uint32_t size() const {
        return static_cast<std::uint32_t>(sizeof(syment) + (has_aux() ? aux_size : 0));
    }
    virtual bool has_aux() const { return entry_.n_numaux > 0; }
    /// The index in the symbol table, auxiliary entries counted.
    virtual std::uint32_t coff_index() const { return coff_index_; }
    virtual std::int32_t value() const { return entry_.n_value; }
    virtual std::int16_t scnum() const { return entry_.n_scnum; }
    virtual void set_scnum(std::int16_t number) { entry_.n_scnum = number; }
    virtual std::uint16_t stype() const { return entry_.n_type; }
    virtual int sclass() const { return entry_.n_sclass; }
    /// Whether it may stand for a section. On purpose classes count that share their low four bits with C_STAT.
    virtual bool is_section_sym() const;

    // Fields of the auxiliary entry. sym_size(), func_size() and tag_size() are three names for one.
    virtual std::uint32_t sym_size() const { return aux_word(aux_entry_size); }
    virtual std::uint32_t sym_tag_index() const { return aux_word(aux_tag_index); }
    virtual std::uint32_t func_lnnoptr() const { return aux_word(aux_lnnoptr); }

    // Of a function, from the auxiliary entry of its ".bf" symbol: first source line, number of lines, saved registers,
    // frame size. A function without that symbol ends the run.
    virtual std::uint16_t func_lnno() const;
    virtual std::uint16_t func_lcnt() const;
    /// Appends the function's lineno_slot pointers, which stay its section's.
    virtual void func_lnnos(SLIST* list) const;
    virtual std::uint32_t func_size() const { return aux_word(aux_entry_size); }
    virtual std::uint32_t func_regmask() const;
    virtual std::uint32_t func_framesize() const;
    /// The node of the first symbol behind the function; null if no symbol has that index.
    virtual SLIST::NODE* func_skip() const;
    /// Makes the line-number pointer follow the line numbers of the symbol's section.
    virtual void func_update_lnnoptr();
    /// The function's ".bf" symbol: the first one behind it whose value is at most 31 below the function's. Its value
    /// becomes the function's.
    virtual COFF_SYMBOL* func_bf_sym() const;

    virtual std::uint32_t tag_size() const { return aux_word(aux_entry_size); }
    /// The nodes of the first symbol behind a tag's members, and behind a block.
    virtual SLIST::NODE* tag_skip() const;
    /// Dimension `i`, 0 to 3, of an array; any other ends the run.
    virtual std::uint16_t array_dim(int i) const;
    virtual SLIST::NODE* block_skip() const;

    /// "index (name)" for a reference to the symbol `index`; only the index if it belongs to no symbol and, on purpose,
    /// if this symbol's own index is 0. The text lives until the next call for any symbol.
    virtual const char* ref_name(std::int32_t index) const;

    /// List what the auxiliary entry of `symbol` holds.
    virtual void dump_aux(const COFF_SYMBOL* symbol, std::FILE* out) const;
    virtual void dump_aux_xml(const COFF_SYMBOL* symbol, std::FILE* out) const;

    /// Orders symbols (null ones first) by their index.
    static int cmp(const void* a, const void* b);

    /// Whether the type is that of a function and the symbol no type definition.
    bool is_function() const;
    /// Meaningless without an auxiliary entry.
    aux_form form() const;
    /// The auxiliary entry, null if there is none.
    const auxent* aux() const { return aux_; }
    /// First line-number entry of a function, counted from its section's first.
    std::int32_t lnno_index() const { return lnno_index_; }

private:
    friend class COFF_SYMBOL_TABLE;

    void load(COFF_FILE* file, std::uint32_t index, const syment& entry, symbol_storage* storage);
    void load_aux(const unsigned char* bytes, bool swap, symbol_storage* storage);
    void take_name(symbol_storage* storage);
    void set_own_name(const char* text, std::size_t length);
    void set_own_aux(const auxent& entry);
    void move_to(COFF_FILE* file);
    void find_first_lnno();
    void encode_name();
    std::uint32_t aux_word(std::size_t offset) const { return aux_ ? aux_->word(offset) : 0; }

    std::uint32_t coff_index_ = 0;
    const char* name_ = "";  ///< in the string table, in a symbol_storage or in own_name_
    COFF_FILE* file_ = nullptr;
    syment entry_{};
    auxent* aux_ = nullptr;  ///< in a symbol_storage or in own_aux_
    std::int32_t lnno_index_ = 0;

    std::shared_ptr<const char[]> own_name_;
    std::shared_ptr<auxent> own_aux_;
    COFF_SYMBOL_TABLE* table_ = nullptr;  ///< the table that owns this symbol
};

#endif

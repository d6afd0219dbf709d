// The symbols of a COFF file, in its order.
#ifndef MODFORGE_COFF_COFF_SYMBOL_TABLE_H
#define MODFORGE_COFF_COFF_SYMBOL_TABLE_H

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "coff/coff_debug.h"
#include "coff/coff_symbol.h"
#include "coff/symbol_view.h"
#include "containers/record_pool.h"
#include "containers/shash.h"
#include "containers/slist.h"

class COFF_FILE;
class COFF_SECTION;

/// Owns its symbols; a symbol that is deleted leaves an empty node behind, which every walk skips until purge(), and its
/// name lives on, since records of functions may point to it. Indices count auxiliary entries.
class COFF_SYMBOL_TABLE {
public:
    COFF_SYMBOL_TABLE();
    COFF_SYMBOL_TABLE(const COFF_SYMBOL_TABLE&) = delete;
    COFF_SYMBOL_TABLE& operator=(const COFF_SYMBOL_TABLE&) = delete;

    // The order of the virtual operations is fixed: new ones go to the end.
    virtual ~COFF_SYMBOL_TABLE();

    /// Appends the symbols of the file whose headers have been read. If the table is cut short, the run ends.
    virtual void read(COFF_FILE* file);
    /// Writes all symbols, in host order; long names go to the file's string table. A failure ends the run.
    virtual void write(std::FILE* fp);

    /// Appends the symbol that stands for a section and gives its index.
    virtual std::uint32_t add_section_symbol(COFF_SECTION* section);
    /// Brings that symbol up to date with the section.
    virtual void update_section_symbol(COFF_SECTION* section);
    /// Deletes tags with their members, marks of functions with what they span, and type definitions; then purges.
    virtual void remove_debug_symbols();
    /// Makes all functions follow the line numbers of their sections.
    virtual void update_func_lnno_ptrs();

    /// Appends a symbol, which is the table's and its file's from now on whatever file it was read from, and counts it in
    /// the file's fh_nsyms. Gives its index. One that belongs to a table already ends the run.
    virtual std::uint32_t add_symbol(COFF_SYMBOL* symbol);
    /// Deletes the symbol that has this one's index, if any.
    virtual void delete_symbol(COFF_SYMBOL* symbol);
    /// Drops the empty nodes, numbers the symbols anew without gaps, and counts them in the file's fh_nsyms.
    virtual void purge();

    /// Bytes of the table in a file.
    virtual std::uint32_t size() const { return n_syms() * std::uint32_t{sizeof(syment)}; }
    /// Entries, auxiliary ones included.
    virtual std::uint32_t n_syms() const;
    /// After purge(): the index of the symbol that had the index `old`. One that no symbol had ends the run.
    virtual std::uint32_t new_index(std::uint32_t old);

    /// The name of the last source file at or before a symbol; null if there is none.
    virtual const char* find_source_file(const COFF_SYMBOL* symbol);
    /// The node of the function that holds an address, or of the symbol with an index; null if there is none.
    virtual SLIST::NODE* find_func_sym(std::uint32_t address);
    virtual SLIST::NODE* find_sym(std::uint32_t index);
    /// Nodes hold COFF_SYMBOL*; go on with node->mylist()->next(node).
    virtual SLIST::NODE* first_sym() const { return list().begin(); }

    virtual void dump(std::FILE* out);
    virtual void dump_xml(std::FILE* out);
    /// "C_EXT" and so on; "INVALID STORAGE CLASS" for any other value.
    virtual const char* sclass_name(std::int8_t sclass) const;

    /// Destroys everything; the table is as new.
    void reset();

    const SLIST& symbols() const { return list(); }
    /// COFF_DEBUG::FUNCTION records of all functions that were read, in order.
    const SLIST& functions() const {
        list();
        return *functions_;
    }
    /// Calls `visit(const symbol_view&)` for every symbol of the file that was read last, as it was read, in order. Whoever
    /// needs no more spares the making of the objects, which is done when one of them is first asked for.
    template <typename VISIT> void visit_read(VISIT visit) const {
        for (std::uint32_t k = 0; k < read_.entries;) {
            const symbol_view symbol(read_.symbol(k), read_.first_index + k, read_.strings);
            visit(symbol);
            k += symbol.has_aux() ? 2 : 1;
        }
    }
    /// Calls `visit` for every symbol in order. Those that no object was asked for yet are made for their visit only: there
    /// may be millions.
    void for_each_symbol(const std::function<void(const COFF_SYMBOL&)>& visit) const;
    /// The name of the symbol with an index, null if there is none. Lives until the next call, or change. Makes no objects.
    const char* name_of(std::uint32_t index);
    /// As read(), of a table that is damaged: takes what the file holds of it. A name that is not there becomes empty after
    /// `bad_name` was told its offset.
    void read_damaged(COFF_FILE* file, const std::function<void(std::uint32_t)>& bad_name);
    /// Makes the objects of what was read, as its file is now. Called before anything that they depend on changes.
    void make_symbols();
    /// If the symbol table of the file is cut short, ends the run with the same message as read().
    static void require_whole_table(COFF_FILE* file);

private:
    /// The table as it lies in the file: whole, or the run has ended. Symbols are in host order, auxiliary entries, whose
    /// order depends on the symbol, as they were read.
    struct read_table {
        std::unique_ptr<unsigned char[]> bytes;
        std::uint32_t entries = 0;  ///< the last auxiliary entry included, even if the file's count leaves it out
        std::uint32_t there = 0;    ///< entries in memory: of a damaged table the last auxiliary entry may be missing
        std::uint32_t first_index = 0;  ///< the index of the first entry
        const char* strings = nullptr;  ///< the string table that was read with it, its file's
        bool swapped = false;           ///< the auxiliary entries still have to be

        unsigned char* entry(std::size_t index) const { return bytes.get() + index * aux_size; }
        bool has_aux(std::size_t index) const {
            return static_cast<std::int8_t>(entry(index)[offsetof(syment, n_numaux)]) > 0;
        }
        syment symbol(std::size_t index) const {
            syment symbol;
            std::memcpy(&symbol, entry(index), sizeof symbol);
            return symbol;
        }
    };
    static read_table read_entries(COFF_FILE* file);
    static read_table read_whole_table(COFF_FILE* file);
    void take(COFF_FILE* file, read_table table, const std::function<void(std::uint32_t)>& bad_name);
    void load_read(COFF_SYMBOL& symbol, const symbol_view& view, symbol_storage& storage) const;

    /// All symbols, made if they have not been.
    SLIST& list() const {
        if (!made_)
            const_cast<COFF_SYMBOL_TABLE*>(this)->make_symbols();
        return const_cast<SLIST&>(symbols_);
    }
    void list_functions();
    void delete_node(SLIST::NODE* node);
    SLIST::NODE* delete_run(SLIST::NODE* node);
    bool nodes_noted() const { return noted_at_ == symbols_.version(); }
    void note_nodes();
    void note_node(std::uint32_t index, SLIST::NODE* node);
    void describe_section(COFF_SYMBOL* symbol, const COFF_SECTION* section);
    void require_file(const char* where) const;

    read_table read_;  ///< what the symbols are made of
    bool made_ = true;
    SLIST symbols_;                     ///< see list()
    std::unique_ptr<SHASH> index_map_;  ///< old index to symbol, filled by purge()
    std::uint32_t next_index_ = 0;
    COFF_FILE* file_ = nullptr;
    std::unique_ptr<SLIST> functions_;
    std::vector<bool> read_symbols_;  ///< whether an entry of read_ is a symbol; empty until name_of() asks
    symbol_storage::short_name name_of_;

    record_pool<COFF_SYMBOL> pool_;                      ///< symbols that were read
    std::vector<std::unique_ptr<COFF_SYMBOL>> adopted_;  ///< symbols that were added
    symbol_storage storage_;
    record_pool<COFF_DEBUG::FUNCTION> function_pool_;

    /// The node of each index, null where no symbol is; good while the list is as it was then. The list's own sorted
    /// table does not outlive a change, which would make a loop that finds and deletes quadratic.
    std::vector<SLIST::NODE*> noted_nodes_;
    std::uint64_t noted_at_ = 0;  ///< version of the list

    friend class COFF_FILE;
};

#endif

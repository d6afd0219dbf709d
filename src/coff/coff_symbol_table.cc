// Reading the symbol table, and looking up what is in it.
#include "coff/coff_symbol_table.h"

#include <algorithm>
#include <utility>

#include "coff/coff_file.h"
#include "msg/user_msg.h"

namespace {

constexpr std::int32_t index_map_buckets = 521;

[[noreturn]] void end_on_short_symbol() {
    end_fatally("failed to read symbol table");
}

[[noreturn]] void end_on_short_auxiliary() {
    end_fatally("failed to read auxiliary entry");
}

}  // namespace

COFF_SYMBOL_TABLE::COFF_SYMBOL_TABLE() {
    reset();
}

COFF_SYMBOL_TABLE::~COFF_SYMBOL_TABLE() = default;

void COFF_SYMBOL_TABLE::reset() {
    read_ = {};
    read_symbols_.clear();
    made_ = true;
    symbols_.clear();
    noted_nodes_.clear();
    pool_.clear();
    adopted_.clear();
    storage_.names.clear();
    storage_.auxiliaries.clear();
    function_pool_.clear();
    next_index_ = 0;
    functions_ = std::make_unique<SLIST>();
    index_map_ = std::make_unique<SHASH>(SHASH::UINT32_hash, SHASH::UINT32_cmp, index_map_buckets);
    symbols_.set_cmp_func(COFF_SYMBOL::cmp);
}

/// What the file holds of the table, in one read.
COFF_SYMBOL_TABLE::read_table COFF_SYMBOL_TABLE::read_entries(COFF_FILE* file) {
    read_table table;
    const std::uint32_t count = file->fh_nsyms();
    if (count == 0)
        return table;
    // On purpose this pointer counts from the start of the stream, all others from the start of the image.
    const auto position = static_cast<std::uint32_t>(file->fh_symptr());
    const std::int64_t there = std::max<std::int64_t>(0, std::int64_t{file->file_length()} - position);
    // One more than the count: the auxiliary entry of the last symbol is read even if the count leaves it out.
    const std::uint64_t entries = std::min(std::uint64_t{count} + 1, static_cast<std::uint64_t>(there) / aux_size);
    const auto size = static_cast<std::size_t>(entries * aux_size);
    table.bytes = std::make_unique_for_overwrite<unsigned char[]>(size);
    if (!file->read_at(position, table.bytes.get(), size))
        end_on_short_symbol();
    table.there = static_cast<std::uint32_t>(entries);
    for (std::uint32_t& k = table.entries; k < std::min(count, table.there);)
        k += table.has_aux(k) ? 2 : 1;
    return table;
}

/// A table that is cut short is to be reported as that before any name is looked up, not as the missing string table
/// behind it.
COFF_SYMBOL_TABLE::read_table COFF_SYMBOL_TABLE::read_whole_table(COFF_FILE* file) {
    read_table table = read_entries(file);
    if (table.entries > table.there)
        end_on_short_auxiliary();
    if (table.entries < file->fh_nsyms())
        end_on_short_symbol();
    return table;
}

void COFF_SYMBOL_TABLE::require_whole_table(COFF_FILE* file) {
    read_whole_table(file);
}

void COFF_SYMBOL_TABLE::read(COFF_FILE* file) {
    make_symbols();
    take(file, read_whole_table(file), [file](std::uint32_t offset) { file->string(offset); });  // which ends the run
}

void COFF_SYMBOL_TABLE::read_damaged(COFF_FILE* file, const std::function<void(std::uint32_t)>& bad_name) {
    make_symbols();
    take(file, read_entries(file), bad_name);
}

void COFF_SYMBOL_TABLE::take(COFF_FILE* file, read_table table, const std::function<void(std::uint32_t)>& bad_name) {
    file_ = file;
    read_ = std::move(table);
    read_symbols_.clear();
    read_.first_index = next_index_;
    read_.swapped = file->byte_swapped();
    made_ = false;
    for (std::uint32_t k = 0; k < read_.entries; k += read_.has_aux(k) ? 2 : 1) {
        syment symbol = read_.symbol(k);
        if (read_.swapped)
            swap_record(symbol);
        const bool bad = name_is_offset(symbol.n_name) && !file->has_long_name(name_offset(symbol.n_name));
        if (bad) {
            bad_name(name_offset(symbol.n_name));
            set_name_offset(symbol.n_name, 0);
        }
        if (read_.swapped || bad)
            std::memcpy(read_.entry(k), &symbol, sizeof symbol);
    }
    read_.strings = file->strtab_bytes().data();
    next_index_ += read_.entries;
}

/// Makes a symbol of its entry. What needs memory comes from `storage`.
void COFF_SYMBOL_TABLE::load_read(COFF_SYMBOL& symbol, const symbol_view& view, symbol_storage& storage) const {
    const std::uint32_t k = view.coff_index() - read_.first_index;
    symbol.table_ = const_cast<COFF_SYMBOL_TABLE*>(this);
    symbol.load(file_, view.coff_index(), read_.symbol(k), &storage);
    if (symbol.has_aux() && k + 1 < read_.there)
        symbol.load_aux(read_.entry(k + 1), read_.swapped, &storage);
    symbol.find_first_lnno();
}

void COFF_SYMBOL_TABLE::make_symbols() {
    if (made_)
        return;
    made_ = true;
    visit_read([this](const symbol_view& view) {
        COFF_SYMBOL* const symbol = pool_.make();
        load_read(*symbol, view, storage_);
        symbols_.append(symbol);
    });
    list_functions();
}

void COFF_SYMBOL_TABLE::for_each_symbol(const std::function<void(const COFF_SYMBOL&)>& visit) const {
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(symbols_))
        visit(*symbol);
    if (made_)
        return;
    symbol_storage storage;
    visit_read([&](const symbol_view& view) {
        COFF_SYMBOL symbol;
        load_read(symbol, view, storage);
        visit(symbol);
        storage.names.clear();
        storage.auxiliaries.clear();
    });
}

const char* COFF_SYMBOL_TABLE::name_of(std::uint32_t index) {
    if (made_ || read_.first_index != 0) {
        const SLIST::NODE* const node = find_sym(index);
        return node ? static_cast<const COFF_SYMBOL*>(node->data)->name() : nullptr;
    }
    if (read_symbols_.empty()) {
        read_symbols_.resize(read_.entries);
        visit_read([this](const symbol_view& symbol) { read_symbols_[symbol.coff_index()] = true; });
    }
    if (index >= read_.entries || !read_symbols_[index])
        return nullptr;
    const symbol_view symbol(read_.symbol(index), index, read_.strings);
    return symbol.long_name() ? symbol.long_name() : std::strcpy(name_of_.text, symbol.name());
}

/// One pass forward, which remembers the source file it is in, gives what find_source_file() would for every function.
void COFF_SYMBOL_TABLE::list_functions() {
    functions_->clear();
    function_pool_.clear();
    const char* source_file = nullptr;
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(symbols_)) {
        if (symbol->sclass() == C_FILE)
            source_file = symbol->name();
        if (!symbol->is_function())
            continue;
        COFF_DEBUG::FUNCTION* const function = function_pool_.make();
        function->start = static_cast<std::uint32_t>(symbol->value());
        function->size = symbol->func_size();
        function->scnum = symbol->scnum();
        function->name = symbol->name();
        function->file = source_file;
        functions_->append(function);
    }
}

std::uint32_t COFF_SYMBOL_TABLE::n_syms() const {
    std::uint32_t count = made_ ? 0 : read_.entries;
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(symbols_))
        count += symbol->has_aux() ? 2 : 1;
    return count;
}

std::uint32_t COFF_SYMBOL_TABLE::new_index(std::uint32_t old) {
    const SLIST::NODE* const node = index_map_->find(old);
    if (!node)
        UMSG.die("COFF_SYMBOL_TABLE::new_index", "no symbol had the index %u", old);
    return static_cast<const COFF_SYMBOL*>(SHASH::entry(node)->item)->coff_index();
}

SLIST::NODE* COFF_SYMBOL_TABLE::find_sym(std::uint32_t index) {
    list();
    if (!nodes_noted())
        note_nodes();
    return index < noted_nodes_.size() ? noted_nodes_[index] : nullptr;
}

void COFF_SYMBOL_TABLE::note_nodes() {
    noted_nodes_.assign(next_index_, nullptr);
    for (SLIST::NODE* node = symbols_.begin(); node; node = symbols_.next(node)) {
        const auto* const symbol = static_cast<const COFF_SYMBOL*>(node->data);
        if (symbol && symbol->coff_index_ < next_index_)
            noted_nodes_[symbol->coff_index_] = node;
    }
    noted_at_ = symbols_.version();
}

/// After a change of the list at this one place only, with the nodes noted before.
void COFF_SYMBOL_TABLE::note_node(std::uint32_t index, SLIST::NODE* node) {
    noted_nodes_.resize(next_index_);
    noted_nodes_[index] = node;
    noted_at_ = symbols_.version();
}

const char* COFF_SYMBOL_TABLE::find_source_file(const COFF_SYMBOL* symbol) {
    for (const SLIST::NODE* node = symbol ? find_sym(symbol->coff_index()) : nullptr; node;
         node = symbols_.prev(node)) {
        const auto* const candidate = static_cast<const COFF_SYMBOL*>(node->data);
        if (candidate && candidate->sclass() == C_FILE)
            return candidate->name();
    }
    return nullptr;
}

/// Looks at every symbol: func_skip() would save little, and where it leads wrong it would hide functions.
SLIST::NODE* COFF_SYMBOL_TABLE::find_func_sym(std::uint32_t address) {
    for (SLIST::NODE* node = list().begin(); node; node = symbols_.next(node)) {
        const auto* const symbol = static_cast<const COFF_SYMBOL*>(node->data);
        if (!symbol || !symbol->is_function())
            continue;
        const auto start = static_cast<std::uint32_t>(symbol->value());
        if (start <= address && address < start + symbol->func_size())
            return node;
    }
    return nullptr;
}

const char* COFF_SYMBOL_TABLE::sclass_name(std::int8_t sclass) const {
    const char* const name = storage_class_name(sclass);
    return name ? name : "INVALID STORAGE CLASS";
}

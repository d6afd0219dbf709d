// Changing the symbol table and writing it.
#include <cstring>

#include "coff/coff_file.h"
#include "coff/coff_symbol_table.h"
#include "msg/user_msg.h"

void COFF_SYMBOL_TABLE::require_file(const char* where) const {
    if (!file_)
        UMSG.die(where, "the symbol table belongs to no file");
}

std::uint32_t COFF_SYMBOL_TABLE::add_symbol(COFF_SYMBOL* symbol) {
    require_file("COFF_SYMBOL_TABLE::add_symbol");
    if (!symbol)
        UMSG.die("COFF_SYMBOL_TABLE::add_symbol", "there is no symbol");
    if (symbol->table_)
        UMSG.die("COFF_SYMBOL_TABLE::add_symbol", "symbol %s belongs to a table already", symbol->name());
    symbol->table_ = this;
    symbol->move_to(file_);
    adopted_.emplace_back(symbol);
    make_symbols();  // those that were read come first
    const std::uint32_t entries = symbol->has_aux() ? 2 : 1;
    symbol->coff_index_ = next_index_;
    next_index_ += entries;
    file_->fh_set_nsyms(file_->fh_nsyms() + entries);
    const bool noted = nodes_noted();
    symbols_.append(symbol);
    if (noted)
        note_node(symbol->coff_index_, symbols_.end());
    return symbol->coff_index_;
}

/// The symbol itself stays until the table goes: records of functions point to its name.
void COFF_SYMBOL_TABLE::delete_node(SLIST::NODE* node) {
    const auto* const symbol = static_cast<const COFF_SYMBOL*>(node->data);
    const bool noted = nodes_noted();
    node->set_data(nullptr);
    if (symbol && noted && symbol->coff_index_ < next_index_)
        note_node(symbol->coff_index_, nullptr);
}

void COFF_SYMBOL_TABLE::delete_symbol(COFF_SYMBOL* symbol) {
    if (SLIST::NODE* const node = symbol ? find_sym(symbol->coff_index_) : nullptr)
        delete_node(node);
}

void COFF_SYMBOL_TABLE::purge() {
    require_file("COFF_SYMBOL_TABLE::purge");
    list().purge();
    index_map_->clear();
    next_index_ = 0;
    for (COFF_SYMBOL* symbol : items<COFF_SYMBOL>(list())) {
        index_map_->add(symbol->coff_index_, symbol);
        symbol->coff_index_ = next_index_;
        next_index_ += symbol->has_aux() ? 2 : 1;
    }
    file_->fh_set_nsyms(next_index_);
}

/// Deletes the symbol in a node and those behind it that its "first entry after" index leaves inside. Gives the node
/// behind them. The first one goes whatever the index says, so that the walk always moves on.
SLIST::NODE* COFF_SYMBOL_TABLE::delete_run(SLIST::NODE* node) {
    const std::uint32_t end = static_cast<const COFF_SYMBOL*>(node->data)->aux_word(aux_next);
    do {
        delete_node(node);
        node = symbols_.next(node);
    } while (node && (!node->data || static_cast<const COFF_SYMBOL*>(node->data)->coff_index() < end));
    return node;
}

void COFF_SYMBOL_TABLE::remove_debug_symbols() {
    SLIST::NODE* node = list().begin();
    while (node) {
        const auto* const symbol = static_cast<const COFF_SYMBOL*>(node->data);
        switch (symbol ? symbol->sclass() : C_NULL) {
        case C_STRTAG:
        case C_UNTAG:
        case C_ENTAG:
        case C_FCN:
            node = delete_run(node);
            break;
        case C_TPDEF:
            delete_node(node);
            [[fallthrough]];
        default:
            node = symbols_.next(node);
        }
    }
    purge();
}

void COFF_SYMBOL_TABLE::update_func_lnno_ptrs() {
    for (COFF_SYMBOL* symbol : items<COFF_SYMBOL>(list())) {
        if (symbol->is_function())
            symbol->func_update_lnnoptr();
    }
}

/// What the symbol of a section tells about it.
void COFF_SYMBOL_TABLE::describe_section(COFF_SYMBOL* symbol, const COFF_SECTION* section) {
    symbol->set_own_name(section->name(), std::strlen(section->name()));
    std::memset(symbol->entry_.n_name, 0, sizeof symbol->entry_.n_name);  // as encode_name() wants it for a long one
    symbol->entry_.n_value = static_cast<std::int32_t>(section->sh_vaddr());
    symbol->entry_.n_scnum = static_cast<std::int16_t>(section->scnum());
    if (!symbol->aux_)
        return;
    symbol->aux_->set_word(aux_scn_length, section->size_in_words());
    symbol->aux_->set_half(aux_scn_nreloc, static_cast<std::uint16_t>(section->sh_nreloc()));
    symbol->aux_->set_half(aux_scn_nlnno, static_cast<std::uint16_t>(section->sh_nlnno()));
}

std::uint32_t COFF_SYMBOL_TABLE::add_section_symbol(COFF_SECTION* section) {
    require_file("COFF_SYMBOL_TABLE::add_section_symbol");
    auto symbol = std::make_unique<COFF_SYMBOL>();
    symbol->file_ = file_;
    symbol->entry_.n_sclass = C_STAT;
    symbol->entry_.n_numaux = 1;
    symbol->set_own_aux(auxent{});
    describe_section(symbol.get(), section);
    return add_symbol(symbol.release());
}

void COFF_SYMBOL_TABLE::update_section_symbol(COFF_SECTION* section) {
    const SLIST::NODE* const node = find_sym(section->symndx());
    if (!node)
        UMSG.die("COFF_SYMBOL_TABLE::update_section_symbol", "section %s has no symbol", section->name());
    describe_section(static_cast<COFF_SYMBOL*>(node->data), section);
}

void COFF_SYMBOL_TABLE::write(std::FILE* fp) {
    for (COFF_SYMBOL* symbol : items<COFF_SYMBOL>(list())) {
        symbol->encode_name();
        symbol->write(fp);
    }
}

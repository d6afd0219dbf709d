// What a symbol's auxiliary entry, and those of its neighbours, tell for debugging.
#include <cinttypes>
#include <string>

#include "coff/coff_file.h"
#include "coff/coff_symbol.h"
#include "msg/user_msg.h"

COFF_SYMBOL* COFF_SYMBOL::func_bf_sym() const {
    // How far the value of a ".bf" may lag behind that of its function, address units.
    constexpr std::int64_t margin = 31;
    SLIST::NODE* node = symbol_table()->find_sym(coff_index_);
    for (; node; node = node->mylist()->next(node)) {
        auto* const symbol = static_cast<COFF_SYMBOL*>(node->data);
        if (!symbol || symbol->sclass() != C_FCN || symbol->value() > value() ||
            symbol->value() < std::int64_t{value()} - margin)
            continue;
        symbol->entry_.n_value = value();
        return symbol;
    }
    UMSG.die("COFF_SYMBOL::func_bf_sym", "C_FCN symbol for function %s (%d) not found; check symbol values", name(),
             static_cast<std::int32_t>(coff_index_));
}

std::uint16_t COFF_SYMBOL::func_lnno() const {
    const COFF_SYMBOL* const mark = func_bf_sym();
    return mark->aux_ ? mark->aux_->half(aux_line) : std::uint16_t{0};
}

std::uint16_t COFF_SYMBOL::func_lcnt() const {
    const COFF_SYMBOL* const mark = func_bf_sym();
    return mark->aux_ ? mark->aux_->half(aux_line_count) : std::uint16_t{0};
}

std::uint32_t COFF_SYMBOL::func_regmask() const {
    return func_bf_sym()->aux_word(aux_regmask);
}

std::uint32_t COFF_SYMBOL::func_framesize() const {
    return func_bf_sym()->aux_word(aux_framesize);
}

void COFF_SYMBOL::func_lnnos(SLIST* list) const {
    COFF_SECTION* const section = file_ ? file_->get_section(scnum()) : nullptr;
    if (!section)
        UMSG.die("COFF_SYMBOL::func_lnnos", "function %s is in no section (%d)", name(), scnum());
    section->lnno_list(list, func_lnnoptr(), func_lcnt());
}

SLIST::NODE* COFF_SYMBOL::func_skip() const {
    return symbol_table()->find_sym(func_bf_sym()->aux_word(aux_next));
}

SLIST::NODE* COFF_SYMBOL::tag_skip() const {
    return symbol_table()->find_sym(aux_word(aux_next));
}

SLIST::NODE* COFF_SYMBOL::block_skip() const {
    return symbol_table()->find_sym(aux_word(aux_next));
}

std::uint16_t COFF_SYMBOL::array_dim(int i) const {
    if (i < 0 || i > 3)
        UMSG.die("COFF_SYMBOL::array_dim", "symbol %s has no dimension %d", name(), i);
    return aux_ ? aux_->half(aux_dimensions + 2 * static_cast<std::size_t>(i)) : std::uint16_t{0};
}

const char* COFF_SYMBOL::ref_name(std::int32_t index) const {
    static std::string text;
    text = std::to_string(index);
    if (coff_index_ == 0 || !file_ || static_cast<std::uint32_t>(index) > file_->fh_nsyms())
        return text.c_str();
    const SLIST::NODE* const node = file_->symbol_table()->find_sym(static_cast<std::uint32_t>(index));
    if (node)
        text.append(" (").append(static_cast<const COFF_SYMBOL*>(node->data)->name()).append(")");
    return text.c_str();
}

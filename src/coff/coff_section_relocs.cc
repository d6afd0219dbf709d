// The relocation list of a section.
#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "format/reloc_types.h"
#include "msg/user_msg.h"

namespace {

/// Whether the word behind the address is the index of a symbol. Narrower than is_sym_reloc(): a section follows its
/// symbols only through the types that carry a displacement.
bool follows_symbol(const reloc& entry) {
    return has_displacement(entry.r_type) && entry.r_symndx != no_symbol;
}

}  // namespace

int COFF_SECTION::reloc_cmp(const void* a, const void* b) {
    if (!a || !b)
        return a ? 1 : b ? -1 : 0;
    const auto address_a = static_cast<std::int32_t>(static_cast<const reloc*>(a)->r_vaddr);
    const auto address_b = static_cast<std::int32_t>(static_cast<const reloc*>(b)->r_vaddr);
    return address_a < address_b ? -1 : address_a > address_b ? 1 : 0;
}

/// The list, made of what was read when it is first asked for.
SLIST& COFF_SECTION::relocs() const {
    if (!reloc_list_) {
        reloc_list_ = std::make_unique<reloc_list>();
        reloc_list_->nodes.set_cmp_func(reloc_cmp);
    }
    while (reloc_list_->listed < read_relocs_.size())
        reloc_list_->nodes.append(&read_relocs_[reloc_list_->listed++]);
    return reloc_list_->nodes;
}

std::span<reloc> COFF_SECTION::take_relocs() {
    const std::span<reloc> entries = read_relocs_;
    forget_relocs();
    return entries;
}

void COFF_SECTION::add_reloc(const reloc* entry) {
    SLIST& list = relocs();
    reloc* const record = reloc_list_->added.make();
    *record = *entry;
    list.append(record);
    ++header_.s_nreloc;
}

SLIST::NODE* COFF_SECTION::find_reloc(std::uint32_t address, std::uint16_t type) {
    reloc key{};
    key.r_vaddr = address;
    SLIST& list = relocs();
    SLIST::NODE* node = list.find_first(&key);
    // An emptied node stops find_first(), although more at this address may stand in front of it.
    for (SLIST::NODE* other = list.prev(node); other; other = list.prev(other)) {
        if (other->data && static_cast<const reloc*>(other->data)->r_vaddr != address)
            break;
        if (other->data)
            node = other;
    }
    if (type == 0)
        return node;
    for (; node; node = list.next(node)) {
        const auto* entry = static_cast<const reloc*>(node->data);
        if (!entry)
            continue;
        if (entry->r_vaddr != address)
            return nullptr;
        if (entry->r_type == type)
            return node;
    }
    return nullptr;
}

void COFF_SECTION::clear_relocs() {
    forget_relocs();
    own_relocs_.reset();
}

/// The section has none any more; those that were read stay where they are.
void COFF_SECTION::forget_relocs() {
    if (reloc_list_) {  // emptied, not dropped: callers may hold it
        reloc_list_->nodes.clear();
        reloc_list_->listed = 0;
        reloc_list_->added.clear();
    }
    read_relocs_ = {};
    header_.s_nreloc = 0;
}

void COFF_SECTION::remap_relocs() {
    if (!file_)
        UMSG.die("COFF_SECTION::remap_relocs", "%s: the section belongs to no file", name());
    COFF_SYMBOL_TABLE* const table = file_->symbol_table();
    for (reloc* entry : items<reloc>(relocs())) {
        if (follows_symbol(*entry))
            entry->r_symndx = table->new_index(entry->r_symndx);
    }
    if (symndx_)
        symndx_ = table->new_index(symndx_);
}

void COFF_SECTION::delete_symrel_relocs(std::int16_t scnum) {
    if (!file_)
        UMSG.die("COFF_SECTION::delete_symrel_relocs", "%s: the section belongs to no file", name());
    COFF_SYMBOL_TABLE* const table = file_->symbol_table();
    SLIST& list = relocs();
    for (SLIST::NODE* node = list.begin(); node; node = list.next(node)) {
        const auto* entry = static_cast<const reloc*>(node->data);
        if (!entry || !follows_symbol(*entry))
            continue;
        const SLIST::NODE* const found = table->find_sym(entry->r_symndx);
        if (!found || static_cast<const COFF_SYMBOL*>(found->data)->scnum() != scnum)
            continue;
        node->set_data(nullptr);
        --header_.s_nreloc;  // a later write compares it with the list
    }
    list.purge();
}

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
    while (listed_relocs_ < nread_relocs_)
        relocs_.append(&read_relocs_[listed_relocs_++]);
    return relocs_;
}

std::unique_ptr<reloc[]> COFF_SECTION::take_relocs() {
    auto entries = std::move(read_relocs_);
    clear_relocs();
    return entries;
}

void COFF_SECTION::add_reloc(const reloc* entry) {
    reloc* const record = reloc_pool_.make();
    *record = *entry;
    relocs().append(record);
    ++header_.s_nreloc;
}

SLIST::NODE* COFF_SECTION::find_reloc(std::uint32_t address, std::uint16_t type) {
    reloc key{};
    key.r_vaddr = address;
    SLIST::NODE* node = relocs().find_first(&key);
    // An emptied node stops find_first(), although more at this address may stand in front of it.
    for (SLIST::NODE* other = relocs_.prev(node); other; other = relocs_.prev(other)) {
        if (other->data && static_cast<const reloc*>(other->data)->r_vaddr != address)
            break;
        if (other->data)
            node = other;
    }
    if (type == 0)
        return node;
    for (; node; node = relocs_.next(node)) {
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
    relocs_.clear();
    read_relocs_.reset();
    nread_relocs_ = listed_relocs_ = 0;
    reloc_pool_.clear();
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
    for (SLIST::NODE* node = relocs().begin(); node; node = relocs_.next(node)) {
        const auto* entry = static_cast<const reloc*>(node->data);
        if (!entry || !follows_symbol(*entry))
            continue;
        const SLIST::NODE* const found = table->find_sym(entry->r_symndx);
        if (!found || static_cast<const COFF_SYMBOL*>(found->data)->scnum() != scnum)
            continue;
        node->set_data(nullptr);
        --header_.s_nreloc;  // a later write compares it with the list
    }
    relocs_.purge();
}

// Reading a symbol, and what it tells about itself.
#include "coff/coff_symbol.h"

#include <cstring>

#include "coff/coff_file.h"
#include "msg/user_msg.h"

COFF_SYMBOL::~COFF_SYMBOL() = default;

COFF_SYMBOL& COFF_SYMBOL::operator=(const COFF_SYMBOL& other) {
    if (this == &other)
        return *this;
    coff_index_ = other.coff_index_;
    name_ = other.name_;
    file_ = other.file_;
    entry_ = other.entry_;
    aux_ = other.aux_;
    lnno_index_ = other.lnno_index_;
    own_name_ = other.own_name_;
    own_aux_ = other.own_aux_;
    return *this;  // the table that owns a symbol is not part of its value
}

COFF_SYMBOL* COFF_SYMBOL::copy() const {
    auto symbol = std::make_unique<COFF_SYMBOL>();
    *symbol = *this;
    symbol->set_own_name(name_, std::strlen(name_));
    if (aux_)
        symbol->set_own_aux(*aux_);
    return symbol.release();
}

void COFF_SYMBOL::read(COFF_FILE* file, std::uint32_t index) {
    if (!file || !file->stream())
        UMSG.die("COFF_SYMBOL::read", "missing input file");
    syment entry;
    if (!file->read_next(&entry, sizeof entry))
        end_fatally("failed to read symbol table");
    if (file->byte_swapped())
        swap_record(entry);
    load(file, index, entry, nullptr);
    if (has_aux()) {
        unsigned char bytes[aux_size];
        if (!file->read_next(bytes, sizeof bytes))
            end_fatally("failed to read auxiliary entry");
        load_aux(bytes, file->byte_swapped(), nullptr);
    }
    find_first_lnno();
}

/// Takes an entry in host order. What needs memory comes from `storage`, or is the symbol's own without one.
void COFF_SYMBOL::load(COFF_FILE* file, std::uint32_t index, const syment& entry, symbol_storage* storage) {
    file_ = file;
    coff_index_ = index;
    entry_ = entry;
    aux_ = nullptr;
    own_aux_.reset();
    take_name(storage);
}

void COFF_SYMBOL::take_name(symbol_storage* storage) {
    if (name_is_offset(entry_.n_name)) {
        name_ = file_->long_name(name_offset(entry_.n_name));
    } else if (storage) {
        char* const text = storage->names.make()->text;
        std::memcpy(text, entry_.n_name, sizeof entry_.n_name);
        name_ = text;
    } else {
        set_own_name(entry_.n_name, strnlen(entry_.n_name, sizeof entry_.n_name));
    }
}

/// Takes the auxiliary entry as it lies in the file, in the opposite of the host's order if `swap`.
void COFF_SYMBOL::load_aux(const unsigned char* bytes, bool swap, symbol_storage* storage) {
    if (storage)
        aux_ = storage->auxiliaries.make();
    else
        set_own_aux(auxent{});
    std::memcpy(aux_->bytes, bytes, aux_size);
    if (swap)
        swap_record(*aux_, form());
}

void COFF_SYMBOL::set_own_name(const char* text, std::size_t length) {
    std::shared_ptr<char[]> name(new char[length + 1]);
    std::memcpy(name.get(), text, length);
    name[static_cast<std::ptrdiff_t>(length)] = '\0';
    own_name_ = name;
    name_ = own_name_.get();
}

void COFF_SYMBOL::set_own_aux(const auxent& entry) {
    own_aux_ = std::make_shared<auxent>(entry);
    aux_ = own_aux_.get();
}

/// Notes where a function's line numbers begin, so that they are found again when the section's table moves.
void COFF_SYMBOL::find_first_lnno() {
    if (!is_function() || scnum() < 1)
        return;
    const COFF_SECTION* const section = file_->get_section(scnum());
    if (!section)
        return;
    const auto distance = static_cast<std::int32_t>(func_lnnoptr() - section->sh_lnnoptr());
    lnno_index_ = distance / static_cast<std::int32_t>(sizeof(lineno));
}

void COFF_SYMBOL::func_update_lnnoptr() {
    if (scnum() < 1 || !aux_)
        return;
    const COFF_SECTION* const section = file_ ? file_->get_section(scnum()) : nullptr;
    if (!section)
        return;  // nothing to follow: the pointer stays as it was read
    aux_->set_word(aux_lnnoptr,
                   section->sh_lnnoptr() + static_cast<std::uint32_t>(lnno_index_) * std::uint32_t{sizeof(lineno)});
}

COFF_SYMBOL_TABLE* COFF_SYMBOL::symbol_table() const {
    if (!file_)
        UMSG.die("COFF_SYMBOL::symbol_table", "%s: the symbol belongs to no file", name());
    return file_->symbol_table();
}

bool COFF_SYMBOL::is_section_sym() const {
    return (sclass() & 0x0F) == C_STAT && (stype() & (type_derived_mask | type_base_mask)) == 0;
}

bool COFF_SYMBOL::is_function() const {
    return (stype() & type_derived_mask) == type_function && sclass() != C_TPDEF;
}

aux_form COFF_SYMBOL::form() const {
    switch (sclass()) {
    case C_FILE:
        return aux_form::file;
    case C_BLOCK:
        return aux_form::block;
    case C_FCN:
        return std::strcmp(name(), ".bf") == 0 ? aux_form::begin_function : aux_form::function_mark;
    case C_EOS:
        return aux_form::end_of_struct;
    case C_STRTAG:
    case C_UNTAG:
    case C_ENTAG:
        return aux_form::tag;
    default:
        break;
    }
    if (is_function())
        return aux_form::function;
    if ((stype() & type_derived_mask) == type_array)
        return aux_form::array;
    return stype() == 0 ? aux_form::section : aux_form::other;
}

int COFF_SYMBOL::cmp(const void* a, const void* b) {
    if (!a || !b)
        return a ? 1 : b ? -1 : 0;
    const std::uint32_t index_a = static_cast<const COFF_SYMBOL*>(a)->coff_index_;
    const std::uint32_t index_b = static_cast<const COFF_SYMBOL*>(b)->coff_index_;
    return index_a < index_b ? -1 : index_a > index_b ? 1 : 0;
}

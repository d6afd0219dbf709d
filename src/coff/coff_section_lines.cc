// The line numbers of a section and what they tell about the source.
#include <functional>
#include <vector>

#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "msg/user_msg.h"

bool COFF_SECTION::lnnos_in_file() const {
    if (lnnos_ || header_.s_nlnno == 0)
        return true;
    return file_ && file_->stream() &&
           file_->holds(std::int64_t{file_->image_start()} + header_.s_lnnoptr,
                        std::uint64_t{header_.s_nlnno} * sizeof(lineno));
}

void COFF_SECTION::read_lnnos() {
    if (lnnos_ || header_.s_nlnno == 0)
        return;
    if (!file_ || !file_->stream())
        UMSG.die("COFF_SECTION::read_lnnos", "missing input file");
    const std::uint32_t count = header_.s_nlnno;
    // In the file first, in memory afterwards: the count may be any number.
    const bool there = lnnos_in_file();
    std::vector<lineno> entries(there ? count : 0);
    if (!there ||
        !file_->read_at(std::int64_t{file_->image_start()} + header_.s_lnnoptr, entries.data(), count * sizeof(lineno)))
        end_on_unread_lines();
    lnnos_ = std::make_unique<lineno_slot[]>(count);
    for (std::uint32_t k = 0; k < count; ++k) {
        if (file_->byte_swapped())
            swap_record(entries[k]);
        lnnos_[k].entry = entries[k];
    }
}

void COFF_SECTION::end_on_unread_lines() const {
    end_fatally("%s: %u line numbers of section %s at offset %u run past the end of the file", file_->label(),
                header_.s_nlnno, name(), header_.s_lnnoptr);
}

void COFF_SECTION::visit_lines(const std::function<void(const lineno&)>& visit) {
    if (lines_unlisted_ || !lnnos_in_file())
        return;
    const std::int64_t position = std::int64_t{file_ ? file_->image_start() : 0} + header_.s_lnnoptr;
    lineno line;
    for (std::uint32_t k = 0; k < header_.s_nlnno; ++k) {
        if (lnnos_) {
            visit(lnnos_[k].entry);
            continue;
        }
        if (!file_->read_at(position + std::int64_t{k} * std::int64_t{sizeof line}, &line, sizeof line))
            end_on_unread_lines();
        if (file_->byte_swapped())
            swap_record(line);
        visit(line);
    }
}

/// Functions note where their line numbers are; they have to be told from the pointer that was read.
void COFF_SECTION::move_lnnos(std::uint32_t pointer) {
    if (file_ && pointer != header_.s_lnnoptr)
        file_->symbol_table()->make_symbols();
    header_.s_lnnoptr = pointer;
}

void COFF_SECTION::set_lnnoptr(std::uint32_t pointer) {
    move_lnnos(pointer);
}

void COFF_SECTION::clear_lnnos() {
    lnnos_.reset();
    move_lnnos(0);
    header_.s_nlnno = 0;
}

const lineno_slot* COFF_SECTION::lnno(std::uint32_t index) {
    if (index >= header_.s_nlnno)
        return nullptr;
    read_lnnos();
    return &lnnos_[index];
}

void COFF_SECTION::lnno_list(SLIST* list, std::uint32_t lnnoptr, std::uint32_t count) {
    if (header_.s_nlnno == 0)
        return;
    // A function without lines points anywhere: nothing of the table is its own then.
    const std::int64_t distance = std::int64_t{lnnoptr} - header_.s_lnnoptr;
    if (distance < 0)
        return;
    const std::int64_t first = distance / std::int64_t{sizeof(lineno)};
    read_lnnos();
    const std::int64_t end = first + count + 1;  // one more: the function's own entry stands before its lines
    for (std::int64_t k = first; k < end && k < header_.s_nlnno; ++k)
        list->append(&lnnos_[static_cast<std::size_t>(k)]);
}

PSN* COFF_SECTION::get_source_psn(std::uint32_t address) {
    const std::uint64_t end = std::uint64_t{header_.s_paddr} + header_.s_size;
    if (address < header_.s_paddr || address >= end || !file_)
        return nullptr;
    COFF_SYMBOL_TABLE* const table = file_->symbol_table();
    const SLIST::NODE* const node = table->find_func_sym(address);
    if (!node)
        return nullptr;
    auto* const function = static_cast<COFF_SYMBOL*>(node->data);
    SLIST lines;
    function->func_lnnos(&lines);
    // The first entry names the function: it counts whatever stands in its address word.
    const lineno_slot* last = nullptr;
    for (const lineno_slot* slot : items<lineno_slot>(lines)) {
        if (last && slot->entry.l_addr > address)
            break;
        last = slot;
    }
    if (!last)
        return nullptr;
    const std::uint32_t line = std::uint32_t{function->func_lnno()} + last->entry.l_lnno - 1;
    return new PSN(table->find_source_file(function), line);
}

// Links, and the sorted table that searches need: built late, dropped by every change.
#include "containers/slist.h"

#include <utility>

#include "containers/table_sort.h"
#include "msg/user_msg.h"

namespace {

constexpr const char* no_compare_function = "Use set_cmp_func to specify compare function";

}  // namespace

SLIST::~SLIST() {
    SLIST::clear();
}

void SLIST::set_cmp_func(compare_function f) {
    cmp_func_ = f;
    clear_sorted_table();
}

void SLIST::premerge(const SLIST* other) {
    // The last node is fixed before the first is added: `other` may be this list.
    NODE* const last = other ? other->tail_ : nullptr;
    for (NODE* node = last ? other->head_ : nullptr; node; node = node == last ? nullptr : node->next_)
        prepend(node->data);
}

void SLIST::merge(const SLIST* other) {
    NODE* const last = other ? other->tail_ : nullptr;
    for (NODE* node = last ? other->head_ : nullptr; node; node = node == last ? nullptr : node->next_)
        append(node->data);
}

void SLIST::prepend(void* item) {
    NODE* const node = new NODE(item);
    node->list_ = this;
    ++version_;
    ++count_;
    if (!head_) {
        head_ = tail_ = node;
        return;
    }
    node->next_ = head_;
    head_->prev_ = node;
    head_ = node;
    clear_sorted_table();
}

void SLIST::append(void* item) {
    NODE* const node = new NODE(item);
    node->list_ = this;
    ++version_;
    ++count_;
    if (!tail_) {
        head_ = tail_ = node;
        return;
    }
    node->prev_ = tail_;
    tail_->next_ = node;
    tail_ = node;
    clear_sorted_table();
}

void* SLIST::remove_first() {
    if (!head_)
        return nullptr;
    void* const item = head_->data;
    unlink(head_);
    clear_sorted_table();
    return item;
}

void* SLIST::remove_last() {
    if (!tail_)
        return nullptr;
    void* const item = tail_->data;
    unlink(tail_);
    clear_sorted_table();
    return item;
}

void SLIST::sort() {
    if (count_ == 0)
        return;
    if (!sorted_table_)
        build_sorted_table();
    ++version_;
    NODE* previous = nullptr;
    for (std::uint32_t k = 0; k < count_; ++k) {
        NODE* const node = sorted_table_[k];
        node->prev_ = previous;
        (previous ? previous->next_ : head_) = node;
        previous = node;
    }
    tail_ = previous;
    tail_->next_ = nullptr;
}

void SLIST::clear() {
    while (head_)
        delete std::exchange(head_, head_->next_);
    tail_ = nullptr;
    ++version_;
    count_ = 0;
    clear_sorted_table();
}

void SLIST::erase(const void* item) {
    NODE* const node = find(item);
    if (!node)
        return;
    unlink(node);
    clear_sorted_table();
}

void SLIST::purge() {
    const std::uint32_t count_before = count_;
    for (NODE* node = head_; node;) {
        NODE* const following = node->next_;
        if (!node->data)
            unlink(node);
        node = following;
    }
    if (count_ != count_before)
        clear_sorted_table();
}

void SLIST::copy(const SLIST* other) {
    if (!other)
        UMSG.die("SLIST::copy", "no list to copy");
    clear();
    set_cmp_func(other->cmp_func_);
    merge(other);
}

void SLIST::build_sorted_table() {
    if (count_ == 0)
        return;
    std::unique_ptr<NODE*[]> table(new NODE*[count_]);
    std::uint32_t k = 0;
    for (NODE* node = head_; node; node = node->next_)
        table[k++] = node;
    qsort(table.get(), count_);
    sorted_table_ = std::move(table);
}

void SLIST::clear_sorted_table() {
    sorted_table_.reset();
}

void SLIST::qsort(NODE** table, unsigned int n) {
    if (!cmp_func_)
        UMSG.die("SLIST::qsort", "%s", no_compare_function);
    if (table)
        sort_table(table, n, cmp_func_);
}

SLIST::NODE* SLIST::begin() const {
    return head_;
}

SLIST::NODE* SLIST::end() const {
    return tail_;
}

SLIST::NODE* SLIST::next(const NODE* node) const {
    return node ? node->next_ : nullptr;
}

SLIST::NODE* SLIST::prev(const NODE* node) const {
    return node ? node->prev_ : nullptr;
}

SLIST::NODE* SLIST::find_first(const void* key) {
    NODE* node = find(key);
    while (node && node->prev_ && cmp_func_(key, node->prev_->data) == 0)
        node = node->prev_;
    return node;
}

SLIST::NODE* SLIST::find(const void* key) {
    if (count_ == 0)
        return nullptr;
    if (!sorted_table_)
        build_sorted_table();
    if (!cmp_func_)
        UMSG.die("SLIST::find", "%s", no_compare_function);
    std::int64_t low = 0;
    std::int64_t high = std::int64_t{count_} - 1;
    while (low <= high) {
        const std::int64_t middle = (low + high) / 2;
        const int order = cmp_func_(key, sorted_table_[static_cast<std::size_t>(middle)]->data);
        if (order == 0)
            return sorted_table_[static_cast<std::size_t>(middle)];
        if (order > 0)
            low = middle + 1;
        else
            high = middle - 1;
    }
    return nullptr;
}

std::uint32_t SLIST::size() const {
    return count_;
}

/// Takes a node out and frees it. The sorted table is the caller's affair: purge() drops it once.
void SLIST::unlink(NODE* node) {
    (node->prev_ ? node->prev_->next_ : head_) = node->next_;
    (node->next_ ? node->next_->prev_ : tail_) = node->prev_;
    ++version_;
    --count_;
    delete node;
}

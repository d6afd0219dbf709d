// The list container of the program: a doubly linked list of item pointers, with search and sort by a compare function.
//
// An SLIST never owns its items: whoever puts one in frees it, usually through a record_pool. Walk a list by node
//
//     for (SLIST::NODE* node = list.begin(); node; node = list.next(node))
//
// or with items() below. Never with a range-for over the list itself: end() is the last node, not the place behind it.
#ifndef MODFORGE_CONTAINERS_SLIST_H
#define MODFORGE_CONTAINERS_SLIST_H

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>

/// Searching needs a table of the nodes in sorted order. It is built when it is first needed and dropped by every
/// change, so it pays to make all changes first and then search.
class SLIST final {
public:
    class NODE;

    /// Gets two items, never nodes; negative, 0 or positive as the first is less than, equal to or greater than the
    /// second. A list that may hold null items while it is searched or sorted needs a function that knows them.
    using compare_function = int (*)(const void*, const void*);

    SLIST() = default;
    ~SLIST();
    SLIST(const SLIST&) = delete;
    SLIST& operator=(const SLIST&) = delete;

    // The order of the virtual operations is fixed: new ones go to the end.

    /// Drops the sorted table.
    virtual void set_cmp_func(compare_function f);

    /// Prepends each item of `other`, first to last, so that they arrive in reverse order. `other` may be null, and may
    /// be this list, whose items are then doubled.
    virtual void premerge(const SLIST* other);
    /// Appends each item of `other` in order; otherwise as premerge().
    virtual void merge(const SLIST* other);

    virtual void prepend(void* item);
    virtual void append(void* item);

    /// The item of the first or last node, which is freed; null if the list is empty.
    virtual void* remove_first();
    virtual void* remove_last();

    /// Puts the list itself into sorted order. The order of equal items is that of qsort().
    virtual void sort();

    /// Frees every node. The compare function stays.
    virtual void clear();

    /// Frees the node that find(item) gives, if any.
    virtual void erase(const void* item);

    /// Frees every node whose item is null. Keeps the sorted table if there was none.
    virtual void purge();

    /// Becomes empty, then takes the compare function and the items of `other`, which are shared. A list copied onto
    /// itself is therefore emptied. `other` must not be null: that ends the run.
    virtual void copy(const SLIST* other);

    /// Builds the table whether or not there is one; nothing if the list is empty.
    virtual void build_sorted_table();
    virtual void clear_sorted_table();

    /// Sorts `n` nodes by their items. Not stable, but the order of equal items is always the same: that of a quicksort
    /// around the middle entry. Without a compare function the run ends.
    virtual void qsort(NODE** table, unsigned int n);

    /// The first and the last node, null if the list is empty.
    virtual NODE* begin() const;
    virtual NODE* end() const;
    /// The neighbour of a node; null past either end, and for null.
    virtual NODE* next(const NODE* node) const;
    virtual NODE* prev(const NODE* node) const;

    /// A node whose item compares equal to `key`, null if there is none. find_first() gives the first of several in
    /// list order, which needs a list in sorted order. The key goes to the compare function first, so it must look like
    /// an item. Ends the run if the list is not empty and there is no compare function.
    virtual NODE* find_first(const void* key);
    virtual NODE* find(const void* key);

    virtual std::uint32_t size() const;

    /// The same as append().
    void add(void* item) { append(item); }

    /// Another number after every change of the nodes, their order or their items; for callers that note places in the
    /// list and want to know whether they still hold.
    std::uint64_t version() const { return version_; }

    /// Whether the sorted table is there; for tests of what drops it.
    bool has_sorted_table() const { return sorted_table_ != nullptr; }

private:
    void unlink(NODE* node);

    NODE* head_ = nullptr;
    NODE* tail_ = nullptr;
    std::unique_ptr<NODE*[]> sorted_table_;  ///< null while no valid one exists
    compare_function cmp_func_ = nullptr;
    std::uint32_t count_ = 0;
    std::uint64_t version_ = 0;
};

/// A place in a list. Nodes are made and freed by their list; they come from a pool, since a run makes many.
class SLIST::NODE final {
public:
    NODE() = default;
    explicit NODE(void* item) : data(item) {}
    ~NODE() {}
    NODE(const NODE&) = delete;
    NODE& operator=(const NODE&) = delete;

    /// The list that holds this node.
    SLIST* mylist() const { return list_; }

    /// Replaces the item, or empties the node (null) until purge() takes it away; until then every walk has to skip it.
    /// Drops the list's sorted table, which a new item would put out of order.
    void set_data(void* item);

    static void* operator new(std::size_t size);
    static void operator delete(void* node) noexcept;

    void* data = nullptr;  ///< the item; to be changed through set_data() only

private:
    friend class SLIST;

    NODE* next_ = nullptr;
    NODE* prev_ = nullptr;
    SLIST* list_ = nullptr;
};

/// The items of a list as RECORD*, empty nodes skipped:
///
///     for (COFF_SYMBOL* symbol : items<COFF_SYMBOL>(symbols))
///
/// The loop may append to the list, but not take away the node that it is at.
template <typename RECORD> class items {
public:
    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = RECORD*;
        using difference_type = std::ptrdiff_t;
        using pointer = RECORD**;
        using reference = RECORD*;

        iterator(const SLIST* list, SLIST::NODE* node) : list_(list), node_(node) { skip_empty(); }
        RECORD* operator*() const { return static_cast<RECORD*>(node_->data); }
        iterator& operator++() {
            node_ = list_->next(node_);
            skip_empty();
            return *this;
        }
        bool operator==(const iterator& other) const { return node_ == other.node_; }

    private:
        void skip_empty() {
            while (node_ && !node_->data)
                node_ = list_->next(node_);
        }

        const SLIST* list_;
        SLIST::NODE* node_;
    };

    explicit items(const SLIST& list) : list_(&list) {}
    iterator begin() const { return {list_, list_->begin()}; }
    iterator end() const { return {list_, nullptr}; }

private:
    const SLIST* list_;
};

#endif

// A hash table over SLIST: a fixed number of buckets of entries, each a key (a string or a 32-bit number) with an item.
//
// A table owns its buckets and entries, never its items, nor the text of string keys, which must outlive it. Iteration
// goes bucket by bucket and, within one, in the order of insertion; the data of a node is a SHASH::ENTRY.
#ifndef MODFORGE_CONTAINERS_SHASH_H
#define MODFORGE_CONTAINERS_SHASH_H

#include <cstdint>
#include <memory>

#include "containers/record_pool.h"
#include "containers/slist.h"

/// Keys are either pointers or numbers, never both in one table: the first add() decides, and the other kind then ends
/// the run, in find() and erase() as well. A key added twice is there twice.
class SHASH final {
public:
    /// A key with its item. Both user functions reach the key through the first word: the hash function is given
    /// key_ref, the compare function two entries.
    struct ENTRY {
        ENTRY() = default;
        template <typename KEY> ENTRY(KEY key_value, void* user_item) : item(user_item) { set_key(key_value); }
        ENTRY(const ENTRY&) = delete;
        ENTRY& operator=(const ENTRY&) = delete;
        void set_key(const void* pointer);
        void set_key(std::uint32_t scalar);

        const void* key_ref = nullptr;  ///< points to `key`
        void* item = nullptr;           ///< the user's own
        union {
            const void* pointer = nullptr;
            std::uint32_t scalar;
        } key;
    };

    using compare_function = SLIST::compare_function;
    /// Gets a reference to the key and the number of buckets; gives the index of a bucket. Any other index ends the run.
    using hash_function = int (*)(const void*, int);

    /// A number of buckets below 1 ends the run.
    SHASH(hash_function hash, compare_function cmp, std::int32_t nbuckets);
    ~SHASH();
    SHASH(const SHASH&) = delete;
    SHASH& operator=(const SHASH&) = delete;

    // The order of the virtual operations is fixed: new ones go to the end.

    /// Also drops the sorted tables of all buckets.
    virtual void set_cmp_func(compare_function f);
    /// For a table that is still empty: entries stay in the buckets that they are in.
    virtual void set_hash_func(hash_function f);

    virtual void add(const void* key, void* item);
    virtual void add(std::uint32_t key, void* item);

    /// Forgets all entries, not which kind of keys the table holds.
    virtual void clear();

    /// Takes one entry with this key out of the iteration. On purpose size() falls by one even if there is none: erase
    /// only what was added.
    virtual void erase(const void* key);
    virtual void erase(std::uint32_t key);

    /// The first node of the first bucket in use, and the last of the last; null if the table is empty.
    virtual SLIST::NODE* begin() const;
    virtual SLIST::NODE* end() const;
    /// The neighbour of a node of this table, null past either end and for null. A node of another list ends the run.
    virtual SLIST::NODE* next(const SLIST::NODE* node) const;
    virtual SLIST::NODE* prev(const SLIST::NODE* node) const;

    /// The node of an entry with this key, null if there is none; entry() gives what it holds.
    virtual SLIST::NODE* find(const void* key);
    virtual SLIST::NODE* find(std::uint32_t key);

    virtual std::uint32_t size() const;

    /// The entry in a node of this table.
    static ENTRY* entry(const SLIST::NODE* node) { return static_cast<ENTRY*>(node->data); }

    /// Hash functions: of a C string (null is the empty one), of a pointer's value, of a number.
    static int str_hash(const void* key_ref, int n);
    static int ptr_hash(const void* key_ref, int n);
    static int UINT32_hash(const void* key_ref, int n);
    /// Compare functions for entries with number keys, and with C strings as keys (null is the empty one).
    static int UINT32_cmp(const void* a, const void* b);
    static int str_cmp(const void* a, const void* b);

private:
    enum key_kind : std::int32_t { no_keys = 0, pointer_keys = 1, scalar_keys = 2 };

    template <typename KEY> void add_entry(KEY key, void* item);
    SLIST& bucket(std::int32_t index) const { return buckets_.get()[index]; }
    SLIST& bucket_of(const ENTRY& entry) const;
    std::int32_t bucket_index(const SLIST::NODE* node, const char* where) const;

    std::unique_ptr<SLIST[]> buckets_;
    compare_function cmp_func_ = nullptr;
    hash_function hash_func_ = nullptr;
    std::uint32_t count_ = 0;
    std::int32_t nbuckets_ = 0;
    key_kind key_type_ = no_keys;
    /// Owns the entries, those taken out by erase() included.
    record_pool<ENTRY> entries_;
};

#endif

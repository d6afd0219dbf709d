// Every operation finds the bucket by the hash function and leaves the rest to its list.
#include "containers/shash.h"

#include <cstddef>
#include <cstring>

#include "msg/user_msg.h"

namespace {

/// What is compared and hashed for the string that a key reference leads to.
const char* string_of(const void* key_ref) {
    const auto* text = static_cast<const char*>(*static_cast<const void* const*>(key_ref));
    return text ? text : "";
}

std::uint32_t number_of(const void* key_ref) {
    return *static_cast<const std::uint32_t*>(key_ref);
}

const void* key_ref_of(const void* entry) {
    return static_cast<const SHASH::ENTRY*>(entry)->key_ref;
}

}  // namespace

void SHASH::ENTRY::set_key(const void* pointer) {
    key.pointer = pointer;
    key_ref = &key.pointer;
}

void SHASH::ENTRY::set_key(std::uint32_t scalar) {
    key.scalar = scalar;
    key_ref = &key.scalar;
}

SHASH::SHASH(hash_function hash, compare_function cmp, std::int32_t nbuckets) : hash_func_(hash), nbuckets_(nbuckets) {
    if (nbuckets < 1)
        UMSG.die("SHASH::SHASH", "cannot make a table of %d buckets", nbuckets);
    buckets_ = std::make_unique<SLIST[]>(static_cast<std::size_t>(nbuckets));
    SHASH::set_cmp_func(cmp);
}

SHASH::~SHASH() {
    SHASH::clear();
}

void SHASH::set_cmp_func(compare_function f) {
    cmp_func_ = f;
    for (std::int32_t k = 0; k < nbuckets_; ++k)
        bucket(k).set_cmp_func(f);
}

void SHASH::set_hash_func(hash_function f) {
    hash_func_ = f;
}

void SHASH::add(const void* key, void* item) {
    if (key_type_ == no_keys)
        key_type_ = pointer_keys;
    if (key_type_ != pointer_keys)
        UMSG.die("SHASH::add (pointer)", "cannot mix hash key types");
    add_entry(key, item);
}

void SHASH::add(std::uint32_t key, void* item) {
    if (key_type_ == no_keys)
        key_type_ = scalar_keys;
    if (key_type_ != scalar_keys)
        UMSG.die("SHASH::add (scalar)", "cannot mix hash key types");
    add_entry(key, item);
}

void SHASH::clear() {
    for (std::int32_t k = 0; k < nbuckets_; ++k)
        bucket(k).clear();
    entries_.clear();
    count_ = 0;
}

void SHASH::erase(const void* key) {
    if (key_type_ == scalar_keys)
        UMSG.die("SHASH::erase (pointer)", "cannot mix key types");
    const ENTRY wanted(key, nullptr);
    if (key_type_ != no_keys)
        bucket_of(wanted).erase(&wanted);
    --count_;
}

void SHASH::erase(std::uint32_t key) {
    if (key_type_ == pointer_keys)
        UMSG.die("SHASH::erase (scalar)", "cannot mix key types");
    const ENTRY wanted(key, nullptr);
    if (key_type_ != no_keys)
        bucket_of(wanted).erase(&wanted);
    --count_;
}

SLIST::NODE* SHASH::begin() const {
    for (std::int32_t k = 0; k < nbuckets_; ++k) {
        if (SLIST::NODE* const node = bucket(k).begin())
            return node;
    }
    return nullptr;
}

SLIST::NODE* SHASH::end() const {
    for (std::int32_t k = nbuckets_; k-- > 0;) {
        if (SLIST::NODE* const node = bucket(k).end())
            return node;
    }
    return nullptr;
}

SLIST::NODE* SHASH::next(const SLIST::NODE* node) const {
    if (!node)
        return nullptr;
    std::int32_t k = bucket_index(node, "SHASH::next");
    SLIST::NODE* neighbour = bucket(k).next(node);
    while (!neighbour && ++k < nbuckets_)
        neighbour = bucket(k).begin();
    return neighbour;
}

SLIST::NODE* SHASH::prev(const SLIST::NODE* node) const {
    if (!node)
        return nullptr;
    std::int32_t k = bucket_index(node, "SHASH::prev");
    SLIST::NODE* neighbour = bucket(k).prev(node);
    while (!neighbour && --k >= 0)
        neighbour = bucket(k).end();
    return neighbour;
}

SLIST::NODE* SHASH::find(const void* key) {
    if (key_type_ == scalar_keys)
        UMSG.die("SHASH::find (pointer)", "cannot mix key types");
    const ENTRY wanted(key, nullptr);
    return key_type_ == no_keys ? nullptr : bucket_of(wanted).find(&wanted);
}

SLIST::NODE* SHASH::find(std::uint32_t key) {
    if (key_type_ == pointer_keys)
        UMSG.die("SHASH::find (scalar)", "cannot mix key types");
    const ENTRY wanted(key, nullptr);
    return key_type_ == no_keys ? nullptr : bucket_of(wanted).find(&wanted);
}

std::uint32_t SHASH::size() const {
    return count_;
}

int SHASH::str_hash(const void* key_ref, int n) {
    std::uint32_t total = 0;
    for (const char* c = string_of(key_ref); *c; ++c)
        total += static_cast<std::uint32_t>(static_cast<signed char>(*c));
    // Bytes from 0x80 on count as negative, and so does the remainder of a negative total: brought back into the table.
    const int remainder = static_cast<std::int32_t>(total) % n;
    return remainder < 0 ? remainder + n : remainder;
}

int SHASH::ptr_hash(const void* key_ref, int n) {
    const auto value = reinterpret_cast<std::uintptr_t>(*static_cast<const void* const*>(key_ref));
    return static_cast<int>((value >> 2) % static_cast<std::uintptr_t>(n));
}

int SHASH::UINT32_hash(const void* key_ref, int n) {
    return static_cast<int>(number_of(key_ref) % static_cast<std::uint32_t>(n));
}

int SHASH::UINT32_cmp(const void* a, const void* b) {
    const std::uint32_t key_a = number_of(key_ref_of(a));
    const std::uint32_t key_b = number_of(key_ref_of(b));
    return key_a < key_b ? -1 : key_a > key_b ? 1 : 0;
}

int SHASH::str_cmp(const void* a, const void* b) {
    return std::strcmp(string_of(key_ref_of(a)), string_of(key_ref_of(b)));
}

template <typename KEY> void SHASH::add_entry(KEY key, void* item) {
    ENTRY* const entry = entries_.make();
    entry->set_key(key);
    entry->item = item;
    bucket_of(*entry).append(entry);
    ++count_;
}

SLIST& SHASH::bucket_of(const ENTRY& entry) const {
    const int index = hash_func_ ? hash_func_(entry.key_ref, nbuckets_) : -1;
    if (index < 0 || index >= nbuckets_)
        UMSG.die("SHASH::bucket_of", "bucket %d of %d: no hash function, or a wrong one", index, nbuckets_);
    return bucket(index);
}

/// The bucket that holds the node. The buckets lie side by side, so its list's address tells; as numbers, since it may
/// be any list.
std::int32_t SHASH::bucket_index(const SLIST::NODE* node, const char* where) const {
    const auto first = reinterpret_cast<std::uintptr_t>(buckets_.get());
    const auto list = reinterpret_cast<std::uintptr_t>(node->mylist());
    const std::uintptr_t index = (list - first) / sizeof(SLIST);
    if (index >= static_cast<std::uintptr_t>(nbuckets_))
        UMSG.die(where, "the node is in none of the buckets");
    return static_cast<std::int32_t>(index);
}

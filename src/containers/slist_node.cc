// The nodes of all lists, and where they come from: blocks that are never given back, whose free nodes form a chain. The
// chain is neither constructed nor destroyed at run time, so it serves the lists among the globals to their very end.
#include <algorithm>
#include <new>

#include "containers/slist.h"

#if defined(__SANITIZE_ADDRESS__)
#define MODFORGE_SEPARATE_NODES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MODFORGE_SEPARATE_NODES
#endif
#endif

void SLIST::NODE::set_data(void* item) {
    data = item;
    if (!list_)
        return;
    ++list_->version_;
    list_->clear_sorted_table();
}

#ifdef MODFORGE_SEPARATE_NODES

// One allocation each, so that the sanitizer sees the use of a node that is gone.
void* SLIST::NODE::operator new(std::size_t size) {
    return ::operator new(size);
}

void SLIST::NODE::operator delete(void* node) noexcept {
    ::operator delete(node);
}

#else

namespace {

struct free_node {
    free_node* next;
};
static_assert(sizeof(SLIST::NODE) >= sizeof(free_node) && alignof(SLIST::NODE) >= alignof(free_node));

constexpr std::size_t largest_block = 8192;
constinit std::size_t next_block = 64;  ///< nodes; small at first, since most lists are
constinit free_node* free_nodes = nullptr;

void add_block() {
    auto* const block = static_cast<unsigned char*>(::operator new(next_block * sizeof(SLIST::NODE)));
    for (std::size_t k = next_block; k-- > 0;)  // from the back, so that the nodes are handed out in ascending order
        free_nodes = new (block + k * sizeof(SLIST::NODE)) free_node{free_nodes};
    next_block = std::min(next_block * 2, largest_block);
}

}  // namespace

void* SLIST::NODE::operator new(std::size_t) {
    if (!free_nodes)
        add_block();
    free_node* const node = free_nodes;
    free_nodes = node->next;
    return node;
}

void SLIST::NODE::operator delete(void* node) noexcept {
    if (node)
        free_nodes = new (node) free_node{free_nodes};
}

#endif

// Owns many records of one kind, handed out as plain pointers that the lists hold.
#ifndef MODFORGE_CONTAINERS_RECORD_POOL_H
#define MODFORGE_CONTAINERS_RECORD_POOL_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

/// Makes records in blocks, which costs a tenth of one allocation each; frees them all at once. Records never move.
/// The first block is small, so that a pool with one record stays small.
template <typename RECORD> class record_pool {
public:
    /// A new record, value-initialised; the pool's own until clear() or the end of the pool.
    RECORD* make() {
        if (used_ == block_size_) {
            const std::size_t size = blocks_.empty() ? first_block : std::min(block_size_ * 2, last_block);
            blocks_.push_back(std::make_unique<RECORD[]>(size));
            block_size_ = size;
            used_ = 0;
        }
        return &blocks_.back()[used_++];
    }

    /// Frees every record.
    void clear() {
        blocks_.clear();
        blocks_.shrink_to_fit();
        used_ = block_size_ = 0;
    }

private:
    static constexpr std::size_t first_block = 8;
    static constexpr std::size_t last_block = 4096;

    std::vector<std::unique_ptr<RECORD[]>> blocks_;
    std::size_t used_ = 0;        ///< records handed out of the last block
    std::size_t block_size_ = 0;  ///< records in the last block
};

#endif

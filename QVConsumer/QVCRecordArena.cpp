#include "QVConsumer/QVCRecordArena.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

namespace {

constexpr std::size_t roundUp(std::size_t size) {
    return (size + QVCRecordArena::alignment - 1) / QVCRecordArena::alignment * QVCRecordArena::alignment;
}

constexpr std::size_t maxRoom = 64 * 1024;

/// Freed blocks of the largest size kept for the next answer (at most 4 MiB),
/// so that reading answer after answer does not hand memory back to the
/// system and fault it in again.
class SpareBlocks {
public:
    static constexpr std::size_t limit = 64;

    static SpareBlocks& instance() {
        static auto* spare = new SpareBlocks;  // never destroyed: records may be freed during exit
        return *spare;
    }
    void* take() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (blocks_.empty()) {
            return nullptr;
        }
        void* block = blocks_.back();
        blocks_.pop_back();
        return block;
    }
    /// Keeps memory; false when the pool is full.
    bool keep(void* memory) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (blocks_.size() >= limit) {
            return false;
        }
        blocks_.push_back(memory);
        return true;
    }

private:
    SpareBlocks() { blocks_.reserve(limit); }
    std::mutex mutex_;
    std::vector<void*> blocks_;
};

}  // namespace

/// A block's header; its room follows. holds counts the allocations still
/// alive in it, plus one while it is the arena's current block.
struct QVCRecordArena::Block {
    std::atomic<std::size_t> holds{1};
    std::size_t room = 0;

    char* start() { return reinterpret_cast<char*>(this) + header; }
    static constexpr std::size_t header = roundUp(sizeof(std::atomic<std::size_t>) + sizeof(std::size_t));
};

// Each allocation is preceded by a pointer to its block, padded to the alignment.
static constexpr std::size_t prefix = roundUp(sizeof(void*));

QVCRecordArena::~QVCRecordArena() {
    if (current_ != nullptr) {
        drop(current_);
    }
}

void* QVCRecordArena::allocate(std::size_t size) {
    const std::size_t needed = prefix + roundUp(size);
    if (current_ == nullptr || current_->room - used_ < needed) {
        startBlock(needed);
    }
    char* place = current_->start() + used_;
    used_ += needed;
    *reinterpret_cast<Block**>(place) = current_;
    current_->holds.fetch_add(1, std::memory_order_relaxed);
    return place + prefix;
}

void QVCRecordArena::release(void* pointer) noexcept {
    drop(*reinterpret_cast<Block**>(static_cast<char*>(pointer) - prefix));
}

void QVCRecordArena::startBlock(std::size_t size) {
    const std::size_t room = std::max(size, nextRoom_);
    void* memory = room == maxRoom ? SpareBlocks::instance().take() : nullptr;
    if (memory == nullptr) {
        memory = ::operator new(Block::header + room);
    }
    auto* block = new (memory) Block;
    block->room = room;
    if (current_ != nullptr) {
        drop(current_);
    }
    current_ = block;
    used_ = 0;
    nextRoom_ = std::min(nextRoom_ * 2, maxRoom);
}

void QVCRecordArena::drop(Block* block) noexcept {
    if (block->holds.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        const bool spare = block->room == maxRoom;
        block->~Block();
        if (!spare || !SpareBlocks::instance().keep(block)) {
            ::operator delete(block);
        }
    }
}

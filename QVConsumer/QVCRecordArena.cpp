#include "QVConsumer/QVCRecordArena.h"

#include <algorithm>
#include <new>

namespace {

constexpr std::size_t roundUp(std::size_t size) {
    return (size + QVCRecordArena::alignment - 1) / QVCRecordArena::alignment * QVCRecordArena::alignment;
}

constexpr std::size_t maxRoom = 64 * 1024;

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
    void* memory = ::operator new(Block::header + room);
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
        block->~Block();
        ::operator delete(block);
    }
}

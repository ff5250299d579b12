#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

#include "QVConsumer/QVConsumerExport.h"

/// Storage for the records read from one answer. Records are placed one after
/// another in blocks (4 KiB first, doubling up to 64 KiB) instead of taking a
/// heap allocation each, and a block is freed when the last record in it is.
/// A list of thousands of records is then allocated and freed a block at a
/// time, not record by record over a scattered heap.
///
/// Records made here are ordinary std::shared_ptr records: they may outlive
/// the arena, be released on any thread, and be replaced by the host. Their
/// texts are ordinary strings. A record that is kept while the others of its
/// answer are released keeps its block (at most 64 KiB) in memory. Freed
/// 64 KiB blocks are kept, up to 4 MiB for the process, for the next answer
/// instead of going back to the system.
///
/// The arena itself is used by one thread, the reader's.
class QVCONSUMER_EXPORT QVCRecordArena {
public:
    /// An allocator placing objects in an arena; deallocating needs no arena.
    template <typename T>
    class Allocator {
    public:
        using value_type = T;
        explicit Allocator(QVCRecordArena& arena) noexcept : arena_(&arena) {}
        template <typename U>
        Allocator(const Allocator<U>& other) noexcept : arena_(other.arena_) {}  // NOLINT: rebinding is implicit

        T* allocate(std::size_t count) {
            static_assert(alignof(T) <= alignment, "records are aligned to at most 16 bytes");
            return static_cast<T*>(arena_->allocate(count * sizeof(T)));
        }
        void deallocate(T* pointer, std::size_t) noexcept { QVCRecordArena::release(pointer); }

        template <typename U>
        bool operator==(const Allocator<U>&) const noexcept {
            return true;
        }
        template <typename U>
        bool operator!=(const Allocator<U>&) const noexcept {
            return false;
        }

    private:
        template <typename U>
        friend class Allocator;
        QVCRecordArena* arena_;
    };

    QVCRecordArena() = default;
    ~QVCRecordArena();
    QVCRecordArena(const QVCRecordArena&) = delete;
    QVCRecordArena& operator=(const QVCRecordArena&) = delete;

    /// A record made in this arena, as std::make_shared would make it.
    template <typename T, typename... Args>
    std::shared_ptr<T> make(Args&&... args) {
        return std::allocate_shared<T>(Allocator<T>(*this), std::forward<Args>(args)...);
    }

    /// size bytes, aligned to 16, in the current block (or a new one).
    void* allocate(std::size_t size);
    /// Gives back what allocate returned; frees its block when nothing else holds it.
    static void release(void* pointer) noexcept;

    static constexpr std::size_t alignment = 16;

private:
    struct Block;
    /// Makes a new current block with room for at least size bytes.
    void startBlock(std::size_t size);
    static void drop(Block* block) noexcept;

    Block* current_ = nullptr;
    std::size_t used_ = 0;  // bytes of the current block's room handed out
    std::size_t nextRoom_ = 4 * 1024;
};

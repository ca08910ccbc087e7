// Memory for small objects that one thread makes and another one destroys, as a queued call is.
//
// A general allocator takes such a block back slowly: it belongs to the arena of the thread that
// asked for it. Here the destroying thread keeps it, and puts whole batches into a common store
// for those who make.
//
//     struct Node : vaxo::block_made<Node> { ... };   // new and delete use the blocks
//
// Guarantees
// - Any thread may take and give back any block, also while threads or the process end.
// - Nobody waits: where the common store is in use by another thread, and in a forked child whose
//   parent's thread was using it, the block comes from, or goes to, operator new and delete.
// - What is kept is bounded: kBlocksKeptByThread blocks a thread and size, which its end hands
//   back, and kBatchesKept batches a size for the whole process, for as long as it lives.
// - What the giving thread did before is visible to the taking one (the store's flag: released
//   by who puts in, acquired by who takes out).
//
// Non-guarantees
// - Objects above kLargestBlock bytes, or aligned beyond operator new's default, get no block: the
//   first come from operator new, the second do not compile.
// - With VAXO_BLOCKS=0, which builds with the address sanitizer use to see every use of freed
//   memory, all of it is operator new and delete.
#ifndef VAXO_VAXOBLOCKS_H
#define VAXO_VAXOBLOCKS_H

#include <cstddef>
#include <new>

namespace vaxo {

constexpr std::size_t kBlockStep = 32;      // sizes are rounded up to multiples of it
constexpr std::size_t kLargestBlock = 256;  // bytes; larger objects get no block
constexpr unsigned kBlocksInBatch = 32;     // blocks go to and from the store together
constexpr unsigned kBlocksKeptByThread = 2 * kBlocksInBatch;  // of each size
constexpr unsigned kBatchesKept = 128;                        // of each size, by the process

// Never null: throws std::bad_alloc.
void* block_take(std::size_t size);
// `size`: as it was asked for.
void block_give(void* memory, std::size_t size) noexcept;

// A base whose derived objects live in blocks; the outermost class is T. Objects that are
// deleted through a base need a virtual destructor there, as always.
template <class T>
struct block_made {
    // The delete that takes the size is its counterpart; the check knows the other one alone.
    // NOLINTNEXTLINE(misc-new-delete-overloads)
    static void* operator new(std::size_t size) {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "blocks are not aligned so");
        return block_take(size);
    }
    // Gives the block back.
    static void operator delete(void* block, std::size_t size) noexcept { block_give(block, size); }

protected:
    block_made() = default;
    ~block_made() = default;
};

// For std::allocate_shared.
template <class T>
struct block_allocator {
    typedef T value_type;  // what is allocated

    block_allocator() = default;
    // All are alike, whatever they allocate.
    template <class U>
    block_allocator(const block_allocator<U>& /*other*/) {}

    // Room for `count` objects.
    T* allocate(std::size_t count) {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "blocks are not aligned so");
        return static_cast<T*>(block_take(count * sizeof(T)));
    }
    // `count`: as it was asked for.
    void deallocate(T* items, std::size_t count) noexcept {
        block_give(static_cast<void*>(items), count * sizeof(T));
    }

    // Always equal: any of them frees what another one gave.
    template <class U>
    bool operator==(const block_allocator<U>& /*other*/) const {
        return true;
    }
    template <class U>
    bool operator!=(const block_allocator<U>& /*other*/) const {
        return false;
    }
};

}  // namespace vaxo

#endif

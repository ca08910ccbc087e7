#include "vaxoblocks.h"

#include <array>
#include <atomic>
#include <type_traits>

#if !defined(VAXO_BLOCKS)
#define VAXO_BLOCKS 1
#endif

namespace vaxo {

namespace {

constexpr std::size_t kSizes = kLargestBlock / kBlockStep;

// A free block. The first of a batch also links it to the next batch.
struct Block {
    Block* next;
    Block* nextBatch;
};
static_assert(sizeof(Block) <= kBlockStep, "a block can hold its links");

// Batches of one size, for all threads. Only ever tried: who finds it busy goes another way.
struct Store {
    std::atomic_flag isBusy = ATOMIC_FLAG_INIT;
    Block* batches = nullptr;
    unsigned count = 0;
};

// Neither made nor destroyed by code: there is no moment in which a fork could catch it half
// made, and threads give back until the very end of the process.
std::array<Store, kSizes> g_stores;
static_assert(std::is_trivially_destructible_v<Store>, "it is never destroyed");

class Trial {
public:
    explicit Trial(Store& store)
        : m_store(store), m_owns(!store.isBusy.test_and_set(std::memory_order_acquire)) {}
    ~Trial() {
        if (m_owns) {
            m_store.isBusy.clear(std::memory_order_release);
        }
    }
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;

    bool Owns() const { return m_owns; }

private:
    Store& m_store;
    const bool m_owns;
};

// The blocks of one size that a thread keeps: a batch to use, and one in reserve.
struct Shelf {
    Block* blocks = nullptr;
    unsigned count = 0;
    Block* reserve = nullptr;  // a whole batch
};

void Free(Block* block) {
    while (block != nullptr) {
        Block* const next = block->next;
        ::operator delete(static_cast<void*>(block));
        block = next;
    }
}

// Takes over a batch of `count` blocks.
void HandBack(Store& store, Block* batch, unsigned count) {
    const Trial trial(store);
    if (count == kBlocksInBatch && trial.Owns() && store.count < kBatchesKept) {
        batch->nextBatch = store.batches;
        store.batches = batch;
        ++store.count;
        return;
    }
    Free(batch);
}

Block* Fetch(Store& store) {
    const Trial trial(store);
    if (!trial.Owns() || store.batches == nullptr) {
        return nullptr;
    }
    Block* const batch = store.batches;
    store.batches = batch->nextBatch;
    --store.count;
    return batch;
}

// Set when the thread's shelves are gone; stays readable after that.
thread_local bool t_isOver = false;

struct Shelves {
    std::array<Shelf, kSizes> shelves;

    Shelves() = default;
    ~Shelves() {
        t_isOver = true;
        for (std::size_t index = 0; index < kSizes; ++index) {
            Shelf& shelf = shelves[index];
            HandBack(g_stores[index], shelf.blocks, shelf.count);
            HandBack(g_stores[index], shelf.reserve, shelf.reserve == nullptr ? 0 : kBlocksInBatch);
        }
    }
    Shelves(const Shelves&) = delete;
    Shelves& operator=(const Shelves&) = delete;
};

Shelf* ShelfOf(std::size_t index) {
    if (t_isOver) {
        return nullptr;
    }
    static thread_local Shelves t_shelves;
    return &t_shelves.shelves[index];
}

bool IsPooled(std::size_t size) {
    return VAXO_BLOCKS != 0 && size != 0 && size <= kLargestBlock;
}

std::size_t IndexOf(std::size_t size) {
    return (size - 1) / kBlockStep;
}

}  // namespace

void* block_take(std::size_t size) {
    if (!IsPooled(size)) {
        return ::operator new(size);
    }
    const std::size_t index = IndexOf(size);
    Shelf* const shelf = ShelfOf(index);
    if (shelf != nullptr) {
        if (shelf->count == 0) {
            shelf->blocks = shelf->reserve != nullptr ? shelf->reserve : Fetch(g_stores[index]);
            shelf->reserve = nullptr;
            shelf->count = shelf->blocks == nullptr ? 0 : kBlocksInBatch;
        }
        if (shelf->count != 0) {
            Block* const block = shelf->blocks;
            shelf->blocks = block->next;
            --shelf->count;
            return block;
        }
    }
    return ::operator new((index + 1) * kBlockStep);
}

void block_give(void* memory, std::size_t size) noexcept {
    if (memory == nullptr) {
        return;
    }
    Shelf* const shelf = IsPooled(size) ? ShelfOf(IndexOf(size)) : nullptr;
    if (shelf == nullptr) {
        ::operator delete(memory);
        return;
    }
    if (shelf->count == kBlocksInBatch) {
        if (shelf->reserve != nullptr) {
            HandBack(g_stores[IndexOf(size)], shelf->reserve, kBlocksInBatch);
        }
        shelf->reserve = shelf->blocks;
        shelf->blocks = nullptr;
        shelf->count = 0;
    }
    shelf->blocks = ::new (memory) Block{shelf->blocks, nullptr};
    ++shelf->count;
}

}  // namespace vaxo

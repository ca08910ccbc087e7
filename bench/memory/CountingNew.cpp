#include "memory/CountingNew.h"

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

namespace {

// The table of blocks must not be made of blocks.
template <class T>
struct Uncounted {
    typedef T value_type;

    Uncounted() = default;
    template <class Other>
    explicit Uncounted(const Uncounted<Other>& /*other*/) {}

    T* allocate(std::size_t count) {
        // NOLINTNEXTLINE(bugprone-sizeof-expression): a table holds pointers too
        if (void* const items = std::malloc(count * sizeof(T))) {
            return static_cast<T*>(items);
        }
        throw std::bad_alloc();
    }
    void deallocate(T* items, std::size_t /*count*/) { std::free(items); }

    bool operator==(const Uncounted& /*other*/) const { return true; }
    bool operator!=(const Uncounted& /*other*/) const { return false; }
};

struct Ledger {
    std::mutex lock;  // everything below
    vaxoengine::Counts counts;
    // What was asked for each block: the C library remembers what it gave alone.
    std::unordered_map<void*, std::size_t, std::hash<void*>, std::equal_to<>,
                       Uncounted<std::pair<void* const, std::size_t>>>
        asked;
};

// Never destroyed: blocks go until the very end of the process. Not by new, which comes here.
Ledger& TheLedger() {
    alignas(Ledger) static std::byte s_room[sizeof(Ledger)];
    static auto& s_ledger = *::new (static_cast<void*>(s_room)) Ledger();
    return s_ledger;
}

void* Allocate(std::size_t size) noexcept {
    void* const block = std::malloc(size);
    if (block == nullptr) {
        return nullptr;
    }
    Ledger& ledger = TheLedger();
    const std::lock_guard<std::mutex> guard(ledger.lock);
    ledger.asked[block] = size;
    ++ledger.counts.allocations;
    ++ledger.counts.made;
    ledger.counts.bytes += static_cast<std::int64_t>(size);
    ledger.counts.usable += static_cast<std::int64_t>(malloc_usable_size(block));
    return block;
}

void Free(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    {
        Ledger& ledger = TheLedger();
        const std::lock_guard<std::mutex> guard(ledger.lock);
        const auto found = ledger.asked.find(block);
        if (found != ledger.asked.end()) {
            --ledger.counts.allocations;
            ledger.counts.bytes -= static_cast<std::int64_t>(found->second);
            ledger.counts.usable -= static_cast<std::int64_t>(malloc_usable_size(block));
            ledger.asked.erase(found);
        }
    }
    std::free(block);
}

}  // namespace

namespace vaxoengine {

Counts CountsNow() {
    Ledger& ledger = TheLedger();
    const std::lock_guard<std::mutex> guard(ledger.lock);
    return ledger.counts;
}

}  // namespace vaxoengine

// The forms for over-aligned types stay the standard library's: nothing here has such.
void* operator new(std::size_t size) {
    if (void* const block = Allocate(size)) {
        return block;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return ::operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Allocate(size);
}
void operator delete(void* block) noexcept {
    Free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    Free(block);
}
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    Free(block);
}
void operator delete[](void* block) noexcept {
    Free(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
    Free(block);
}
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    Free(block);
}

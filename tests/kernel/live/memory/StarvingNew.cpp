#include "kernel/live/memory/StarvingNew.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "vaxothread.h"
#include "vaxotypes.h"

namespace {

// All of it is there before the first static object is made: that may call new.
bool s_watching = false;
long s_requests = 0;
long s_refused = 0;
bool s_failsToo = false;
const char* s_threads = "";
bool s_hasRefused = false;
bool s_hasThrown = false;
int s_pauses = 0;

// The blocks of the latest Watch, by address: a table without memory of its own making. A
// block that went leaves a mark, so that those put behind it are still found.
constexpr std::size_t s_size = std::size_t(1) << 14;
std::array<void*, s_size> s_blocks{};
std::size_t s_used = 0;  // places that hold a block or a mark
long s_survivors = 0;
char s_mark;

std::size_t PlaceOf(const void* block) {
    const auto address = reinterpret_cast<std::uintptr_t>(block);  // a number to hash
    return (address >> 4U) * 2654435761U % s_size;
}

void Remember(void* block) {
    std::size_t place = PlaceOf(block);
    while (s_blocks[place] != nullptr && s_blocks[place] != &s_mark) {
        place = (place + 1) % s_size;
    }
    if (s_blocks[place] == nullptr && ++s_used == s_size) {
        std::abort();  // a Watch over more than anybody asks for
    }
    s_blocks[place] = block;
    ++s_survivors;
}

void Forget(const void* block) {
    if (s_survivors == 0) {
        return;
    }
    for (std::size_t place = PlaceOf(block); s_blocks[place] != nullptr;
         place = (place + 1) % s_size) {
        if (s_blocks[place] == block) {
            s_blocks[place] = &s_mark;
            --s_survivors;
            return;
        }
    }
}

bool IsRefused() {
    if (!s_watching || s_pauses != 0 ||
        std::strchr(s_threads, static_cast<char>(vaxothread_selfid())) == nullptr) {
        return false;
    }
    ++s_requests;
    const bool refused =
        s_requests == s_refused || (s_failsToo && s_refused != 0 && s_requests > s_refused);
    s_hasRefused = s_hasRefused || refused;
    return refused;
}

void* Allocate(std::size_t size) {
    if (IsRefused()) {
        return nullptr;
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr && s_watching && s_pauses == 0) {
        Remember(block);
    }
    return block;
}

void* AllocateOrThrow(std::size_t size) {
    void* const block = Allocate(size);
    if (block == nullptr) {
        s_hasThrown = true;
        throw std::bad_alloc();
    }
    return block;
}

void Free(void* block) {
    Forget(block);
    std::free(block);
}

}  // namespace

namespace starving {

Watch::Watch(long refused, Then then, const char* threads) {
    vaxothread_selfid();  // whatever it needs to be made
    s_blocks.fill(nullptr);
    s_used = 0;
    s_survivors = 0;
    s_requests = 0;
    s_refused = refused;
    s_failsToo = then == Then::FailsToo;
    s_threads = threads;
    s_hasRefused = false;
    s_hasThrown = false;
    s_watching = true;
}

Watch::~Watch() {
    s_watching = false;
}

bool Watch::Refused() const {
    return s_hasRefused;
}

bool Watch::RefusedWithThrow() const {
    return s_hasThrown;
}

Pause::Pause() {
    ++s_pauses;
}

Pause::~Pause() {
    --s_pauses;
}

void Request() {
    if (IsRefused()) {
        s_hasThrown = true;
        throw std::bad_alloc();
    }
}

long Survivors() {
    return s_survivors;
}

}  // namespace starving

// The operators by their symbols, in which size_t is "m" or "j", because only so can the
// linker's --wrap find them by its prefix. A macro, because a symbol cannot be put together
// otherwise.
#if defined(VAXO_WRAP_NEW)
#define VAXO_OPERATOR(symbol) __wrap_##symbol
#else
#define VAXO_OPERATOR(symbol) symbol
#endif

// They are visible because a shared standard library calls them.
extern "C" {

#if defined(__LP64__)
VAXO_API void* VAXO_OPERATOR(_Znwm)(std::size_t size);
VAXO_API void* VAXO_OPERATOR(_Znam)(std::size_t size);
VAXO_API void* VAXO_OPERATOR(_ZnwmRKSt9nothrow_t)(std::size_t size, const std::nothrow_t& tag);
VAXO_API void* VAXO_OPERATOR(_ZnamRKSt9nothrow_t)(std::size_t size, const std::nothrow_t& tag);
VAXO_API void VAXO_OPERATOR(_ZdlPvm)(void* block, std::size_t size);
VAXO_API void VAXO_OPERATOR(_ZdaPvm)(void* block, std::size_t size);
#else
#error "The symbols of a 32-bit machine are missing here."
#endif
VAXO_API void VAXO_OPERATOR(_ZdlPv)(void* block);
VAXO_API void VAXO_OPERATOR(_ZdaPv)(void* block);
VAXO_API void VAXO_OPERATOR(_ZdlPvRKSt9nothrow_t)(void* block, const std::nothrow_t& tag);
VAXO_API void VAXO_OPERATOR(_ZdaPvRKSt9nothrow_t)(void* block, const std::nothrow_t& tag);

void* VAXO_OPERATOR(_Znwm)(std::size_t size) {
    return AllocateOrThrow(size);
}
void* VAXO_OPERATOR(_Znam)(std::size_t size) {
    return AllocateOrThrow(size);
}
void* VAXO_OPERATOR(_ZnwmRKSt9nothrow_t)(std::size_t size, const std::nothrow_t& /*tag*/) {
    return Allocate(size);
}
void* VAXO_OPERATOR(_ZnamRKSt9nothrow_t)(std::size_t size, const std::nothrow_t& /*tag*/) {
    return Allocate(size);
}
void VAXO_OPERATOR(_ZdlPv)(void* block) {
    Free(block);
}
void VAXO_OPERATOR(_ZdaPv)(void* block) {
    Free(block);
}
void VAXO_OPERATOR(_ZdlPvm)(void* block, std::size_t /*size*/) {
    Free(block);
}
void VAXO_OPERATOR(_ZdaPvm)(void* block, std::size_t /*size*/) {
    Free(block);
}
void VAXO_OPERATOR(_ZdlPvRKSt9nothrow_t)(void* block, const std::nothrow_t& /*tag*/) {
    Free(block);
}
void VAXO_OPERATOR(_ZdaPvRKSt9nothrow_t)(void* block, const std::nothrow_t& /*tag*/) {
    Free(block);
}
}

#include "support/FailingNew.h"

#include <new>

#include "vaxotypes.h"

namespace {

bool g_refusing = false;
long g_requests = 0;
std::size_t g_size = 0;
std::size_t g_alignment = 0;

constexpr std::size_t kTooMuch = std::size_t(1) << 30;

bool Refused(std::size_t size, std::size_t alignment) {
    ++g_requests;
    g_size = size;
    g_alignment = alignment;
    return g_refusing || size >= kTooMuch;
}

}  // namespace

namespace failing_new {

Refusal::Refusal() {
    g_refusing = true;
}
Refusal::~Refusal() {
    g_refusing = false;
}

long Requests() {
    return g_requests;
}
std::size_t LatestSize() {
    return g_size;
}
std::size_t LatestAlignment() {
    return g_alignment;
}

}  // namespace failing_new

// The names that the linker's --wrap gives to the two operators: its prefix and
// the operator's symbol, in which size_t is "m" or "j". Macros, because a symbol
// cannot be put together otherwise.
#if defined(__LP64__)
#define VAXO_PLAIN(prefix) prefix##_ZnwmRKSt9nothrow_t
#define VAXO_ALIGNED(prefix) prefix##_ZnwmSt11align_val_tRKSt9nothrow_t
#else
#define VAXO_PLAIN(prefix) prefix##_ZnwjRKSt9nothrow_t
#define VAXO_ALIGNED(prefix) prefix##_ZnwjSt11align_val_tRKSt9nothrow_t
#endif

// The wrappers are visible because a shared standard library calls the operators.
extern "C" {

void* VAXO_PLAIN(__real_)(std::size_t size, const std::nothrow_t& tag) noexcept;
VAXO_API void* VAXO_PLAIN(__wrap_)(std::size_t size, const std::nothrow_t& tag) noexcept;
void* VAXO_ALIGNED(__real_)(std::size_t size, std::align_val_t alignment,
                            const std::nothrow_t& tag) noexcept;
VAXO_API void* VAXO_ALIGNED(__wrap_)(std::size_t size, std::align_val_t alignment,
                                     const std::nothrow_t& tag) noexcept;

void* VAXO_PLAIN(__wrap_)(std::size_t size, const std::nothrow_t& tag) noexcept {
    return Refused(size, 0) ? nullptr : VAXO_PLAIN(__real_)(size, tag);
}

void* VAXO_ALIGNED(__wrap_)(std::size_t size, std::align_val_t alignment,
                            const std::nothrow_t& tag) noexcept {
    const bool refused = Refused(size, static_cast<std::size_t>(alignment));
    return refused ? nullptr : VAXO_ALIGNED(__real_)(size, alignment, tag);
}
}

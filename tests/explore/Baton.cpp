#include "explore/Baton.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace explore {

void Baton::Give() {
    m_given.store(1, std::memory_order_release);
    syscall(SYS_futex, &m_given, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void Baton::Take() {
    int given = 1;
    while (!m_given.compare_exchange_strong(given, 0, std::memory_order_acquire)) {
        syscall(SYS_futex, &m_given, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
        given = 1;
    }
}

}  // namespace explore

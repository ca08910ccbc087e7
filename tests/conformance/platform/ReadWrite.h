// A reader-writer lock for the length of a case.
#ifndef VAXO_TESTS_CONFORMANCE_PLATFORM_READWRITE_H
#define VAXO_TESTS_CONFORMANCE_PLATFORM_READWRITE_H

#include "conformance/platform/Kit.h"
#include "vaxolock.h"

namespace conformance {

class ReadWrite {
public:
    ReadWrite() : m_lock(vaxorwlock_alloc()) {
        Require(m_lock != nullptr, "vaxorwlock_alloc answered null");
    }
    ~ReadWrite() { vaxorwlock_destroy(m_lock); }
    ReadWrite(const ReadWrite&) = delete;
    ReadWrite& operator=(const ReadWrite&) = delete;
    operator hvaxolockrw() const { return m_lock; }  // NOLINT: to be used as the handle it is

private:
    hvaxolockrw m_lock;
};

}  // namespace conformance

#endif

// Shared slots: a shared_ptr or weak_ptr member that one thread replaces while
// others copy it, without a common lock.
//
// A slot stays an ordinary member; it is only ever touched through these
// functions once more than one thread can see it.
//
// Guarantees
// - Any thread may call any of these on the same slot at once. Each is one
//   indivisible step; a load sees a whole earlier store, never a mixture.
// - Sequentially consistent: what was written before a store is visible to
//   whoever loads that value.
// - The value taken out is destroyed by the caller, never inside the step, so a
//   destructor may use the slot again.
//
// Non-guarantees
// - Not lock-free: the standard library keeps a short internal lock for the
//   duration of the pointer copy. No code of the caller runs under it.
#ifndef VAXO_VAXOSLOT_H
#define VAXO_VAXOSLOT_H

#include <memory>
#include <mutex>
#include <utility>

#include "vaxosched.h"

namespace vaxo {

// What the slot holds at this moment.
template <class T>
std::shared_ptr<T> slot_load(const std::shared_ptr<T>& slot) {
    vaxosched_reach(&slot);
    return std::atomic_load(&slot);
}

// Puts `value` in and returns what was there.
template <class T>
std::shared_ptr<T> slot_exchange(std::shared_ptr<T>& slot, std::shared_ptr<T> value) {
    vaxosched_reach(&slot);
    return std::atomic_exchange(&slot, std::move(value));
}

// Fills an empty slot with what `make` returns and answers what the slot holds
// then. Threads that meet here may all call `make`; one result is kept and the
// others are dropped.
template <class T, class Make>
std::shared_ptr<T> slot_load_or_make(std::shared_ptr<T>& slot, Make make) {
    std::shared_ptr<T> current = slot_load(slot);
    if (!current) {
        std::shared_ptr<T> made = make();
        vaxosched_reach(&slot);
        if (std::atomic_compare_exchange_strong(&slot, &current, made)) {
            return made;
        }
    }
    return current;
}

// The standard library has no atomic functions for weak_ptr. These two do what its
// functions for shared_ptr do: a lock of their own for the length of a pointer copy,
// shared by all slots, never destroyed, so that it is there at process exit.
inline std::mutex& weak_slot_lock() {
    static auto& s_lock = *new std::mutex();
    return s_lock;
}

// A strong reference to the object that the slot refers to at this moment, empty if there
// is none. In one step with the look: whoever puts another object in and then lets go of
// the former one leaves no moment in which this finds neither.
template <class T>
std::shared_ptr<T> slot_lock(const std::weak_ptr<T>& slot) {
    vaxosched_reach(&slot);
    const std::lock_guard<std::mutex> lock(weak_slot_lock());
    return slot.lock();
}

// Puts `value` in and returns what was there.
template <class T>
std::weak_ptr<T> slot_exchange(std::weak_ptr<T>& slot, std::weak_ptr<T> value) {
    vaxosched_reach(&slot);
    const std::lock_guard<std::mutex> lock(weak_slot_lock());
    slot.swap(value);
    return value;
}

}  // namespace vaxo

#endif

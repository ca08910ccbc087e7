// The place of a virtual operation in its class's table, for checking an order that is
// part of a binary interface.
//
//     EXPECT_EQ(SlotOf<int(bool)>(&Mediq::IVaxoVE::EnableMic), 14);
//
// The signature is checked by the compiler: an operation with another one, a missing or
// an additional const included, does not compile. It also chooses among overloads.
//
// A pointer to member says where the operation stands, in a form that every compiler for
// a platform shares (the Itanium C++ ABI, with its variant for Arm).
#ifndef VAXO_TESTS_VIRTUALSLOT_H
#define VAXO_TESTS_VIRTUALSLOT_H

#include <cstddef>
#include <cstdint>
#include <cstring>

struct VirtualSlotParts {
    std::uintptr_t place;       // the byte offset in the table, plus 1; for an operation
                                // that is not virtual, its address
    std::ptrdiff_t adjustment;  // of `this`, in bytes
};

// On Arm an odd address is a Thumb function, so the mark is in the other word, and the
// adjustment stands above it.
inline bool IsVirtual(VirtualSlotParts parts) {
#if defined(__arm__) || defined(__aarch64__)
    return (parts.adjustment & 1) != 0;
#else
    return (parts.place & 1U) != 0;
#endif
}

inline std::uintptr_t ByteOffset(VirtualSlotParts parts) {
#if defined(__arm__) || defined(__aarch64__)
    return parts.place;
#else
    return parts.place - 1;
#endif
}

// Counted from 0 in the table of the class that `operation` names, which is the table at
// the beginning of its objects. -1 when the operation is not virtual.
template <class Signature, class Class>
int SlotOf(Signature Class::*operation) {
    VirtualSlotParts parts;
    static_assert(sizeof(operation) == sizeof(parts), "a pointer and an adjustment");
    std::memcpy(&parts, &operation, sizeof(parts));
    return IsVirtual(parts) ? static_cast<int>(ByteOffset(parts) / sizeof(void*)) : -1;
}

#endif

// Reaches a private member of a class under test, by the one way the language
// leaves open: access is not checked for the names in an explicit instantiation,
// so `&Class::member` may be written there even when the member is private. The
// instantiation stores the pointer to member where the test finds it.
//
// Use it where the contract names a private operation, or a member whose value no
// public operation shows. Everything else is tested through the public interface.
//
// For each member, in the test file:
//
//     namespace {
//     struct MapSize {                                   // 1. a tag of its own, with
//         typedef uint32 IntMap::*type;                  //    the pointer's type
//     };
//     }
//     template struct PrivateAccess<MapSize, &IntMap::Size>;       // 2. the pointer
//
//     Private<MapSize>(map) = 7;                         // 3. the member itself,
//     Private<MapDelink>(map, 5);                        //    or a call of it
//
// The type chooses among overloads and tells const members from others. Step 2 takes
// effect while the program starts, so no static object may use step 3. Keep the tags
// in an unnamed namespace, so that test files of one program do not share them.
#ifndef VAXO_PRIVATEACCESS_H
#define VAXO_PRIVATEACCESS_H

#include <functional>
#include <utility>

template <class Tag>
struct PrivatePointer {
    static inline typename Tag::type s_pMember = nullptr;
};

// To be instantiated explicitly, never used otherwise. The static member exists for
// its initialisation, which stores the pointer.
template <class Tag, typename Tag::type Member>
struct PrivateAccess {
    static inline const bool s_bStored = ((PrivatePointer<Tag>::s_pMember = Member), true);
};

// The private member of an object: a reference to a data member, or the result of a
// member function called with the further arguments.
template <class Tag, class Object, class... Args>
decltype(auto) Private(Object&& object, Args&&... args) {
    return std::invoke(PrivatePointer<Tag>::s_pMember, std::forward<Object>(object),
                       std::forward<Args>(args)...);
}

#endif

// Indices of any integral type for the classes that convert to a pointer.
//
// Such a class has operator[](uint32) and, through the conversion, the built-in
// operator[](ptrdiff_t). Where an index fits ptrdiff_t better than uint32 (a long,
// or a plain 0 where ptrdiff_t is int) the two tie, and the call is ambiguous. A
// template that takes every other index type as it is wins over both.
#ifndef VAXO_VAXOINDEX_H
#define VAXO_VAXOINDEX_H

#include <type_traits>

#include "vaxotypes.h"

namespace vaxo {

// An index of nothing: the strings and buffers are never that long.
constexpr uint32 index_nowhere = 0xFFFFFFFFU;

// int for every index type but uint32, which needs no help; else no type.
template <class Index>
using if_other_index =
    std::enable_if_t<(std::is_integral_v<Index> ||
                      std::is_enum_v<Index>)&&std::is_convertible_v<Index, uint32> &&
                         !std::is_same_v<Index, uint32>,
                     int>;

// `index` as a uint32. A negative one, or one too large, is nowhere.
template <class Index>
constexpr uint32 index_narrowed(Index index) {
    const auto wide = static_cast<uint64>(+index);  // negative becomes huge
    return wide < index_nowhere ? static_cast<uint32>(wide) : index_nowhere;
}

}  // namespace vaxo

#endif

// A pair of values: an entry given to vaxostl::map, and what its insertion
// answers. Two public fields, copied with the pair; no comparison, no other
// operation. The default constructor value-initialises both fields.
#ifndef VAXO_VAXOPAIR_H
#define VAXO_VAXOPAIR_H

namespace vaxostl {

// The parameter names are those of the library's interface. A leading underscore
// before a capital is reserved to the implementation; no supported one defines
// these two as macros.
template <class _T1, class _T2>  // NOLINT(bugprone-reserved-identifier): see above
struct pair {
    pair() : first(), second() {}                              // both fields value-initialised
    pair(const _T1& a, const _T2& b) : first(a), second(b) {}  // copies of both

    _T1 first;   // the key, or the iterator
    _T2 second;  // the value, or whether it was inserted
};

}  // namespace vaxostl

#endif

// vaxostl::vector beside std::vector: the operations that the input may name. The elements
// count themselves, notice raw storage, and at times refuse to be copied.
#ifndef VAXO_FUZZ_VECTORPAIR_H
#define VAXO_FUZZ_VECTORPAIR_H

#include <algorithm>
#include <cstddef>
#include <vector>

#include "fuzz/Input.h"
#include "support/TracedItem.h"
#include "vaxovector.h"

namespace fuzz {

struct VectorSide {
    vaxostl::vector<TracedItem> array;
    std::vector<int> model;  // the elements' values
    uint32 capacity = 0;     // as the rule of growth has it

    uint32 Size() const { return static_cast<uint32>(model.size()); }
    std::vector<int>::iterator At(uint32 index) {
        return model.begin() + static_cast<std::ptrdiff_t>(index);
    }
    void Grown(uint32 needed) {
        if (needed > capacity) {
            capacity = std::max(needed, capacity == 0 ? 8 : capacity * 2);
        }
    }
};

class VectorPair {
public:
    VectorPair() { TracedItem::Reset(); }

    void Add(Input& in);
    void AddOwn(Input& in);
    void Insert(Input& in);
    void InsertOwn(Input& in);
    void InsertElsewhere(Input& in);
    void InsertTooMany(Input& in);
    void EraseOne(Input& in);
    void EraseIndices(Input& in);
    void EraseIterators(Input& in);
    void Resize(Input& in);
    void ResizeWith(Input& in);
    void ResizeWithOwn(Input& in);
    void Reserve(Input& in);
    void Clear(Input& in);
    void Swap(Input& in);
    void Assign(Input& in);
    void AssignItself(Input& in);
    void Construct(Input& in);
    void Write(Input& in);
    void Walk(Input& in);
    void LookUp(Input& in);
    void Storage(Input& in);
    void RefuseCopies(Input& in);

    void Check();

private:
    template <class Change>
    void Survive(Change change);
    void MakeSmaller();
    static void CheckSide(const VectorSide& side);

    VectorSide m_one;
    VectorSide m_other;
};

}  // namespace fuzz

#endif

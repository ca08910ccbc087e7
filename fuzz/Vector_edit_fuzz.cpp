// What changes a vector.
#include <algorithm>
#include <limits>
#include <utility>

#include "fuzz/Steps.h"
#include "fuzz/VectorPair.h"

namespace fuzz {

namespace {

typedef vaxostl::vector<TracedItem> Array;

}  // namespace

void VectorPair::CheckSide(const VectorSide& side) {
    const Array& array = side.array;
    Require(array.size() == side.model.size() && array.GetItemCount() == array.size(), "size");
    Require(array.empty() == side.model.empty(), "empty");
    Require(array.capacity() == side.capacity, "capacity");
    for (uint32 index = 0; index < array.size(); ++index) {
        Require(array[index].Value() == side.model[index], "an element");
    }
    Require((array.begin() == nullptr) == array.empty(), "begin");
    Require((array.end() == nullptr) == array.empty(), "end");
}

void VectorPair::Check() {
    MakeSmaller();
    CheckSide(m_one);
    CheckSide(m_other);
    Require((m_one.array == m_other.array) == (m_one.model == m_other.model), "equality");
    Require((m_one.array != m_other.array) == (m_one.model != m_other.model), "inequality");
    const auto elements = static_cast<long>(m_one.model.size() + m_other.model.size());
    Require(TracedItem::State().live == elements, "the number of live elements");
    Require(TracedItem::State().misuses == 0, "something that is not an element was used");
}

// Keeps the arrays at a size that is quick to compare.
void VectorPair::MakeSmaller() {
    const uint32 most = 200;
    if (m_one.array.size() > most && m_one.model.size() > most) {
        m_one.array.Resize(most);
        m_one.model.resize(most);
    }
}

// ---- Additions ----

void VectorPair::Add(Input& in) {
    const int value = in.Byte();
    const TracedItem item(value);
    Require((in.Flag() ? m_one.array.Add(item) : m_one.array.push_back(item)) == 0, "the status");
    m_one.model.push_back(value);
    m_one.Grown(m_one.Size());
}

void VectorPair::AddOwn(Input& in) {
    if (!m_one.model.empty()) {
        const uint32 from = in.Below(m_one.Size());
        Require(m_one.array.Add(m_one.array[from]) == 0, "the status");
        m_one.model.push_back(int{m_one.model[from]});
        m_one.Grown(m_one.Size());
    }
}

void VectorPair::Insert(Input& in) {
    const uint32 at = in.Below(m_one.model.size() + 1);
    const uint32 count = in.Below(12);
    const int value = in.Byte();
    const bool byNull = at == m_one.Size() && in.Flag();
    const Array::iterator position = byNull ? Array::iterator() : m_one.array.begin() + at;
    Require(m_one.array.insert(position, TracedItem(value), count) == 0, "the status");
    m_one.model.insert(m_one.At(at), count, value);
    m_one.Grown(m_one.Size());
}

void VectorPair::InsertOwn(Input& in) {
    if (!m_one.model.empty()) {
        const uint32 at = in.Below(m_one.model.size() + 1);
        const uint32 from = in.Below(m_one.model.size());
        const uint32 count = in.Below(12);
        Require(m_one.array.insert(m_one.array.begin() + at, m_one.array[from], count) == 0,
                "the status");
        m_one.model.insert(m_one.At(at), count, int{m_one.model[from]});
        m_one.Grown(m_one.Size());
    }
}

void VectorPair::InsertElsewhere(Input& in) {
    TracedItem stranger(in.Byte());
    Require(m_one.array.insert(Array::iterator(&stranger), stranger, 2) == -1, "the status");
    Require(m_one.array.erase(Array::iterator(&stranger)) == m_one.array.end(), "the answer");
}

void VectorPair::InsertTooMany(Input& in) {
    const uint32 most = std::numeric_limits<uint32>::max();
    if (!m_one.model.empty()) {
        const uint32 count = most - in.Below(m_one.model.size());
        const uint32 at = in.Below(m_one.model.size());
        Require(m_one.array.insert(m_one.array.begin() + at, TracedItem(1), count) == -1,
                "the status");
    }
}

// ---- Removals ----

void VectorPair::EraseOne(Input& in) {
    const uint32 at = in.Below(m_one.model.size() + 2);
    const Array::iterator next = m_one.array.erase(m_one.array.begin() + at);
    if (at < m_one.Size()) {
        m_one.model.erase(m_one.At(at));
        Require(next == m_one.array.begin() + at, "the answer");
    } else {
        Require(next == m_one.array.end(), "the answer");
    }
}

void VectorPair::EraseIndices(Input& in) {
    const uint32 first = in.Below(m_one.model.size() + 2);
    const uint32 last = in.Below(m_one.model.size() + 2);
    const bool valid = first <= last && last < m_one.Size();
    Require(m_one.array.erase(first, last) == (valid ? 0 : -1), "the status");
    if (valid) {
        m_one.model.erase(m_one.At(first), m_one.At(last + 1));
    }
}

void VectorPair::EraseIterators(Input& in) {
    const uint32 first = in.Below(m_one.model.size() + 1);
    const uint32 last = in.Below(m_one.model.size() + 1);
    const bool valid = first <= last && last < m_one.Size();
    const Array::iterator begin = m_one.array.begin();
    Require(m_one.array.erase(begin + first, begin + last) == (valid ? 0 : -1), "the status");
    if (valid) {
        m_one.model.erase(m_one.At(first), m_one.At(last + 1));
    }
}

void VectorPair::Clear(Input& /*in*/) {
    m_one.array.clear();
    m_one.model.clear();
}

// ---- Sizes ----

void VectorPair::Resize(Input& in) {
    const uint32 count = in.Below(100);
    Require(m_one.array.Resize(count) == 0, "the status");
    m_one.model.resize(count, 0);
    m_one.Grown(count);
}

void VectorPair::ResizeWith(Input& in) {
    const uint32 count = in.Below(100);
    const int value = in.Byte();
    Require(m_one.array.Resize(count, TracedItem(value)) == 0, "the status");
    m_one.model.resize(count, value);
    m_one.Grown(count);
}

void VectorPair::ResizeWithOwn(Input& in) {
    if (!m_one.model.empty()) {
        const uint32 count = in.Below(100);
        const uint32 from = in.Below(m_one.model.size());
        Require(m_one.array.Resize(count, m_one.array[from]) == 0, "the status");
        m_one.model.resize(count, int{m_one.model[from]});
        m_one.Grown(count);
    }
}

void VectorPair::Reserve(Input& in) {
    const uint32 count = in.Below(500);
    Require(m_one.array.reserve(count) == 0, "the status");
    m_one.Grown(count);
}

void VectorPair::Storage(Input& in) {
    const uint32 count = in.Below(500);
    uint32 capacity = 7;
    TracedItem* const items = m_one.array.Allocate(count, capacity);
    const uint32 next = m_one.capacity == 0 ? 8 : m_one.capacity * 2;
    Require(items != nullptr && capacity == std::max(count, next), "the storage");
    Array::Deallocate(items);
    Array::Deallocate(nullptr);
}

// ---- Whole arrays ----

void VectorPair::Swap(Input& /*in*/) {
    m_one.array.swap(m_other.array);
    m_one.model.swap(m_other.model);
    std::swap(m_one.capacity, m_other.capacity);
}

void VectorPair::Assign(Input& /*in*/) {
    m_one.array = m_other.array;
    m_one.model = m_other.model;
    m_one.Grown(m_one.Size());
}

void VectorPair::AssignItself(Input& /*in*/) {
    const Array& same = m_one.array;
    m_one.array = same;
}

void VectorPair::Construct(Input& in) {
    const uint32 count = in.Below(40);
    const int value = in.Byte();
    const unsigned choice = in.Below(5);
    Array made = choice == 0   ? Array(count)
                 : choice == 1 ? Array(count, TracedItem(value))
                 : choice == 2 ? Array(m_one.array.GetFirstItem(), m_one.array.size())
                 : choice == 3 ? Array(nullptr, count)
                               : Array(m_one.array);
    VectorSide side;
    side.array.swap(made);
    if (choice == 1) {
        side.model.assign(count, value);
    } else if (choice == 2 || choice == 4) {
        side.model = m_one.model;
    }
    side.Grown(choice == 0 ? count : side.Size());
    CheckSide(side);
    side.array.swap(m_other.array);
    side.model.swap(m_other.model);
    m_other.capacity = side.capacity;
}

}  // namespace fuzz

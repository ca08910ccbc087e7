// vaxostl::vector: the library's growable array, and vaxostl::vector_growth, the
// arithmetic of its growth.
//
// Differences from the standard library's vector
// - Sizes and indices are 32 bits wide, on every platform.
// - An operation that can fail returns a status: 0 for success, -1 for failure.
//   After -1 the array is unchanged.
// - The range erase is inclusive: erase(it, it) removes one element.
// - The iterators of an empty array are null, also when it holds storage.
// - Elements are copied when the storage grows, never moved, but for those of which nobody can
//   tell (moves_like_copy).
// - A copy is always a whole copy; swap() exchanges two arrays in O(1).
//
// Guarantees
// - The elements lie side by side, in index order. The array owns them and
//   their storage. Slots past the last element are raw storage.
// - Growth: the first storage has 8 slots, each further one twice as many, or
//   exactly as many as were asked for if that is more. Storage is only ever
//   replaced by a larger one; it is freed by the destructor alone.
// - Storage that cannot be had gives -1: the allocator has none, the bytes do not
//   fit PTRDIFF_MAX, or the number of slots does not fit 32 bits (31 where moves_like_copy).
//   Nothing wraps.
// - Erasing at the front takes as long as there are elements behind; where moves_like_copy,
//   as long as there are elements erased.
// - A constructor that cannot get storage makes an empty array. An assignment
//   that cannot get storage leaves an empty array.
// - An argument of Add, push_back, insert or Resize may be an element of the
//   array itself, also when the storage grows.
// - If copying an element throws, nothing leaks and the array stays usable. While
//   growing or inserting it keeps the elements before the place of the throw and
//   loses the rest; elsewhere it keeps what was complete.
//
// Non-guarantees
// - Not thread-safe: threads may read one array together; a writer needs it alone.
// - Growth invalidates every pointer, reference and iterator; insert and erase
//   invalidate those at and past the place of the change.
// - An argument must not be something that an element owns through a pointer and
//   that goes with the element: growth destroys the old element first.
// - A destructor of an element must not throw, nor use the array.
//
// What an element type needs: a copy constructor. Only these need more: erase a
// copy assignment, Resize(n) a default constructor, contains and the comparisons
// an operator==. A vector of an incomplete type may be named and be a member.
#ifndef VAXO_VAXOVECTOR_H
#define VAXO_VAXOVECTOR_H

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "vaxotypes.h"

namespace vaxostl {

namespace vector_growth {

// The number of slots to allocate when `capacity` slots are there and `count` are
// needed; 0 when the doubled number does not fit 32 bits.
constexpr uint32 NextCapacity(uint32 capacity, uint32 count) {
    if (capacity > std::numeric_limits<uint32>::max() / 2) {
        return 0;
    }
    const uint32 next = capacity == 0 ? 8 : capacity * 2;
    return next < count ? count : next;
}

// The bytes of `count` slots of `size` bytes; 0 when they are more than `max`.
constexpr std::size_t ByteCount(uint32 count, std::size_t size, std::size_t max) {
    return count > max / size ? 0 : static_cast<std::size_t>(count) * size;
}

}  // namespace vector_growth

// Whether nobody can tell a move from a copy whose source is destroyed at once. Arrays of such
// elements move them, and erase at the front without touching the rest.
template <class T>
struct moves_like_copy : std::false_type {};
// A shared pointer that is moved from is as good as destroyed.
template <class T>
struct moves_like_copy<std::shared_ptr<T>> : std::true_type {};

template <class T>
class vector {
public:
    // A position in the array: a pointer to a slot, or null. A plain value that
    // owns nothing. A null iterator stays null however it is stepped; it must not
    // be dereferenced, and neither must end().
    class iterator {
    public:
        // What algorithms may ask of it.
        typedef std::bidirectional_iterator_tag iterator_category;
        typedef T value_type;                    // an element
        typedef std::ptrdiff_t difference_type;  // unused: iterators have no difference
        typedef T* pointer;                      // what `->` gives
        typedef T& reference;                    // what `*` gives

        iterator() = default;
        explicit iterator(T* item) : m_Item(item) {}  // at that slot; null is allowed

        // One slot on, or back.
        iterator& operator++() { return *this = *this + 1; }
        iterator operator++(int) { return std::exchange(*this, *this + 1); }
        iterator& operator--() {
            m_Item = m_Item == nullptr ? nullptr : m_Item - 1;
            return *this;
        }
        iterator operator--(int) {
            const iterator before(*this);
            --*this;
            return before;
        }
        // `count` slots on.
        iterator operator+(uint32 count) const {
            return iterator(m_Item == nullptr ? nullptr : m_Item + count);
        }

        T& operator*() const { return *m_Item; }  // the element
        T* operator->() const { return m_Item; }

        // At the same slot.
        bool operator==(const iterator& other) const { return m_Item == other.m_Item; }
        bool operator!=(const iterator& other) const { return m_Item != other.m_Item; }

        // Exchanges the positions.
        void swap(iterator& other) noexcept { std::swap(m_Item, other.m_Item); }

    private:
        T* m_Item = nullptr;
    };

    // No elements and no storage.
    vector() = default;
    // No elements; storage as after reserve(capacity).
    explicit vector(uint32 capacity);
    // `count` copies of `value`.
    vector(uint32 count, const T& value);
    // Copies of the `count` elements at `items`; empty when `items` is null.
    vector(const T* items, uint32 count);
    vector(const vector& other);
    ~vector();

    // Destroys the elements, then copies those of `other` in order into the
    // storage, which is kept if it is large enough. Assigning an array to itself
    // does nothing.
    vector& operator=(const vector& other);

    // Equal: as many elements, and each equal to its counterpart by ==.
    bool operator==(const vector& other) const;
    bool operator!=(const vector& other) const { return !(*this == other); }

    uint32 size() const { return m_ItemCount; }                  // elements
    uint32 GetItemCount() const { return m_ItemCount; }          // the same
    uint32 capacity() const { return m_Capacity & ~kLeadFlag; }  // slots
    bool empty() const { return m_ItemCount == 0; }              // holds no elements

    // The element at an index that must exist; a debug build asserts it.
    T& operator[](uint32 index) { return *Existing(index); }
    const T& operator[](uint32 index) const { return *Existing(index); }
    T& front() { return *Existing(0); }  // the first element, which must exist
    const T& front() const { return *Existing(0); }
    T& back() { return *Existing(m_ItemCount - 1); }  // the last element, which must exist
    const T& back() const { return *Existing(m_ItemCount - 1); }

    // The same, answering null when there is no such element.
    T* GetItem(uint32 index) { return index < m_ItemCount ? m_Items + index : nullptr; }
    const T* GetItem(uint32 index) const { return index < m_ItemCount ? m_Items + index : nullptr; }
    T* GetFirstItem() { return GetItem(0); }  // null when empty
    const T* GetFirstItem() const { return GetItem(0); }
    T* GetLastItem() { return empty() ? nullptr : m_Items + m_ItemCount - 1; }  // null when empty
    const T* GetLastItem() const { return empty() ? nullptr : m_Items + m_ItemCount - 1; }

    // The first element and one past the last; both null when there is none.
    iterator begin() { return iterator(empty() ? nullptr : m_Items); }
    // One past the last.
    iterator end() { return iterator(empty() ? nullptr : m_Items + m_ItemCount); }
    // As begin() of an array that changes.
    const T* begin() const { return empty() ? nullptr : m_Items; }
    // One past the last.
    const T* end() const { return empty() ? nullptr : m_Items + m_ItemCount; }

    // True when an element equals `value` by ==.
    bool contains(const T& value) const;

    // Makes room for `count` elements in all. Changes nothing when there is room.
    int32 reserve(uint32 count);

    // Appends a copy of `item`. The two are the same.
    int32 Add(const T& item);
    int32 push_back(const T& item) { return Add(item); }  // the same as Add

    // Inserts `count` copies of `value` before `position`; a null iterator and
    // end() append. -1 when `position` is not of this array, or without storage.
    int32 insert(iterator position, const T& value, uint32 count);

    // Makes the number of elements `count`: destroys those past it, or appends
    // value-initialised elements (zero for numbers), or copies of `value`.
    int32 Resize(uint32 count);
    int32 Resize(uint32 count, const T& value);

    // Removes the elements from `first` to `last`, both included. -1, and nothing
    // changes, unless first <= last and both are elements of this array.
    int32 erase(uint32 first, uint32 last);
    int32 erase(iterator first, iterator last);
    // Removes one element and returns the position of the one that followed it:
    // end() after the last one, null when the array is empty now. Returns end()
    // and removes nothing when `position` is not an element of this array.
    iterator erase(iterator position);

    // Destroys the elements in index order; the storage stays.
    void clear();

    // Exchanges elements and storage. Iterators go with the storage.
    void swap(vector& other) noexcept;

    // Raw storage as the array itself would allocate it to hold `count` elements,
    // and its number of slots; the array is not touched. Null, with `newCapacity`
    // unchanged, when there is none. The caller frees it with Deallocate, which
    // runs no destructors and ignores null.
    T* Allocate(uint32 count, uint32& newCapacity) const;
    static void Deallocate(T* items);  // frees what Allocate gave

private:
    struct Replaced;
    struct Relocation;
    struct Gap;

    // Stands for "not an element": no array holds so many.
    static constexpr uint32 kNoIndex = std::numeric_limits<uint32>::max();
    // operator new aligns to the default by itself; beyond that it must be told.
    static constexpr bool IsOverAligned() { return alignof(T) > __STDCPP_DEFAULT_NEW_ALIGNMENT__; }

    // Elements that were erased at the front leave a lead: empty slots before m_Items, which
    // are used again when those behind the elements are full. A flag in m_Capacity says that
    // there is one; how long it is stands in the last of its slots.
    static constexpr bool kHasLead = moves_like_copy<T>::value;
    static constexpr uint32 kLeadFlag = kHasLead ? uint32{1} << 31 : 0;

    uint32 Lead() const;
    void SetLead(uint32 slots);
    T* FirstSlot() const { return m_Items == nullptr ? nullptr : m_Items - Lead(); }
    void GiveUpLead();
    int32 EraseFront(uint32 removed);

    T* Existing(uint32 index) const {
        assert(index < m_ItemCount);
        return m_Items + index;
    }
    uint32 IndexOf(const T* item) const;
    int32 Grow(uint32 count, Replaced& replaced);
    int32 GrowBy(uint32 count, Replaced& replaced);
    int32 AddToFull(const T& item);
    void Append(const T* items, uint32 count);
    int32 InsertAt(uint32 index, const T& value, uint32 count);
    void Truncate(uint32 count);
    static void Destroy(T* items, uint32 first, uint32 end);

    uint32 m_Capacity = 0;   // slots allocated, and kLeadFlag
    uint32 m_ItemCount = 0;  // elements, at most as many as slots
    T* m_Items = nullptr;    // the first element's slot; null until the first growth
};

}  // namespace vaxostl

#include "vaxovectorimpl.h"

#endif

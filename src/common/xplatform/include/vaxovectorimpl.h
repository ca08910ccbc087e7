// The bodies of vaxostl::vector's members. Include vaxovector.h, which is their
// manual.
#ifndef VAXO_VAXOVECTORIMPL_H
#define VAXO_VAXOVECTORIMPL_H

#include "vaxovector.h"

namespace vaxostl {

// The element for a constructor: to be moved from where nobody can tell, else to be copied.
template <class T>
std::conditional_t<moves_like_copy<T>::value, T&&, const T&> MovedOrCopied(T& item) {
    return static_cast<std::conditional_t<moves_like_copy<T>::value, T&&, const T&>>(item);
}

// The storage that a growth has replaced, freed at the end of the operation. It
// stays that long because an argument of the operation may have lain in it.
template <class T>
struct vector<T>::Replaced {
    T* items = nullptr;

    Replaced() = default;
    // The first growth replaces nothing, and telling the allocator so takes a tenth of a copy.
    ~Replaced() {
        if (items != nullptr) {
            Deallocate(items);
        }
    }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;
};

// The way of the elements to new storage. Its destructor puts the new storage in
// place with the elements that are there: all of them, or, when a copy has thrown,
// those before it. So the normal end and the failure are one path.
template <class T>
struct vector<T>::Relocation {
    vector& array;
    Replaced& replaced;
    T* items;
    uint32 capacity;
    uint32 moved;

    ~Relocation() {
        Destroy(array.m_Items, moved, array.m_ItemCount);
        replaced.items = array.FirstSlot();
        array.m_Items = items;
        array.m_Capacity = capacity;
        array.m_ItemCount = moved;
    }
};

// The state of an insertion: elements live in [0, kept) and in [tail, end), raw
// storage between. Its destructor gives up what is past the raw storage; in the
// normal end there is none.
template <class T>
struct vector<T>::Gap {
    vector& array;
    uint32 kept;
    uint32 tail;
    uint32 end;

    ~Gap() {
        if (kept == tail) {
            kept = end;
        } else {
            Destroy(array.m_Items, tail, end);
        }
        array.m_ItemCount = kept;
    }
};

// The filling constructors delegate, so that the destructor runs if a copy throws.
template <class T>
vector<T>::vector(uint32 capacity) : vector() {
    reserve(capacity);
}

template <class T>
vector<T>::vector(uint32 count, const T& value) : vector() {
    Resize(count, value);
}

template <class T>
vector<T>::vector(const T* items, uint32 count) : vector() {
    if (items == nullptr || count == 0) {
        return;
    }
    m_Items = Allocate(count, m_Capacity);
    if (m_Items != nullptr) {
        Append(items, count);
    }
}

template <class T>
vector<T>::vector(const vector& other) : vector(other.m_Items, other.m_ItemCount) {}

template <class T>
vector<T>::~vector() {
    clear();
    Deallocate(FirstSlot());
}

template <class T>
vector<T>& vector<T>::operator=(const vector& other) {
    if (this == &other) {
        return *this;
    }
    clear();
    if (reserve(other.m_ItemCount) == 0) {
        Append(other.m_Items, other.m_ItemCount);
    }
    return *this;
}

// Copies to the empty array, which has the room. One copy of all bytes where nobody can tell it
// from a copy of each element.
template <class T>
void vector<T>::Append(const T* items, uint32 count) {
    if constexpr (std::is_trivially_copyable_v<T>) {
        if (count != 0) {
            std::memcpy(static_cast<void*>(m_Items), items, std::size_t{count} * sizeof(T));
            m_ItemCount = count;
        }
    } else {
        while (m_ItemCount < count) {
            ::new (static_cast<void*>(m_Items + m_ItemCount)) T(items[m_ItemCount]);
            ++m_ItemCount;
        }
    }
}

template <class T>
bool vector<T>::operator==(const vector& other) const {
    if (m_ItemCount != other.m_ItemCount) {
        return false;
    }
    for (uint32 index = 0; index < m_ItemCount; ++index) {
        if (!(m_Items[index] == other.m_Items[index])) {
            return false;
        }
    }
    return true;
}

template <class T>
bool vector<T>::contains(const T& value) const {
    return std::find(begin(), end(), value) != end();
}

template <class T>
int32 vector<T>::reserve(uint32 count) {
    Replaced replaced;
    return Grow(count, replaced);
}

// reserve, but for the freeing of the old storage, which is left to `replaced`.
template <class T>
int32 vector<T>::Grow(uint32 count, Replaced& replaced) {
    if (capacity() >= count) {
        if (capacity() - Lead() < count) {
            GiveUpLead();
        }
        return 0;
    }
    uint32 capacity = 0;
    T* const items = Allocate(count, capacity);
    if (items == nullptr) {
        return -1;
    }
    Relocation relocation{*this, replaced, items, capacity, 0};
    if constexpr (std::is_trivially_copyable_v<T>) {
        if (m_ItemCount != 0) {
            std::memcpy(static_cast<void*>(items), m_Items, std::size_t{m_ItemCount} * sizeof(T));
            relocation.moved = m_ItemCount;
        }
        return 0;
    }
    while (relocation.moved < m_ItemCount) {
        T& old = m_Items[relocation.moved];
        ::new (static_cast<void*>(items + relocation.moved)) T(MovedOrCopied(old));
        old.~T();
        ++relocation.moved;
    }
    return 0;
}

template <class T>
int32 vector<T>::GrowBy(uint32 count, Replaced& replaced) {
    if (count > std::numeric_limits<uint32>::max() - m_ItemCount) {
        return -1;
    }
    return Grow(m_ItemCount + count, replaced);
}

template <class T>
int32 vector<T>::Add(const T& item) {
    const uint32 room = (m_Capacity & kLeadFlag) == 0 ? m_Capacity : capacity() - Lead();
    if (m_ItemCount == room) {
        return AddToFull(item);
    }
    ::new (static_cast<void*>(m_Items + m_ItemCount)) T(item);
    ++m_ItemCount;
    return 0;
}

// Apart, so that the usual way is short enough to be inlined.
template <class T>
int32 vector<T>::AddToFull(const T& item) {
    const uint32 own = IndexOf(std::addressof(item));
    Replaced replaced;
    const int32 status = GrowBy(1, replaced);
    if (status != 0) {
        return status;
    }
    ::new (static_cast<void*>(m_Items + m_ItemCount)) T(own == kNoIndex ? item : m_Items[own]);
    ++m_ItemCount;
    return 0;
}

template <class T>
int32 vector<T>::insert(iterator position, const T& value, uint32 count) {
    if (position == iterator() || position == end()) {
        return InsertAt(m_ItemCount, value, count);
    }
    const uint32 index = IndexOf(position.operator->());
    return index == kNoIndex ? -1 : InsertAt(index, value, count);
}

// Inserts before `index`, which is at most the number of elements. The tail goes
// up from its end, copied then destroyed, so that no slot is assigned to.
template <class T>
int32 vector<T>::InsertAt(uint32 index, const T& value, uint32 count) {
    const uint32 own = IndexOf(std::addressof(value));
    Replaced replaced;
    if (GrowBy(count, replaced) != 0) {
        return -1;
    }
    if (count == 0) {
        return 0;
    }
    Gap gap{*this, m_ItemCount, m_ItemCount + count, m_ItemCount + count};
    while (gap.kept > index) {
        T& old = m_Items[gap.kept - 1];
        ::new (static_cast<void*>(m_Items + gap.tail - 1)) T(MovedOrCopied(old));
        --gap.tail;
        old.~T();
        --gap.kept;
    }
    const T* source = std::addressof(value);
    if (own != kNoIndex) {
        source = m_Items + (own < index ? own : own + count);
    }
    while (gap.kept < gap.tail) {
        ::new (static_cast<void*>(m_Items + gap.kept)) T(*source);
        ++gap.kept;
    }
    return 0;
}

template <class T>
int32 vector<T>::Resize(uint32 count) {
    if (count <= m_ItemCount) {
        Truncate(count);
        return 0;
    }
    if (reserve(count) != 0) {
        return -1;
    }
    while (m_ItemCount < count) {
        ::new (static_cast<void*>(m_Items + m_ItemCount)) T();
        ++m_ItemCount;
    }
    return 0;
}

template <class T>
int32 vector<T>::Resize(uint32 count, const T& value) {
    if (count <= m_ItemCount) {
        Truncate(count);
        return 0;
    }
    return InsertAt(m_ItemCount, value, count - m_ItemCount);
}

template <class T>
int32 vector<T>::erase(uint32 first, uint32 last) {
    // Without storage there is no element either; GCC warns of the copies below
    // unless it is told.
    if (first > last || last >= m_ItemCount || m_Items == nullptr) {
        return -1;
    }
    const uint32 removed = last - first + 1;
    if constexpr (kHasLead) {
        if (first == 0) {
            return EraseFront(removed);
        }
    }
    const uint32 count = m_ItemCount - removed;
    if constexpr (std::is_trivially_copyable_v<T>) {
        std::memmove(static_cast<void*>(m_Items + first), m_Items + last + 1,
                     std::size_t{count - first} * sizeof(T));
    } else {
        for (uint32 index = first; index < count; ++index) {
            m_Items[index] = MovedOrCopied(m_Items[index + removed]);
        }
    }
    Truncate(count);
    return 0;
}

template <class T>
int32 vector<T>::EraseFront(uint32 removed) {
    const uint32 lead = Lead() + removed;
    Destroy(m_Items, 0, removed);
    m_Items += removed;
    m_ItemCount -= removed;
    SetLead(lead);
    if (m_ItemCount == 0) {
        GiveUpLead();
    }
    return 0;
}

template <class T>
uint32 vector<T>::Lead() const {
    uint32 slots = 0;
    if ((m_Capacity & kLeadFlag) != 0) {
        std::memcpy(&slots, static_cast<const void*>(m_Items - 1), sizeof(slots));
    }
    return slots;
}

// The lead is there already: raw slots, at least one.
template <class T>
void vector<T>::SetLead(uint32 slots) {
    static_assert(!kHasLead || sizeof(T) >= sizeof(slots), "the number fits into a slot");
    std::memcpy(static_cast<void*>(m_Items - 1), &slots, sizeof(slots));
    m_Capacity |= kLeadFlag;
}

// Moves the elements to the first slots.
template <class T>
void vector<T>::GiveUpLead() {
    T* const first = FirstSlot();
    m_Capacity &= ~kLeadFlag;
    T* const items = std::exchange(m_Items, first);
    for (uint32 index = 0; index < m_ItemCount; ++index) {
        ::new (static_cast<void*>(first + index)) T(MovedOrCopied(items[index]));
        items[index].~T();
    }
}

template <class T>
int32 vector<T>::erase(iterator first, iterator last) {
    return erase(IndexOf(first.operator->()), IndexOf(last.operator->()));
}

template <class T>
typename vector<T>::iterator vector<T>::erase(iterator position) {
    const uint32 index = IndexOf(position.operator->());
    if (erase(index, index) != 0) {
        return end();
    }
    return begin() + index;
}

template <class T>
void vector<T>::clear() {
    Truncate(0);
}

template <class T>
void vector<T>::swap(vector& other) noexcept {
    std::swap(m_Capacity, other.m_Capacity);
    std::swap(m_ItemCount, other.m_ItemCount);
    std::swap(m_Items, other.m_Items);
}

template <class T>
T* vector<T>::Allocate(uint32 count, uint32& newCapacity) const {
    const uint32 capacity = vector_growth::NextCapacity(this->capacity(), count);
    const std::size_t bytes = vector_growth::ByteCount(
        capacity, sizeof(T), static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()));
    if (bytes == 0 || (capacity & kLeadFlag) != 0) {
        return nullptr;
    }
    void* storage = nullptr;
    if constexpr (IsOverAligned()) {
        storage = ::operator new(bytes, std::align_val_t(alignof(T)), std::nothrow);
    } else {
        storage = ::operator new(bytes, std::nothrow);
    }
    if (storage != nullptr) {
        newCapacity = capacity;
    }
    return static_cast<T*>(storage);
}

template <class T>
void vector<T>::Deallocate(T* items) {
    if constexpr (IsOverAligned()) {
        ::operator delete(static_cast<void*>(items), std::align_val_t(alignof(T)));
    } else {
        ::operator delete(static_cast<void*>(items));
    }
}

// The index of the element at `item`; kNoIndex when there is none. The order of
// unrelated pointers is that of std::less: the operators leave it open.
template <class T>
uint32 vector<T>::IndexOf(const T* item) const {
    const std::less<const T*> before;
    if (m_ItemCount == 0 || before(item, m_Items) || !before(item, m_Items + m_ItemCount)) {
        return kNoIndex;
    }
    return static_cast<uint32>(item - m_Items);
}

// Destroys the elements past the first `count`.
template <class T>
void vector<T>::Truncate(uint32 count) {
    Destroy(m_Items, count, m_ItemCount);
    m_ItemCount = count;
    if (count == 0 && m_Items != nullptr) {
        GiveUpLead();
    }
}

template <class T>
void vector<T>::Destroy(T* items, uint32 first, uint32 end) {
    for (uint32 index = first; index < end; ++index) {
        items[index].~T();
    }
}

}  // namespace vaxostl

#endif

// The owned buffer behind strutf8, strutf16 and stream: one place that allocates,
// grows, shrinks, splices and compares. Internal; not installed.
//
// Guarantees
// - A length that the room cannot count is an allocation failure: std::bad_alloc,
//   thrown before a byte of the source is read. Nothing wraps around.
// - An allocation that fails leaves the owner as it was.
// - The source of a splice may lie in the owner's own buffer.
// - After a splice, grow, shrink or growing resize the buffer ends in a zero unit
//   behind the content, unless there is no buffer.
//
// Not thread-safe, like its owners.
#ifndef VAXO_VAXOOWNED_H
#define VAXO_VAXOOWNED_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>

#include "vaxotypes.h"

namespace vaxo::owned {

// The three fields of an owner, by reference. `room` counts the units of the
// buffer, the terminator's included; `data` comes from new Unit[] or is null.
template <class Unit>
struct fields {
    uint32& room;
    uint32& len;
    Unit*& data;
};

// The largest buffer in units: what a uint32 counts and what a pointer
// difference measures, which on a 32-bit machine is less.
template <class Unit>
constexpr uint32 max_room() {
    constexpr uint64 addressable = static_cast<uint64>(PTRDIFF_MAX) / sizeof(Unit);
    return static_cast<uint32>(std::min<uint64>(UINT32_MAX, addressable));
}

// `length` as a length that fits a buffer with its terminator; else the failure
// that asking the allocator for it would end in.
template <class Unit>
uint32 checked_length(uint64 length) {
    if (length >= max_room<Unit>()) {
        throw std::bad_alloc();
    }
    return static_cast<uint32>(length);
}

// memcpy and memmove do not take null, not even for no bytes; empty owners have it.
template <class Unit>
void move_units(Unit* to, const Unit* from, uint32 count) {
    if (count != 0) {
        std::memmove(to, from, std::size_t{count} * sizeof(Unit));
    }
}

template <class Unit>
void release(fields<Unit> own) {
    delete[] own.data;
    own.data = nullptr;
    own.room = 0;
    own.len = 0;
}

// Half as much again as there is, so that appending costs linear time, but at
// least `needed`, and never more than there can be.
template <class Unit>
uint32 next_room(uint32 room, uint32 needed) {
    const uint64 grown = uint64{room} + room / 2;
    return static_cast<uint32>(std::min<uint64>(std::max<uint64>(grown, needed), max_room<Unit>()));
}

template <class Unit>
bool lies_inside(fields<Unit> own, const Unit* from) {
    // std::less orders pointers of different buffers; the operator need not.
    const std::less<const Unit*> before;
    return own.data != nullptr && !before(from, own.data) && before(from, own.data + own.room);
}

// Replaces the `count` units at `pos` by the `added` units at `from`. The cut
// must lie inside the content; `from` may be null when `added` is 0.
template <class Unit>
void splice(fields<Unit> own, uint32 pos, uint32 count, const Unit* from, uint32 added) {
    const uint32 total = checked_length<Unit>(uint64{own.len} - count + added);
    const uint32 tail = own.len - pos - count;
    const bool fits = total < own.room;
    if (!fits && total == 0) {
        return;  // empty and without a terminator's room: stays so
    }
    if (fits && (tail == 0 || !lies_inside(own, from))) {
        move_units(own.data + pos + added, own.data + pos + count, tail);
        move_units(own.data + pos, from, added);
    } else {
        uint32 room = own.room;
        if (!fits) {
            // A new content gets what it needs; one that grows will grow again.
            room = count == own.len ? total + 1 : next_room<Unit>(own.room, total + 1);
        }
        Unit* fresh = new Unit[room];
        move_units(fresh, own.data, pos);
        move_units(fresh + pos, from, added);
        move_units(fresh + pos + added, own.data + pos + count, tail);
        delete[] own.data;  // last: `from` may point into it
        own.data = fresh;
        own.room = room;
    }
    own.len = total;
    own.data[total] = 0;
}

// Moves the content into `fresh`, a buffer of `room` units.
template <class Unit>
void move_into(fields<Unit> own, Unit* fresh, uint32 room) {
    move_units(fresh, own.data, own.len);
    fresh[own.len] = 0;
    delete[] own.data;
    own.data = fresh;
    own.room = room;
}

// Makes room for `length` units and a terminator. Returns the room.
template <class Unit>
uint32 grow(fields<Unit> own, uint32 length) {
    const uint32 needed = checked_length<Unit>(length) + 1;
    if (needed > own.room) {
        const uint32 room = next_room<Unit>(own.room, needed);
        move_into(own, new Unit[room], room);
    }
    return own.room;
}

// Gives memory back: keeps room for `length` units, or for the content when that
// is longer; without any, no buffer. Keeps the buffer when there is no memory
// for the smaller one. Returns the room.
template <class Unit>
uint32 shrink(fields<Unit> own, uint32 length) {
    const uint32 kept = std::max(length, own.len);
    if (kept == 0) {
        release(own);
    } else if (kept < own.room && kept + 1 < own.room) {
        Unit* fresh = new (std::nothrow) Unit[kept + 1];
        if (fresh != nullptr) {
            move_into(own, fresh, kept + 1);
        }
    }
    return own.room;
}

// Cuts the content to `length`, or extends it with zero units.
template <class Unit>
void resize(fields<Unit> own, uint32 length) {
    if (length > own.len) {
        grow(own, length);
        std::fill(own.data + own.len, own.data + length, Unit{0});
    }
    own.len = length;
    if (length < own.room) {
        own.data[length] = 0;
    }
}

// -1, 0 or 1: the order of the bytes as unsigned numbers; a text comes before
// its own continuations.
inline int32 compare(const void* left, std::size_t left_size, const void* right,
                     std::size_t right_size) {
    const std::size_t common = std::min(left_size, right_size);
    const int order = common == 0 ? 0 : std::memcmp(left, right, common);
    if (order != 0) {
        return order < 0 ? -1 : 1;
    }
    if (left_size == right_size) {
        return 0;
    }
    return left_size < right_size ? -1 : 1;
}

// The size of a terminated text in bytes, of any length; null is the empty text.
inline std::size_t text_size(const utf8* text) {
    return text == nullptr ? 0 : std::strlen(text);
}

}  // namespace vaxo::owned

#endif

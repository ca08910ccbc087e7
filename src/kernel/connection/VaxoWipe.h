// Overwrites secrets before their memory goes back: best effort, for the copies that the
// code here makes itself.
#ifndef VAXO_VAXOWIPE_H
#define VAXO_VAXOWIPE_H

#include <cstddef>
#include <string>

// Volatile, so that the writes stay although nobody reads them.
inline void VaxoWipe(void* bytes, std::size_t size) noexcept {
    volatile auto* const p = static_cast<volatile unsigned char*>(bytes);
    for (std::size_t i = 0; i < size; ++i) {
        p[i] = 0;
    }
}

// Leaves the text empty.
inline void VaxoWipe(std::string& text) noexcept {
    VaxoWipe(text.data(), text.size());
    text.clear();
}

#endif

// The bytes of a fuzzer's input, taken from the front.
//
// Every string of bytes is a valid input: past the end there are zeros and empty texts.
#ifndef VAXO_FUZZ_INPUT_H
#define VAXO_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}

    bool AtEnd() const { return m_at == m_end; }

    std::uint8_t Byte() { return AtEnd() ? std::uint8_t{0} : *m_at++; }
    bool Flag() { return Byte() % 2 != 0; }

    // Below `limit`, which is at least 1. A byte for small limits, two for others.
    std::uint32_t Below(std::size_t limit) {
        std::uint32_t value = Byte();
        if (limit > 256) {
            value = value << 8U | Byte();
        }
        return static_cast<std::uint32_t>(value % limit);
    }

    std::uint64_t Number(int bytes) {
        std::uint64_t value = 0;
        for (; bytes > 0; --bytes) {
            value = value << 8U | Byte();
        }
        return value;
    }

    // A text of at most `longest` bytes, which may be anything. Every other one is made of
    // few characters, so that searches and joins find something.
    std::string Text(std::size_t longest) {
        const unsigned head = Byte();
        const std::size_t left = static_cast<std::size_t>(m_end - m_at);
        const std::size_t size = std::min({head % 128 % (longest + 1), longest, left});
        std::string text;
        for (std::size_t i = 0; i < size; ++i) {
            const std::uint8_t byte = Byte();
            const char* const few = "abAB \n\xE4";  // its terminator is one of them
            text += head < 128 ? few[byte % 8] : static_cast<char>(byte);
        }
        return text;
    }

private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
};

}  // namespace fuzz

#endif

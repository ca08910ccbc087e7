// vaxo::strutf8 beside std::string. The standard one keeps up to 15 bytes in itself; the
// library's always allocates.
#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include "containers/Cases.h"
#include "vaxostrutf8.h"

namespace vaxoengine {

namespace {

using benchmark::State;

constexpr const char* kPiece = "12345678";
constexpr int kPieceSize = 8;

std::string Letters(int size) {
    std::string letters;
    letters.assign(static_cast<std::size_t>(size), 'a');
    return letters;
}

// Both are made from a literal: neither is told how long it is.
template <class Text>
Text TextOf(const char* literal) {
    return Text(literal);
}

// Length given, since both have to be told where the text ends or to look for it.
void Append(vaxo::strutf8& text, const char* piece) {
    text.append(piece, kPieceSize);
}
void Append(std::string& text, const char* piece) {
    text.append(piece, kPieceSize);
}

void Format(vaxo::strutf8& text, const char* part, int number) {
    text.format("%s/%d", part, number);
}
// As it is usually written without a formatting library; every text here fits.
void Format(std::string& text, const char* part, int number) {
    std::array<char, 256> buffer{};
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the peer is printf
    const int size = std::snprintf(buffer.data(), buffer.size(), "%s/%d", part, number);
    text.assign(buffer.data(), static_cast<std::size_t>(size));
}

template <class Text>
void Build(State& state, int size) {
    const std::string letters = Letters(size);
    const char* literal = letters.c_str();
    for ([[maybe_unused]] auto iteration : state) {
        benchmark::DoNotOptimize(literal);
        Text text(literal);
        benchmark::DoNotOptimize(text);
    }
}

template <class Text>
void Copy(State& state, int size) {
    const std::string letters = Letters(size);
    const auto text = TextOf<Text>(letters.c_str());
    for ([[maybe_unused]] auto iteration : state) {
        Text copy(text);
        benchmark::DoNotOptimize(copy);
    }
}

// Two texts that are equal, so all of both is read.
template <class Text>
void Compare(State& state, int size) {
    const std::string letters = Letters(size);
    auto left = TextOf<Text>(letters.c_str());
    auto right = TextOf<Text>(letters.c_str());
    for ([[maybe_unused]] auto iteration : state) {
        benchmark::DoNotOptimize(left);
        benchmark::DoNotOptimize(right);
        benchmark::DoNotOptimize(left == right);
    }
}

// In pieces of eight bytes, from empty.
template <class Text>
void AppendPieces(State& state, int size) {
    for ([[maybe_unused]] auto iteration : state) {
        Text text;
        for (int length = 0; length < size; length += kPieceSize) {
            Append(text, kPiece);
        }
        benchmark::DoNotOptimize(text);
    }
}

// Into a text that has been used for it before.
template <class Text>
void FormatAgain(State& state, int size) {
    const std::string letters = Letters(size);
    Text text;
    for ([[maybe_unused]] auto iteration : state) {
        Format(text, letters.c_str(), 1234567);
        benchmark::DoNotOptimize(text);
    }
}

template <class Text>
void RegisterText(const std::string& who) {
    const std::pair<const char*, void (*)(State&, int)> cases[] = {
        {"build", &Build<Text>},
        {"copy", &Copy<Text>},
        {"compare", &Compare<Text>},
        {"append", &AppendPieces<Text>},
    };
    for (const auto& [operation, run] : cases) {
        for (const int size : {kSmall, kMiddle, kLarge}) {
            benchmark::RegisterBenchmark(CaseName("String", operation, size, who).c_str(), run,
                                         size);
        }
    }
    for (const int size : {kSmall, kMiddle}) {
        benchmark::RegisterBenchmark(CaseName("String", "format", size, who).c_str(),
                                     &FormatAgain<Text>, size);
    }
}

}  // namespace

void RegisterTexts() {
    RegisterText<vaxo::strutf8>("vaxo");
    RegisterText<std::string>("std");
}

}  // namespace vaxoengine

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "instructions/Operations.h"
#include "vaxomap.h"
#include "vaxostrutf8.h"
#include "vaxovector.h"

namespace vaxoengine {

namespace {

constexpr int kElements = 64;
constexpr const char* kText = "a text of thirty-two characters.";

// Keeps what is given to it from being optimised away; there is no other way than assembly.
template <class T>
void Use(T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

typedef std::shared_ptr<int> Shared;
typedef vaxostl::vector<Shared> OwnArray;
typedef std::vector<Shared> StandardArray;

template <class Array>
void Fill(Array& array, const Shared& value) {
    for (int element = 0; element < kElements; ++element) {
        // NOLINTNEXTLINE(performance-inefficient-vector-operation): growing is part of it
        array.push_back(value);
    }
}

template <class Array>
void Append(int count) {
    const auto value = std::make_shared<int>(1);
    for (; count > 0; --count) {
        Array array;
        Fill(array, value);
        Use(array);
    }
}

template <class Array>
void AppendAndEraseFront(int count) {
    const auto value = std::make_shared<int>(1);
    for (; count > 0; --count) {
        Array array;
        Fill(array, value);
        while (!array.empty()) {
            array.erase(array.begin());
        }
        Use(array);
    }
}

void Insert(vaxostl::map<int, int>& map, int key) {
    map.insert(key, key);
}
void Insert(std::map<int, int>& map, int key) {
    map.emplace(key, key);
}

// 37 and 64 have no common divisor, so every key comes once, in no order.
template <class Map>
void InsertAndFind(int count) {
    for (; count > 0; --count) {
        Map map;
        int found = 0;
        for (int element = 0; element < kElements; ++element) {
            Insert(map, element * 37 % kElements);
        }
        for (int element = 0; element < kElements; ++element) {
            found += map.find(element) != map.end() ? 1 : 0;
        }
        Use(found);
    }
}

template <class Text>
void Copy(int count) {
    const Text text(kText);
    for (; count > 0; --count) {
        Text copy(text);
        Use(copy);
    }
}

void Format(int count) {
    vaxo::strutf8 text;
    for (; count > 0; --count) {
        text.format("%s/%d", kText, 1234567);
        Use(text);
    }
}

}  // namespace

std::vector<Operation> PartOperations() {
    return {
        {"array-append-64", "", true, 1000, &Append<OwnArray>,
         "64 shared_ptr appended to an empty array, and its end"},
        {"array-append-64-std", "", true, 1000, &Append<StandardArray>, "the same on std::vector"},
        {"array-erase-front-64", "array-append-64", true, 300, &AppendAndEraseFront<OwnArray>,
         "64 shared_ptr erased, the first each time"},
        {"array-erase-front-64-std", "array-append-64-std", true, 300,
         &AppendAndEraseFront<StandardArray>, "the same on std::vector"},
        {"map-insert-find-64", "", true, 500, &InsertAndFind<vaxostl::map<int, int>>,
         "64 entries inserted in an empty map, each found, and its end"},
        {"map-insert-find-64-std", "", true, 500, &InsertAndFind<std::map<int, int>>,
         "the same on std::map"},
        {"string-copy", "", true, 5000, &Copy<vaxo::strutf8>,
         "a string of 32 bytes copied, and its end"},
        {"string-copy-std", "", true, 5000, &Copy<std::string>, "the same on std::string"},
        {"string-format", "", true, 2000, &Format, "format(\"%s/%d\") of 32 bytes and a number"},
    };
}

}  // namespace vaxoengine

// vaxostl::vector beside std::vector, of int and of shared_ptr<int>: what a queue of plain
// values and the command queue hold.
#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "containers/Cases.h"
#include "vaxovector.h"

namespace vaxoengine {

namespace {

using benchmark::State;

// At the large size each erasure shifts the whole array: so many instead of all.
constexpr int kErasuresOfLarge = 200;

void Make(int number, int& value) {
    value = number;
}
void Make(int number, std::shared_ptr<int>& value) {
    value = std::make_shared<int>(number);
}

int Read(int value) {
    return value;
}
int Read(const std::shared_ptr<int>& value) {
    return *value;
}

template <class T>
std::vector<T> Values(int count) {
    std::vector<T> values(static_cast<std::size_t>(count));
    for (int number = 0; number < count; ++number) {
        Make(number, values[static_cast<std::size_t>(number)]);
    }
    return values;
}

template <class T>
bool Contains(const vaxostl::vector<T>& array, const T& value) {
    return array.contains(value);
}
template <class T>
bool Contains(const std::vector<T>& array, const T& value) {
    return std::find(array.begin(), array.end(), value) != array.end();
}

template <class Array, class T>
void Fill(Array& array, const std::vector<T>& values) {
    for (const T& value : values) {
        array.push_back(value);
    }
}

// From no storage to the last element, and the end of the array.
template <class Array, class T>
void Append(State& state, int size) {
    const std::vector<T> values = Values<T>(size);
    for ([[maybe_unused]] auto iteration : state) {
        Array array;
        Fill(array, values);
        benchmark::DoNotOptimize(array);
    }
}

// A mutable array is walked by iterators of the class iterator, a constant one by pointers.
template <class Array, class T>
void Iterate(State& state, int size) {
    Array array;
    Fill(array, Values<T>(size));
    for ([[maybe_unused]] auto iteration : state) {
        int sum = 0;
        for (T& value : array) {
            sum += Read(value);
        }
        benchmark::DoNotOptimize(sum);
        benchmark::ClobberMemory();
    }
}

template <class Array, class T>
void IterateConstant(State& state, int size) {
    Array array;
    Fill(array, Values<T>(size));
    for ([[maybe_unused]] auto iteration : state) {
        int sum = 0;
        for (const T& value : std::as_const(array)) {
            sum += Read(value);
        }
        benchmark::DoNotOptimize(sum);
        benchmark::ClobberMemory();
    }
}

template <class Array, class T>
void Index(State& state, int size) {
    Array array;
    Fill(array, Values<T>(size));
    for ([[maybe_unused]] auto iteration : state) {
        int sum = 0;
        for (decltype(array.size()) index = 0; index < array.size(); ++index) {
            sum += Read(array[index]);
        }
        benchmark::DoNotOptimize(sum);
        benchmark::ClobberMemory();
    }
}

template <class Array, class T>
void Copy(State& state, int size) {
    Array array;
    Fill(array, Values<T>(size));
    for ([[maybe_unused]] auto iteration : state) {
        Array copy(array);
        benchmark::DoNotOptimize(copy);
    }
}

// The first element again and again, as a queue is emptied.
template <class Array, class T>
void EraseFront(State& state, int size) {
    const std::vector<T> values = Values<T>(size);
    const int erasures = size > kMiddle ? kErasuresOfLarge : size;
    TimeOnFresh<Array>(
        state, size, [&values](Array& array) { Fill(array, values); },
        [erasures](Array& array) {
            for (int count = 0; count < erasures; ++count) {
                array.erase(array.begin());
            }
        });
}

// The last element, so the whole array is looked at.
template <class Array, class T>
void Find(State& state, int size) {
    const std::vector<T> values = Values<T>(size);
    Array array;
    Fill(array, values);
    for ([[maybe_unused]] auto iteration : state) {
        benchmark::DoNotOptimize(Contains(array, values.back()));
        benchmark::ClobberMemory();
    }
}

template <class Array, class T>
void RegisterArray(const std::string& kind, const std::string& who, int size) {
    const std::pair<const char*, void (*)(State&, int)> cases[] = {
        {"append", &Append<Array, T>},
        {"iterate", &Iterate<Array, T>},
        {"iterate-const", &IterateConstant<Array, T>},
        {"index", &Index<Array, T>},
        {"copy", &Copy<Array, T>},
        {"erase-front", &EraseFront<Array, T>},
        {"find", &Find<Array, T>},
    };
    for (const auto& [operation, run] : cases) {
        benchmark::RegisterBenchmark(CaseName("Array", operation + ("-" + kind), size, who).c_str(),
                                     run, size);
    }
}

}  // namespace

void RegisterArrays() {
    typedef std::shared_ptr<int> Shared;
    for (const int size : {kSmall, kMiddle, kLarge}) {
        RegisterArray<vaxostl::vector<int>, int>("int", "vaxo", size);
        RegisterArray<std::vector<int>, int>("int", "std", size);
        RegisterArray<vaxostl::vector<Shared>, Shared>("shared", "vaxo", size);
        RegisterArray<std::vector<Shared>, Shared>("shared", "std", size);
    }
}

}  // namespace vaxoengine

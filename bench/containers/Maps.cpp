// vaxostl::map beside std::map, from int to int.
#include <algorithm>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "containers/Cases.h"
#include "vaxomap.h"

namespace vaxoengine {

namespace {

using benchmark::State;
typedef std::vector<int> Keys;

// For the case that makes a list of the library's tree: a find there takes as many steps as
// there are entries.
constexpr int kThinned = 10000;

// Even numbers, so that there are keys between them.
Keys Ascending(int count) {
    Keys keys;
    for (int number = 0; number < count; ++number) {
        keys.push_back(2 * number);
    }
    return keys;
}

// The same in one disorder, alike in every run.
Keys Shuffled(int count) {
    Keys keys = Ascending(count);
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): reproducible
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

void Insert(vaxostl::map<int, int>& map, int key) {
    map.insert(key, key);
}
void Insert(std::map<int, int>& map, int key) {
    map.emplace(key, key);
}

template <class Map>
void Fill(Map& map, const Keys& keys) {
    for (const int key : keys) {
        Insert(map, key);
    }
}

template <class Map>
void EraseAll(Map& map, const Keys& keys) {
    for (const int key : keys) {
        map.erase(key);
    }
}

// From empty, and the end of the map.
template <class Map>
void TimeInsert(State& state, const Keys& keys) {
    for ([[maybe_unused]] auto iteration : state) {
        Map map;
        Fill(map, keys);
        benchmark::DoNotOptimize(map);
    }
}

template <class Map>
void InsertAscending(State& state, int size) {
    TimeInsert<Map>(state, Ascending(size));
}

template <class Map>
void InsertShuffled(State& state, int size) {
    TimeInsert<Map>(state, Shuffled(size));
}

template <class Map>
void TimeFind(State& state, const Map& map, const Keys& keys) {
    for ([[maybe_unused]] auto iteration : state) {
        int found = 0;
        for (const int key : keys) {
            found += map.find(key) != map.end() ? 1 : 0;
        }
        benchmark::DoNotOptimize(found);
    }
}

template <class Map>
void FindHit(State& state, int size) {
    Map map;
    Fill(map, Ascending(size));
    TimeFind(state, map, Shuffled(size));
}

template <class Map>
void FindMiss(State& state, int size) {
    Map map;
    Fill(map, Ascending(size));
    Keys keys = Shuffled(size);
    for (int& key : keys) {
        ++key;
    }
    TimeFind(state, map, keys);
}

template <class Map>
void Iterate(State& state, int size) {
    Map map;
    Fill(map, Shuffled(size));
    for ([[maybe_unused]] auto iteration : state) {
        int sum = 0;
        for (auto it = map.begin(); it != map.end(); ++it) {
            sum += it->second;
        }
        benchmark::DoNotOptimize(sum);
    }
}

template <class Map>
void EraseAscending(State& state, int size) {
    const Keys keys = Ascending(size);
    TimeOnFresh<Map>(
        state, size, [&keys](Map& map) { Fill(map, keys); },
        [&keys](Map& map) { EraseAll(map, keys); });
}

// The library's map does not rebalance when it erases: in this order its tree gets deeper and
// deeper.
template <class Map>
void EraseShuffled(State& state, int size) {
    const Keys filling = Ascending(size);
    const Keys erasing = Shuffled(size);
    TimeOnFresh<Map>(
        state, size, [&filling](Map& map) { Fill(map, filling); },
        [&erasing](Map& map) { EraseAll(map, erasing); });
}

// Finds in what is left when every other entry has gone: the worst for the library's map,
// whose tree is a list then.
template <class Map>
void FindInThinned(State& state, int size) {
    Map map;
    const Keys keys = Ascending(size);
    Fill(map, keys);
    Keys left;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        if (index % 2 == 0) {
            left.push_back(keys[index]);
        } else {
            map.erase(keys[index]);
        }
    }
    TimeFind(state, map, left);
}

template <class Map>
void RegisterMap(const std::string& who) {
    const std::pair<const char*, void (*)(State&, int)> cases[] = {
        {"insert-ascending", &InsertAscending<Map>},
        {"insert-shuffled", &InsertShuffled<Map>},
        {"find-hit", &FindHit<Map>},
        {"find-miss", &FindMiss<Map>},
        {"iterate", &Iterate<Map>},
        {"erase-ascending", &EraseAscending<Map>},
        {"erase-shuffled", &EraseShuffled<Map>},
    };
    for (const auto& [operation, run] : cases) {
        for (const int size : {kSmall, kMiddle, kLarge}) {
            benchmark::RegisterBenchmark(CaseName("Map", operation, size, who).c_str(), run, size);
        }
    }
    for (const int size : {kSmall, kMiddle, kThinned}) {
        benchmark::RegisterBenchmark(CaseName("Map", "find-in-thinned", size, who).c_str(),
                                     &FindInThinned<Map>, size);
    }
}

}  // namespace

void RegisterMaps() {
    RegisterMap<vaxostl::map<int, int>>("vaxo");
    RegisterMap<std::map<int, int>>("std");
}

}  // namespace vaxoengine

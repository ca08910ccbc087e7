// vaxostl::map against two models at once, over long random sequences: the standard
// map for the contents, and a tree of its own (vaxomap_model.h) for shape and colours.

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/xplatform/vaxomap_model.h"
#include "vaxomap.h"

using vaxomaptest::TreeModel;

namespace {

// The n-th key of a type. The order of strings is not that of their numbers.
template <class Key>
Key MakeKey(unsigned n);

template <>
int MakeKey<int>(unsigned n) {
    return static_cast<int>(n);
}

template <>
std::string MakeKey<std::string>(unsigned n) {
    return "stream-" + std::to_string(n * 7 % 1000);
}

// Drives the three side by side and compares all of them after every step.
template <class Key>
class Drive {
public:
    explicit Drive(std::uint32_t seed) : m_seed(seed), m_random(seed) {}

    // Steps of which `insertPercent` in a hundred add a key out of `range`, if it is new,
    // and the others remove one, if it is there. False once a step has gone wrong.
    bool Run(int steps, unsigned insertPercent, unsigned range) {
        for (int i = 0; i < steps; ++i) {
            const Key key = MakeKey<Key>(Random(range));
            if (Random(100) < insertPercent) {
                Add(key);
            } else {
                Remove(key);
            }
            ++m_step;
            if (!Compare()) {
                return false;
            }
        }
        return true;
    }

    bool RedBlack() const { return vaxomaptest::RedBlack(m_map); }

    bool CopyAndCompare() {
        const vaxostl::map<Key, int> copy(m_map);
        m_map.clear();
        m_map = copy;
        // Copying inserts in key order, into a tree of no history.
        m_model = TreeModel<Key>();
        for (const auto& entry : m_contents) {
            m_model.Add(entry.first);
        }
        return Compare();
    }

private:
    unsigned Random(unsigned bound) { return static_cast<unsigned>(m_random() % bound); }

    void Add(const Key& key) {
        const int value = static_cast<int>(Random(1000000));
        const bool fresh = m_contents.count(key) == 0;
        switch (Random(4)) {
            case 0:
                m_operation = "insert";
                Answered(m_map.insert(key, value) == fresh);
                m_contents.emplace(key, value);
                break;
            case 1: {
                m_operation = "insert pair";
                const auto result =
                    m_map.insert(typename vaxostl::map<Key, int>::value_type(key, value));
                m_contents.emplace(key, value);
                Answered(result.second == fresh && !(result.first->first < key) &&
                         !(key < result.first->first) &&
                         result.first->second == m_contents.at(key));
                break;
            }
            case 2:
                m_operation = "set";
                m_map.set(key, value);
                m_contents[key] = value;
                break;
            default:
                m_operation = "subscript";
                m_map[key] = value;
                m_contents[key] = value;
                break;
        }
        Answered(m_model.Add(key) == fresh);
    }

    void Remove(const Key& key) {
        const bool present = m_contents.erase(key) == 1;
        const auto position = m_map.find(key);
        Answered(position.atEnd() != present);
        if (present && Random(2) == 0) {
            m_operation = "erase iterator";
            Answered(m_map.erase(position));
        } else {
            m_operation = "erase";
            Answered(m_map.erase(key) == present);
        }
        Answered(m_model.Remove(key) == present);
    }

    void Answered(bool right) { m_bAnswersRight = m_bAnswersRight && right; }

    bool Compare() {
        const char* wrong = nullptr;
        if (!m_bAnswersRight) {
            wrong = "an answer";
        } else if (!SameContents()) {
            wrong = "the contents";
        } else if (!SameBounds()) {
            wrong = "a bound";
        } else if (!vaxomaptest::Sound(m_map)) {
            wrong = "the structure";
        } else if (!m_model.Matches(m_map.getParentFirstiterator(), m_model.ParentFirst())) {
            wrong = "the shape, parent first";
        } else if (!m_model.Matches(m_map.getParentLastiterator(), m_model.ParentLast())) {
            wrong = "the shape, parent last";
        }
        if (wrong != nullptr) {
            ADD_FAILURE() << Where(wrong);
        }
        return wrong == nullptr;
    }

    bool SameContents() const {
        if (m_map.size() != m_contents.size() || m_map.empty() != m_contents.empty()) {
            return false;
        }
        auto it = m_map.begin();
        for (const auto& entry : m_contents) {
            if (it.atEnd() || it->first != entry.first || it->second != entry.second) {
                return false;
            }
            ++it;
        }
        return it == m_map.end();
    }

    // One random key a step: present or absent, below, between or above.
    bool SameBounds() {
        const Key key = MakeKey<Key>(Random(400));
        return SamePlace(m_map.lower_bound(key), m_contents.lower_bound(key)) &&
               SamePlace(m_map.upper_bound(key), m_contents.upper_bound(key)) &&
               SamePlace(m_map.find(key), m_contents.find(key));
    }

    template <class Iterator, class Expected>
    bool SamePlace(Iterator it, Expected expected) const {
        return expected == m_contents.end() ? it.atEnd()
                                            : !it.atEnd() && it->first == expected->first;
    }

    std::string Where(const char* wrong) const {
        return std::string(wrong) + " after step " + std::to_string(m_step) + " (" + m_operation +
               ") of seed " + std::to_string(m_seed);
    }

    std::uint32_t m_seed;
    std::mt19937 m_random;
    int m_step = 0;
    const char* m_operation = "nothing";
    bool m_bAnswersRight = true;
    vaxostl::map<Key, int> m_map;
    std::map<Key, int> m_contents;
    TreeModel<Key> m_model;
};

// Growing, shrinking and mixing in turn; the colours stop being valid with the first
// erasure and every later insertion has to cope.
template <class Key>
void MixHeavily(std::uint32_t seed) {
    Drive<Key> drive(seed);
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(drive.Run(300, 90, 300));
        ASSERT_TRUE(drive.Run(700, 50, 150));
        ASSERT_TRUE(drive.Run(300, 20, 300));
        ASSERT_TRUE(drive.Run(500, 55, 40));
    }
    ASSERT_TRUE(drive.Run(700, 4, 300));
    ASSERT_TRUE(drive.CopyAndCompare());
    ASSERT_TRUE(drive.Run(300, 60, 300));
}

template <class Key>
void InsertOnly(std::uint32_t seed) {
    Drive<Key> drive(seed);
    for (int step = 0; step < 400; ++step) {
        ASSERT_TRUE(drive.Run(1, 100, 300));
        ASSERT_TRUE(drive.RedBlack()) << "step " << step << " of seed " << seed;
    }
}

// All orders of inserting the keys 0 to 5, each followed by erasing one key and putting
// it back.
void EveryOrderOfSix() {
    std::vector<int> keys = {0, 1, 2, 3, 4, 5};
    do {
        for (const int again : keys) {
            vaxostl::map<int, int> map;
            TreeModel<int> model;
            for (const int key : keys) {
                map.insert(key, key);
                model.Add(key);
            }
            ASSERT_TRUE(vaxomaptest::RedBlack(map));
            map.erase(again);
            model.Remove(again);
            ASSERT_TRUE(model.Matches(map.getParentFirstiterator(), model.ParentFirst()));
            ASSERT_TRUE(vaxomaptest::Sound(map));
            map.insert(again, again);
            model.Add(again);
            ASSERT_TRUE(model.Matches(map.getParentFirstiterator(), model.ParentFirst()));
            ASSERT_TRUE(model.Matches(map.getParentLastiterator(), model.ParentLast()));
            ASSERT_TRUE(vaxomaptest::Sound(map));
        }
    } while (std::next_permutation(keys.begin(), keys.end()));
}

const std::uint32_t kSeeds[] = {1, 20260, 77777, 3141592653U};

}  // namespace

TEST(VaxoMapModel, MixedOperationsOnNumbersKeepTheShapeOfTheModel) {
    for (const std::uint32_t seed : kSeeds) {
        MixHeavily<int>(seed);
    }
}

TEST(VaxoMapModel, MixedOperationsOnStringsKeepTheShapeOfTheModel) {
    for (const std::uint32_t seed : kSeeds) {
        MixHeavily<std::string>(seed + 1);
    }
}

TEST(VaxoMapModel, WithInsertionsOnlyTheTreeOfNumbersIsRedBlack) {
    for (const std::uint32_t seed : kSeeds) {
        InsertOnly<int>(seed + 2);
    }
}

TEST(VaxoMapModel, WithInsertionsOnlyTheTreeOfStringsIsRedBlack) {
    for (const std::uint32_t seed : kSeeds) {
        InsertOnly<std::string>(seed + 3);
    }
}

TEST(VaxoMapModel, EveryOrderOfSixInsertionsAndOneErasureKeepsTheShapeOfTheModel) {
    EveryOrderOfSix();
}

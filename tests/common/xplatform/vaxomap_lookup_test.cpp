// vaxostl::map: lookups and bounds, what they ask of a key and how many keys they compare.

#include "vaxomap.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "common/xplatform/vaxomap_support.h"

using vaxomaptest::IntMap;
using vaxomaptest::MapOf;

namespace {

// Keys that can be compared with `<`, and nothing else: no equality, no default.
class OnlyLess {
public:
    explicit OnlyLess(int number) : m_iNumber(number) {}
    int Number() const { return m_iNumber; }
    bool operator<(const OnlyLess& other) const {
        ++s_iComparisons;
        return m_iNumber < other.m_iNumber;
    }
    static int s_iComparisons;

private:
    int m_iNumber;
};

int OnlyLess::s_iComparisons = 0;

// A value without a default constructor.
struct Label {
    explicit Label(std::string label) : text(std::move(label)) {}
    std::string text;
};

const std::vector<int> kTens = {10, 20, 30, 40, 50};

}  // namespace

TEST(VaxoMapLookup, FindInAnEmptyMapAnswersTheEnd) {
    const IntMap map;
    EXPECT_TRUE(map.find(1) == map.end());
    EXPECT_TRUE(map.find(1).atEnd());
}

TEST(VaxoMapLookup, FindOfAMissingKeyAnswersTheEnd) {
    const IntMap map = MapOf(kTens);
    EXPECT_TRUE(map.find(9) == map.end());
    EXPECT_TRUE(map.find(25) == map.end());
    EXPECT_TRUE(map.find(51) == map.end());
    EXPECT_EQ(map.find(25).getNode(), nullptr);
}

TEST(VaxoMapLookup, FindOfAPresentKeyAnswersItsEntry) {
    const IntMap map = MapOf(kTens);
    for (const int key : kTens) {
        ASSERT_TRUE(map.find(key) != map.end()) << key;
        EXPECT_EQ(map.find(key)->first, key);
        EXPECT_EQ((*map.find(key)).second, key * 10);
    }
}

TEST(VaxoMapLookup, BoundsInAnEmptyMapAreTheEnd) {
    const IntMap map;
    EXPECT_TRUE(map.lower_bound(1) == map.end());
    EXPECT_TRUE(map.upper_bound(1) == map.end());
}

TEST(VaxoMapLookup, BoundsBelowTheSmallestKeyAreTheSmallest) {
    const IntMap map = MapOf(kTens);
    EXPECT_EQ(map.lower_bound(9)->first, 10);
    EXPECT_EQ(map.upper_bound(9)->first, 10);
}

TEST(VaxoMapLookup, BoundsBetweenTwoKeysAreTheGreaterOne) {
    const IntMap map = MapOf(kTens);
    for (const int key : {10, 20, 30, 40}) {
        EXPECT_EQ(map.lower_bound(key + 1)->first, key + 10);
        EXPECT_EQ(map.upper_bound(key + 1)->first, key + 10);
        EXPECT_EQ(map.lower_bound(key + 9)->first, key + 10);
        EXPECT_EQ(map.upper_bound(key + 9)->first, key + 10);
    }
}

TEST(VaxoMapLookup, OnAKeyTheLowerBoundIsItsEntryAndTheUpperBoundTheNext) {
    const IntMap map = MapOf(kTens);
    for (const int key : {10, 20, 30, 40}) {
        EXPECT_EQ(map.lower_bound(key)->first, key);
        EXPECT_EQ(map.upper_bound(key)->first, key + 10);
    }
    EXPECT_EQ(map.lower_bound(50)->first, 50);
    EXPECT_TRUE(map.upper_bound(50) == map.end());
}

TEST(VaxoMapLookup, BoundsAboveTheLargestKeyAreTheEnd) {
    const IntMap map = MapOf(kTens);
    EXPECT_TRUE(map.lower_bound(51) == map.end());
    EXPECT_TRUE(map.upper_bound(51) == map.end());
}

TEST(VaxoMapLookup, ABoundCanBeSteppedFromInBothDirections) {
    const IntMap map = MapOf(kTens);
    IntMap::iterator it = map.lower_bound(25);
    ++it;
    EXPECT_EQ(it->first, 40);
    it = map.upper_bound(99);
    --it;
    EXPECT_EQ(it->first, 50);
}

TEST(VaxoMapLookup, KeysNeedNothingButLessAndValuesNoDefault) {
    vaxostl::map<OnlyLess, Label> map;
    EXPECT_TRUE(map.insert(OnlyLess(2), Label("two")));
    EXPECT_TRUE(map.insert({OnlyLess(1), Label("one")}).second);
    map.set(OnlyLess(3), Label("three"));
    EXPECT_FALSE(map.insert(OnlyLess(3), Label("again")));
    const vaxostl::map<OnlyLess, Label>& fixed = map;
    EXPECT_EQ(fixed.find(OnlyLess(3))->second.text, "three");
    EXPECT_EQ(fixed.lower_bound(OnlyLess(1))->second.text, "one");
    EXPECT_EQ(fixed.upper_bound(OnlyLess(1))->second.text, "two");
    EXPECT_TRUE(map.erase(OnlyLess(2)));
    EXPECT_TRUE(map.erase(map.begin()));
    EXPECT_EQ(map.begin()->first.Number(), 3);
    const vaxostl::map<OnlyLess, Label> copy(fixed);
    EXPECT_EQ(copy.size(), 1U);
}

TEST(VaxoMapLookup, LookupsBoundsAndInsertionsWalkOnePath) {
    vaxostl::map<OnlyLess, int> map;
    for (int key = 0; key < 1023; ++key) {
        map.insert(OnlyLess(key * 2), key);
    }
    // A red-black tree of 1023 nodes is at most 20 levels deep; a level costs at most two
    // comparisons, and the upper bound two more at its end.
    const int most = 2 * 20 + 2;
    for (int key = -1; key < 2047; ++key) {
        OnlyLess::s_iComparisons = 0;
        map.find(OnlyLess(key));
        ASSERT_LE(OnlyLess::s_iComparisons, most - 2);
        OnlyLess::s_iComparisons = 0;
        map.upper_bound(OnlyLess(key));
        ASSERT_LE(OnlyLess::s_iComparisons, most);
        OnlyLess::s_iComparisons = 0;
        map.insert(OnlyLess((key / 2) * 2), 0);
        ASSERT_LE(OnlyLess::s_iComparisons, most - 2);
    }
}

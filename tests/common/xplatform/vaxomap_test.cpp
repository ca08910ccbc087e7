// vaxostl::map: what its operations answer and what they leave in the map.

#include "vaxomap.h"

#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "common/xplatform/vaxomap_support.h"
#include "vaxopair.h"

using vaxomaptest::IntMap;
using vaxomaptest::Keys;
using vaxomaptest::MapOf;

namespace {

const std::vector<int> kTens = {10, 20, 30, 40, 50};

}  // namespace

// Every member is instantiated once, so that all of it compiles.
template class vaxostl::map<int, unsigned int>;
template class vaxostl::map<std::string, std::string>;

// The names that users write are members of the map.
static_assert(std::is_same_v<IntMap::Node, IntMap::RBTree<int, int>>);
static_assert(std::is_same_v<IntMap::value_type, vaxostl::pair<const int, int>>);
static_assert(std::is_same_v<decltype(std::declval<const IntMap&>().size()), uint32>);

TEST(VaxoPair, ADefaultPairHoldsValueInitialisedFields) {
    const vaxostl::pair<int, std::string> pair;
    EXPECT_EQ(pair.first, 0);
    EXPECT_EQ(pair.second, "");
}

TEST(VaxoPair, APairHoldsWhatItWasGiven) {
    vaxostl::pair<const int, std::string> pair(7, "seven");
    pair.second += "!";
    EXPECT_EQ(pair.first, 7);
    EXPECT_EQ(pair.second, "seven!");
}

TEST(VaxoMap, ANewMapIsEmpty) {
    const IntMap map;
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.size(), 0U);
    EXPECT_TRUE(map.begin() == map.end());
}

TEST(VaxoMap, InsertingANewKeyAddsAnEntry) {
    IntMap map;
    EXPECT_TRUE(map.insert(5, 1));
    EXPECT_FALSE(map.empty());
    EXPECT_EQ(map.size(), 1U);
    EXPECT_EQ(map.find(5)->first, 5);
    EXPECT_EQ(map.find(5)->second, 1);
}

TEST(VaxoMap, InsertingAnExistingKeyKeepsTheOldValue) {
    IntMap map;
    EXPECT_TRUE(map.insert(5, 1));
    EXPECT_FALSE(map.insert(5, 2));
    EXPECT_EQ(map.find(5)->second, 1);
    EXPECT_EQ(map.size(), 1U);
}

TEST(VaxoMap, SettingAnExistingKeyOverwritesTheValue) {
    IntMap map;
    map.insert(5, 1);
    const IntMap::Node* node = map.find(5).getNode();
    map.set(5, 2);
    EXPECT_EQ(map.find(5)->second, 2);
    EXPECT_EQ(map.size(), 1U);
    EXPECT_EQ(map.find(5).getNode(), node);
}

TEST(VaxoMap, SettingAMissingKeyAddsAnEntry) {
    IntMap map;
    map.set(5, 2);
    map.set(6, 3);
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.find(5)->second, 2);
    EXPECT_EQ(map.find(6)->second, 3);
}

TEST(VaxoMap, InsertingAPairAnswersWhereTheNewEntryIs) {
    IntMap map = MapOf(kTens);
    const vaxostl::pair<IntMap::iterator, bool> result = map.insert(IntMap::value_type(35, 1));
    EXPECT_TRUE(result.second);
    EXPECT_EQ(result.first->first, 35);
    EXPECT_EQ(result.first->second, 1);
    EXPECT_EQ(map.size(), 6U);
}

TEST(VaxoMap, InsertingAPairOfAnExistingKeyAnswersTheExistingEntry) {
    IntMap map = MapOf(kTens);
    const IntMap::Node* existing = map.find(30).getNode();
    const vaxostl::pair<IntMap::iterator, bool> result = map.insert(IntMap::value_type(30, 1));
    EXPECT_FALSE(result.second);
    EXPECT_EQ(result.first.getNode(), existing);
    EXPECT_EQ(result.first->second, 300);
    EXPECT_EQ(map.size(), 5U);
}

TEST(VaxoMap, TheIteratorOfAnInsertedPairWalksTheMapAsItIsAfterTheInsertion) {
    IntMap map;
    map.insert(1, 1);
    map.insert(2, 2);
    // The third ascending key makes the tree rotate: the root changes.
    IntMap::iterator it = map.insert(IntMap::value_type(3, 3)).first;
    --it;
    EXPECT_EQ(it->first, 2);
    --it;
    EXPECT_EQ(it->first, 1);
    --it;
    EXPECT_TRUE(it.atEnd());
    --it;
    EXPECT_EQ(it->first, 3);
}

TEST(VaxoMap, SubscriptOfAMissingKeyAddsAnEntry) {
    IntMap map = MapOf(kTens);
    int& value = map[25];
    EXPECT_EQ(map.size(), 6U);
    value = 7;
    EXPECT_EQ(map.find(25)->second, 7);
}

TEST(VaxoMap, SubscriptOfAMissingKeyInsertsADefaultValueOfAClassType) {
    vaxostl::map<std::string, std::string> map;
    EXPECT_EQ(map["new"], "");
    EXPECT_EQ(map.size(), 1U);
}

TEST(VaxoMap, SubscriptOfAPresentKeyRefersToTheStoredValue) {
    IntMap map = MapOf(kTens);
    EXPECT_EQ(map[20], 200);
    map[20] = 1;
    EXPECT_EQ(map.find(20)->second, 1);
    EXPECT_EQ(&map[20], &map.find(20)->second);
    EXPECT_EQ(map.size(), 5U);
}

TEST(VaxoMap, AReferenceToAValueSurvivesChangesToOtherEntries) {
    IntMap map;
    int& value = map[500];
    value = 1;
    for (int key = 0; key < 1000; ++key) {
        map.insert(key, key);
    }
    for (int key = 0; key < 1000; ++key) {
        if (key != 500) {
            map.erase(key);
        }
    }
    value = 2;
    EXPECT_EQ(map.find(500)->second, 2);
}

TEST(VaxoMap, ErasingAnAbsentKeyChangesNothing) {
    IntMap map = MapOf(kTens);
    EXPECT_FALSE(map.erase(25));
    EXPECT_EQ(map.size(), 5U);
    EXPECT_EQ(Keys(map), kTens);
    IntMap none;
    EXPECT_FALSE(none.erase(25));
    EXPECT_EQ(none.size(), 0U);
}

TEST(VaxoMap, ErasingAPresentKeyRemovesThatEntryAlone) {
    IntMap map = MapOf(kTens);
    EXPECT_TRUE(map.erase(30));
    EXPECT_FALSE(map.erase(30));
    EXPECT_EQ(map.size(), 4U);
    EXPECT_EQ(Keys(map), (std::vector<int>{10, 20, 40, 50}));
}

TEST(VaxoMap, ErasingThroughAnIteratorErasesItsKey) {
    IntMap map = MapOf(kTens);
    EXPECT_TRUE(map.erase(map.find(40)));
    EXPECT_EQ(Keys(map), (std::vector<int>{10, 20, 30, 50}));
    EXPECT_TRUE(map.erase(map.begin()));
    EXPECT_EQ(Keys(map), (std::vector<int>{20, 30, 50}));
    EXPECT_EQ(map.size(), 3U);
}

TEST(VaxoMap, ErasingThroughTheEndIteratorErasesNothing) {
    IntMap map = MapOf(kTens);
    EXPECT_FALSE(map.erase(map.end()));
    EXPECT_EQ(Keys(map), kTens);
}

TEST(VaxoMap, AKeyInsideTheMapCanBeGivenToItsOwnErasure) {
    vaxostl::map<std::string, int> map;
    const std::string name = "a name that is too long for the string object itself";
    map.insert(name, 1);
    map.insert("b", 2);
    EXPECT_TRUE(map.erase(map.find(name)->first));
    EXPECT_EQ(map.size(), 1U);
}

TEST(VaxoMap, ErasingInAnyOrderKeepsTheRestSortedUntilTheMapIsEmpty) {
    std::vector<int> insertion = {1, 2, 3, 4, 5};
    do {
        std::vector<int> erasure = {1, 2, 3, 4, 5};
        do {
            IntMap map = MapOf(insertion);
            std::vector<int> left = {1, 2, 3, 4, 5};
            for (const int key : erasure) {
                ASSERT_TRUE(map.erase(key));
                left.erase(std::find(left.begin(), left.end(), key));
                ASSERT_EQ(map.size(), left.size());
                ASSERT_EQ(Keys(map), left);
            }
            ASSERT_TRUE(map.empty());
            ASSERT_EQ(map.getParentFirstiterator().getNode(), nullptr);
        } while (std::next_permutation(erasure.begin(), erasure.end()));
    } while (std::next_permutation(insertion.begin(), insertion.end()));
}

TEST(VaxoMap, AMapEmptiedByErasureCanBeFilledAgain) {
    IntMap map = MapOf({1, 2});
    map.erase(1);
    map.erase(2);
    EXPECT_TRUE(map.insert(3, 30));
    EXPECT_TRUE(map.insert(1, 10));
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(Keys(map), (std::vector<int>{1, 3}));
}

TEST(VaxoMap, ClearEmptiesTheMapAndItCanBeFilledAgain) {
    IntMap map = MapOf(kTens);
    map.clear();
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.size(), 0U);
    EXPECT_TRUE(map.begin() == map.end());
    map.clear();
    EXPECT_TRUE(map.insert(1, 1));
    EXPECT_EQ(map.size(), 1U);
}

TEST(VaxoMap, ACopyHasTheSameEntriesInNodesOfItsOwn) {
    IntMap original = MapOf({30, 10, 50, 20, 40});
    IntMap copy(original);
    EXPECT_EQ(copy.size(), 5U);
    EXPECT_EQ(Keys(copy), kTens);
    EXPECT_NE(copy.find(30).getNode(), original.find(30).getNode());
    copy.set(30, 1);
    copy.erase(10);
    EXPECT_EQ(original.find(30)->second, 300);
    EXPECT_EQ(Keys(original), kTens);
}

TEST(VaxoMap, AssignmentReplacesTheEntries) {
    const IntMap source = MapOf(kTens);
    IntMap target = MapOf({1, 2, 3, 20});
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(Keys(target), kTens);
    EXPECT_EQ(target.size(), 5U);
    EXPECT_EQ(target.find(20)->second, 200);
    target = IntMap();
    EXPECT_TRUE(target.empty());
    EXPECT_EQ(Keys(source), kTens);
}

TEST(VaxoMap, AssigningAMapToItselfEmptiesIt) {
    IntMap map = MapOf(kTens);
    IntMap& same = map;  // a second name keeps the compilers from warning
    map = same;
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.size(), 0U);
    EXPECT_TRUE(map.begin() == map.end());
}

TEST(VaxoMapAccess, AssigningOverwritesThePresentValue) {
    IntMap map = MapOf(kTens);
    const int key = 20;
    IntMap::AccessClass access(map, key);
    EXPECT_EQ(&(access = 5), &access);
    EXPECT_EQ(map.find(20)->second, 5);
    EXPECT_EQ(map.size(), 5U);
}

TEST(VaxoMapAccess, AssigningToAMissingKeyAddsAnEntry) {
    IntMap map = MapOf(kTens);
    const int key = 25;
    IntMap::AccessClass access(map, key);
    EXPECT_EQ(map.size(), 5U);
    access = 5;
    EXPECT_EQ(map.size(), 6U);
    EXPECT_EQ(map.find(25)->second, 5);
}

TEST(VaxoMapAccess, ConvertingReadsTheValueOfTheMoment) {
    IntMap map = MapOf(kTens);
    const int key = 20;
    const IntMap::AccessClass access(map, key);
    int value = access;
    EXPECT_EQ(value, 200);
    map.set(20, 1);
    value = access;
    EXPECT_EQ(value, 1);
}

TEST(VaxoMapAccess, ItCannotBeMadeWithoutAMapAndAKey) {
    EXPECT_FALSE(std::is_default_constructible_v<IntMap::AccessClass>);
    EXPECT_TRUE((std::is_constructible_v<IntMap::AccessClass, IntMap&, const int&>));
}

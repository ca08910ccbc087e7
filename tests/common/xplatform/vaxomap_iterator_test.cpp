// vaxostl::map: the iterator in key order.

#include <vector>

#include <gtest/gtest.h>

#include "common/xplatform/vaxomap_support.h"
#include "vaxomap.h"

using vaxomaptest::HandMadeTree;
using vaxomaptest::IntMap;
using vaxomaptest::Keys;
using vaxomaptest::KeysOf;
using vaxomaptest::kInOrder;
using vaxomaptest::Lean;
using vaxomaptest::Lean_Both;
using vaxomaptest::Lean_Left;
using vaxomaptest::Lean_Right;
using vaxomaptest::Line;
using vaxomaptest::MapOf;

TEST(VaxoMapIterator, ADefaultMadeIteratorIsAtTheEndAndStaysThere) {
    IntMap::iterator it;
    EXPECT_TRUE(it.atEnd());
    EXPECT_EQ(it.getNode(), nullptr);
    ++it;
    it++;
    EXPECT_TRUE(it.atEnd());
    --it;
    it--;
    EXPECT_TRUE(it.atEnd());
    it.reset(true);
    EXPECT_TRUE(it.atEnd());
    it.reset(false);
    EXPECT_TRUE(it.atEnd());
}

TEST(VaxoMapIterator, BeginIsTheSmallestKeyAndEndHasNoNode) {
    const IntMap map = MapOf({3, 1, 2});
    EXPECT_EQ(map.begin()->first, 1);
    EXPECT_EQ(map.getiterator()->first, 1);
    EXPECT_TRUE(map.getiterator() == map.begin());
    EXPECT_TRUE(map.end().atEnd());
    EXPECT_EQ(map.end().getNode(), nullptr);
    EXPECT_TRUE(map.begin() != map.end());
}

TEST(VaxoMapIterator, TheEntryIsTheNode) {
    IntMap map = MapOf({3, 1, 2});
    const IntMap::iterator it = map.find(2);
    EXPECT_EQ(&*it, it.getNode());
    EXPECT_EQ(it.operator->(), it.getNode());
    (*it).second = 5;
    EXPECT_EQ(map[2], 5);
    it->second = 6;
    EXPECT_EQ(map[2], 6);
}

TEST(VaxoMapIterator, AnIteratorMadeFromARootStartsAtTheSmallestKey) {
    HandMadeTree tree;
    EXPECT_EQ(KeysOf(IntMap::iterator(tree.Root())), kInOrder);
    const IntMap::iterator empty(nullptr);
    EXPECT_TRUE(empty.atEnd());
}

TEST(VaxoMapIterator, AnIteratorMadeFromARootAndANodeStartsAtTheNode) {
    HandMadeTree tree;
    EXPECT_EQ(KeysOf(IntMap::iterator(tree.Root(), tree.At(9))), (std::vector<int>{9, 10, 11, 12}));
    IntMap::iterator atEnd(tree.Root(), nullptr);
    EXPECT_TRUE(atEnd.atEnd());
    --atEnd;
    EXPECT_EQ(atEnd->first, 12);
}

TEST(VaxoMapIterator, SteppingForwardVisitsTheKeysInOrder) {
    EXPECT_EQ(Keys(MapOf({2, 1, 3})), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(Keys(MapOf({7, 3, 9, 1, 5, 8, 2, 6, 4})),
              (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(VaxoMapIterator, SteppingBackVisitsTheKeysInReverse) {
    HandMadeTree tree;
    std::vector<int> keys;
    IntMap::iterator it(tree.Root(), nullptr);
    for (--it; !it.atEnd(); --it) {
        keys.push_back(it->first);
    }
    EXPECT_EQ(keys, std::vector<int>(kInOrder.rbegin(), kInOrder.rend()));
}

TEST(VaxoMapIterator, DecrementingTheEndReachesTheLargestKey) {
    const IntMap map = MapOf({4, 1, 9, 7});
    IntMap::iterator prefix = map.end();
    EXPECT_EQ((--prefix)->first, 9);
    IntMap::iterator postfix = map.end();
    EXPECT_TRUE((postfix--).atEnd());
    EXPECT_EQ(postfix->first, 9);
}

TEST(VaxoMapIterator, DecrementingTheEndOfAnEmptyMapStaysAtTheEnd) {
    const IntMap map;
    IntMap::iterator it = map.end();
    --it;
    EXPECT_TRUE(it.atEnd());
    it--;
    EXPECT_TRUE(it.atEnd());
}

TEST(VaxoMapIterator, IncrementingTheLastEntryReachesTheEndAndStaysThere) {
    const IntMap map = MapOf({4, 1, 9, 7});
    IntMap::iterator it = map.find(9);
    ++it;
    EXPECT_TRUE(it == map.end());
    ++it;
    EXPECT_TRUE(it == map.end());
    it++;
    EXPECT_TRUE(it == map.end());
    --it;
    EXPECT_EQ(it->first, 9);
}

TEST(VaxoMapIterator, DecrementingTheFirstEntryReachesTheEnd) {
    const IntMap map = MapOf({4, 1, 9, 7});
    IntMap::iterator it = map.begin();
    --it;
    EXPECT_TRUE(it.atEnd());
    --it;
    EXPECT_EQ(it->first, 9);
}

TEST(VaxoMapIterator, PrefixFormsAnswerTheSteppedIteratorItself) {
    const IntMap map = MapOf({1, 2, 3});
    IntMap::iterator it = map.begin();
    EXPECT_EQ(&++it, &it);
    EXPECT_EQ(it->first, 2);
    EXPECT_EQ(&--it, &it);
    EXPECT_EQ(it->first, 1);
}

TEST(VaxoMapIterator, PostfixFormsAnswerTheIteratorAsItWas) {
    const IntMap map = MapOf({1, 2, 3});
    IntMap::iterator it = map.begin();
    EXPECT_EQ((it++)->first, 1);
    EXPECT_EQ(it->first, 2);
    EXPECT_EQ((it--)->first, 2);
    EXPECT_EQ(it->first, 1);
    it = map.find(3);
    EXPECT_EQ((it++)->first, 3);
    EXPECT_TRUE((it++).atEnd());
}

TEST(VaxoMapIterator, ResetGoesToEitherEnd) {
    const IntMap map = MapOf({4, 1, 9, 7});
    IntMap::iterator it = map.find(7);
    it.reset(true);
    EXPECT_EQ(it->first, 1);
    it.reset(false);
    EXPECT_EQ(it->first, 9);
    it = map.end();
    it.reset(true);
    EXPECT_EQ(it->first, 1);
}

TEST(VaxoMapIterator, EqualityLooksAtTheCurrentNodeAlone) {
    HandMadeTree tree;
    const IntMap::iterator whole(tree.Root(), tree.At(4));
    const IntMap::iterator part(tree.At(2), tree.At(4));
    const IntMap::iterator other(tree.Root(), tree.At(5));
    EXPECT_TRUE(whole == part);
    EXPECT_FALSE(whole != part);
    EXPECT_FALSE(whole == other);
    EXPECT_TRUE(whole != other);
    const IntMap one = MapOf({1});
    const IntMap two = MapOf({2, 3});
    EXPECT_TRUE(one.end() == two.end());
}

TEST(VaxoMapIterator, ACopyStepsOnItsOwn) {
    const IntMap map = MapOf({1, 2, 3});
    IntMap::iterator it = map.begin();
    IntMap::iterator copy(it);
    EXPECT_TRUE(copy == it);
    ++copy;
    EXPECT_EQ(it->first, 1);
    EXPECT_EQ(copy->first, 2);
    it = copy;
    EXPECT_EQ(it->first, 2);
}

TEST(VaxoMapIterator, AConstMapCanBeWalkedAndItsConstnessIsShallow) {
    IntMap map = MapOf({1, 2, 3});
    const IntMap& fixed = map;
    EXPECT_EQ(Keys(fixed), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(KeysOf(fixed.getParentFirstiterator()), (std::vector<int>{2, 1, 3}));
    EXPECT_EQ(KeysOf(fixed.getParentLastiterator()), (std::vector<int>{1, 3, 2}));
    fixed.begin()->second = 7;
    EXPECT_EQ(map[1], 7);
}

TEST(VaxoMapIterator, ALineOfNodesIsWalkedInKeyOrderBothWays) {
    for (const Lean lean : {Lean_Left, Lean_Right, Lean_Both}) {
        std::vector<IntMap::Node> nodes = Line(lean);
        IntMap::iterator it(nodes.data());
        for (int key = 1; key <= 12; ++key, ++it) {
            ASSERT_EQ(it->first, key);
        }
        EXPECT_TRUE(it.atEnd());
        for (int key = 12; key >= 1; --key) {
            --it;
            ASSERT_EQ(it->first, key);
        }
    }
}

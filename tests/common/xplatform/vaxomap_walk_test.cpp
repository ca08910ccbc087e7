// vaxostl::map: the parent-first and the parent-last iterator.

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "common/xplatform/vaxomap_support.h"
#include "vaxomap.h"

using vaxomaptest::HandMadeTree;
using vaxomaptest::IntMap;
using vaxomaptest::KeysOf;
using vaxomaptest::Lean;
using vaxomaptest::Lean_Both;
using vaxomaptest::Lean_Left;
using vaxomaptest::Lean_Right;
using vaxomaptest::Line;
using vaxomaptest::MapOf;

TEST(VaxoMapParentFirst, TheSmallTreeIsWalkedParentFirst) {
    const IntMap map = MapOf({2, 1, 3});
    EXPECT_EQ(KeysOf(map.getParentFirstiterator()), (std::vector<int>{2, 1, 3}));
}

TEST(VaxoMapParentFirst, EveryKindOfStepIsTaken) {
    HandMadeTree tree;
    EXPECT_EQ(KeysOf(IntMap::ParentFirstiterator(tree.Root())),
              (std::vector<int>{8, 2, 1, 6, 4, 5, 7, 9, 12, 10, 11}));
}

TEST(VaxoMapParentFirst, ALineOfNodesIsWalkedFromItsTop) {
    for (const Lean lean : {Lean_Left, Lean_Right, Lean_Both}) {
        std::vector<IntMap::Node> nodes = Line(lean);
        IntMap::ParentFirstiterator it(nodes.data());
        for (const IntMap::Node& node : nodes) {
            ASSERT_EQ(it.getNode(), &node);
            it++;
        }
        EXPECT_TRUE(it.atEnd());
    }
}

TEST(VaxoMapParentFirst, AtTheEndItStaysUntilItIsReset) {
    const IntMap map = MapOf({2, 1, 3});
    IntMap::ParentFirstiterator it = map.getParentFirstiterator();
    EXPECT_EQ(it.getNode(), &*it);
    EXPECT_EQ(it->second, 20);
    it++;
    it++;
    EXPECT_FALSE(it.atEnd());
    it++;
    EXPECT_TRUE(it.atEnd());
    EXPECT_EQ(it.getNode(), nullptr);
    it++;
    EXPECT_TRUE(it.atEnd());
    it.reset();
    EXPECT_EQ(it->first, 2);
}

TEST(VaxoMapParentFirst, WithoutATreeItIsAtTheEnd) {
    IntMap::ParentFirstiterator it;
    EXPECT_TRUE(it.atEnd());
    it++;
    it.reset();
    EXPECT_TRUE(it.atEnd());
    EXPECT_TRUE(IntMap().getParentFirstiterator().atEnd());
}

TEST(VaxoMapParentFirst, AssignmentCopiesThePositionAndTheTree) {
    const IntMap map = MapOf({2, 1, 3});
    IntMap::ParentFirstiterator it = map.getParentFirstiterator();
    it++;
    IntMap::ParentFirstiterator copy;
    copy = it;
    it++;
    EXPECT_EQ(copy->first, 1);
    copy.reset();
    EXPECT_EQ(copy->first, 2);
}

TEST(VaxoMapParentLast, TheSmallTreeIsWalkedParentLast) {
    const IntMap map = MapOf({2, 1, 3});
    EXPECT_EQ(KeysOf(map.getParentLastiterator()), (std::vector<int>{1, 3, 2}));
}

TEST(VaxoMapParentLast, EveryKindOfStepIsTaken) {
    HandMadeTree tree;
    EXPECT_EQ(KeysOf(IntMap::ParentLastiterator(tree.Root())),
              (std::vector<int>{1, 5, 4, 7, 6, 2, 11, 10, 12, 9, 8}));
}

TEST(VaxoMapParentLast, ALineOfNodesIsWalkedFromItsBottom) {
    for (const Lean lean : {Lean_Left, Lean_Right, Lean_Both}) {
        std::vector<IntMap::Node> nodes = Line(lean);
        IntMap::ParentLastiterator it(nodes.data());
        for (std::size_t i = nodes.size(); i > 0; --i) {
            ASSERT_EQ(it.getNode(), &nodes[i - 1]);
            it++;
        }
        EXPECT_TRUE(it.atEnd());
    }
}

TEST(VaxoMapParentLast, AtTheEndItStaysUntilItIsReset) {
    const IntMap map = MapOf({2, 1, 3});
    IntMap::ParentLastiterator it = map.getParentLastiterator();
    EXPECT_EQ(it.getNode(), &*it);
    EXPECT_EQ(it->second, 10);
    it++;
    it++;
    EXPECT_FALSE(it.atEnd());
    it++;
    EXPECT_TRUE(it.atEnd());
    EXPECT_EQ(it.getNode(), nullptr);
    it++;
    EXPECT_TRUE(it.atEnd());
    it.reset();
    EXPECT_EQ(it->first, 1);
}

TEST(VaxoMapParentLast, WithoutATreeItIsAtTheEnd) {
    IntMap::ParentLastiterator it;
    EXPECT_TRUE(it.atEnd());
    it++;
    it.reset();
    EXPECT_TRUE(it.atEnd());
    EXPECT_TRUE(IntMap().getParentLastiterator().atEnd());
}

TEST(VaxoMapParentLast, AssignmentCopiesThePositionAndTheTree) {
    const IntMap map = MapOf({2, 1, 3});
    IntMap::ParentLastiterator it = map.getParentLastiterator();
    it++;
    IntMap::ParentLastiterator copy;
    copy = it;
    it++;
    EXPECT_EQ(copy->first, 3);
    copy.reset();
    EXPECT_EQ(copy->first, 1);
}

TEST(VaxoMapParentWalks, AdvancingWithThePostfixFormAnswersNothing) {
    EXPECT_TRUE(
        (std::is_void_v<decltype(std::declval<IntMap::ParentFirstiterator&>().operator++(0))>));
    EXPECT_TRUE(
        (std::is_void_v<decltype(std::declval<IntMap::ParentLastiterator&>().operator++(0))>));
}

// vaxostl::map: the node, and the exact shape and colours that insertions and erasures
// leave. A shape is written parent first, with red nodes negative.

#include <vector>

#include <gtest/gtest.h>

#include "common/xplatform/vaxomap_support.h"
#include "vaxomap.h"

using vaxomaptest::IntMap;
using vaxomaptest::kSevenShape;
using vaxomaptest::MapOf;
using vaxomaptest::Seven;
using vaxomaptest::Shape;

typedef IntMap::Node Node;

TEST(VaxoMapNode, ANewNodeIsRedAndStandsAlone) {
    const Node node(1, 2);
    EXPECT_EQ(node.first, 1);
    EXPECT_EQ(node.second, 2);
    EXPECT_EQ(node.getKey(), 1);
    EXPECT_EQ(node.getValue(), 2);
    EXPECT_EQ(node.getLeftChild(), nullptr);
    EXPECT_EQ(node.getRightChild(), nullptr);
    EXPECT_EQ(node.getParent(), nullptr);
    EXPECT_TRUE(node.isRed());
    EXPECT_FALSE(node.isBlack());
    EXPECT_TRUE(node.isRoot());
    EXPECT_TRUE(node.isLeaf());
    EXPECT_FALSE(node.isLeftChild());
    EXPECT_FALSE(node.isRightChild());
}

TEST(VaxoMapNode, SettingAChildSetsItsParent) {
    Node parent(2, 0);
    Node left(1, 0);
    Node right(3, 0);
    parent.setLeftChild(&left);
    EXPECT_FALSE(parent.isLeaf());
    parent.setRightChild(&right);
    EXPECT_EQ(parent.getLeftChild(), &left);
    EXPECT_EQ(parent.getRightChild(), &right);
    EXPECT_EQ(left.getParent(), &parent);
    EXPECT_EQ(right.getParent(), &parent);
    EXPECT_TRUE(left.isLeftChild());
    EXPECT_FALSE(left.isRightChild());
    EXPECT_TRUE(right.isRightChild());
    EXPECT_FALSE(right.isLeftChild());
    EXPECT_FALSE(left.isRoot());
    EXPECT_TRUE(parent.isRoot());
}

TEST(VaxoMapNode, SettingANullChildLeavesTheFormerChildAsItWas) {
    Node parent(2, 0);
    Node left(1, 0);
    Node right(3, 0);
    parent.setLeftChild(&left);
    parent.setRightChild(&right);
    parent.setLeftChild(nullptr);
    EXPECT_FALSE(parent.isLeaf());
    parent.setRightChild(nullptr);
    EXPECT_TRUE(parent.isLeaf());
    EXPECT_EQ(left.getParent(), &parent);
    EXPECT_FALSE(left.isLeftChild());
    EXPECT_FALSE(right.isRightChild());
}

TEST(VaxoMapNode, ParentValueAndColourCanBeSet) {
    Node node(1, 2);
    Node parent(5, 0);
    node.setParent(&parent);
    EXPECT_EQ(node.getParent(), &parent);
    EXPECT_TRUE(parent.isLeaf());
    EXPECT_FALSE(node.isLeftChild());
    node.setValue(3);
    EXPECT_EQ(node.second, 3);
    node.getValue() = 4;
    EXPECT_EQ(node.second, 4);
    node.setBlack();
    EXPECT_TRUE(node.isBlack());
    EXPECT_FALSE(node.isRed());
    node.setRed();
    EXPECT_TRUE(node.isRed());
}

TEST(VaxoMapNode, TheLevelCountsTheAncestors) {
    const IntMap map = Seven();
    EXPECT_EQ(map.find(4)->getLevel(), 0U);
    EXPECT_EQ(map.find(6)->getLevel(), 1U);
    EXPECT_EQ(map.find(5)->getLevel(), 2U);
}

TEST(VaxoMapShape, TheFirstNodeIsABlackRoot) {
    EXPECT_EQ(Shape(MapOf({1})), (std::vector<int>{1}));
}

TEST(VaxoMapShape, ChildrenOfABlackNodeStayRed) {
    EXPECT_EQ(Shape(MapOf({2, 1, 3})), (std::vector<int>{2, -1, -3}));
}

TEST(VaxoMapShape, ThreeNodesInALineRotateOnce) {
    EXPECT_EQ(Shape(MapOf({1, 2, 3})), (std::vector<int>{2, -1, -3}));
    EXPECT_EQ(Shape(MapOf({3, 2, 1})), (std::vector<int>{2, -1, -3}));
}

TEST(VaxoMapShape, ThreeNodesInAnAngleRotateTwice) {
    EXPECT_EQ(Shape(MapOf({3, 1, 2})), (std::vector<int>{2, -1, -3}));
    EXPECT_EQ(Shape(MapOf({1, 3, 2})), (std::vector<int>{2, -1, -3}));
}

TEST(VaxoMapShape, ARedUncleIsRecolouredAndTheRootStaysBlack) {
    EXPECT_EQ(Shape(MapOf({2, 1, 3, 4})), (std::vector<int>{2, 1, 3, -4}));
    EXPECT_EQ(Shape(MapOf({3, 2, 4, 1})), (std::vector<int>{3, 2, -1, 4}));
    EXPECT_EQ(Shape(Seven()), kSevenShape);
}

TEST(VaxoMapShape, TheRepairGoesOnFromTheGrandparent) {
    EXPECT_EQ(Shape(MapOf({1, 2, 3, 4, 5, 6, 7, 8})),
              (std::vector<int>{4, -2, 1, 3, -6, 5, 7, -8}));
    EXPECT_EQ(Shape(MapOf({8, 7, 6, 5, 4, 3, 2, 1})),
              (std::vector<int>{5, -3, 2, -1, 4, -7, 6, 8}));
}

TEST(VaxoMapShape, AFailedInsertionLeavesTheShape) {
    IntMap map = Seven();
    EXPECT_FALSE(map.insert(5, 1));
    EXPECT_EQ(Shape(map), kSevenShape);
}

TEST(VaxoMapShape, ACopyIsBuiltInKeyOrder) {
    const IntMap original = Seven();
    EXPECT_EQ(Shape(IntMap(original)), Shape(MapOf({1, 2, 3, 4, 5, 6, 7})));
    EXPECT_NE(Shape(IntMap(original)), kSevenShape);
}

TEST(VaxoMapShape, ErasingALeafRecoloursNothing) {
    IntMap map = Seven();
    map.erase(1);
    EXPECT_EQ(Shape(map), (std::vector<int>{4, 2, -3, 6, -5, -7}));
    map.erase(3);
    map.erase(2);
    EXPECT_EQ(Shape(map), (std::vector<int>{4, 6, -5, -7}));
}

TEST(VaxoMapShape, ErasingANodeWithOnlyALeftChildSplicesItOut) {
    IntMap map = Seven();
    map.erase(7);
    map.erase(6);
    EXPECT_EQ(Shape(map), (std::vector<int>{4, 2, -1, -3, -5}));
    IntMap two = MapOf({2, 1});
    two.erase(2);
    EXPECT_EQ(Shape(two), (std::vector<int>{1}));
}

TEST(VaxoMapShape, ErasingRotatesTheNodeDownAndRecoloursNothing) {
    IntMap map = Seven();
    map.erase(2);
    // A red node on a red node: this is not repaired.
    EXPECT_EQ(Shape(map), (std::vector<int>{4, -3, -1, 6, -5, -7}));
}

TEST(VaxoMapShape, ErasingTheRootMakesTheRisingNodeABlackRoot) {
    IntMap map = Seven();
    map.erase(4);
    EXPECT_EQ(Shape(map), (std::vector<int>{6, -5, 2, -1, -3, -7}));
    IntMap three = MapOf({2, 1, 3});
    three.erase(2);
    EXPECT_EQ(Shape(three), (std::vector<int>{3, -1}));
}

TEST(VaxoMapShape, ALaterInsertionRepairsThePathItTouches) {
    IntMap map = Seven();
    map.erase(2);
    map.insert(2, 20);
    EXPECT_EQ(Shape(map), kSevenShape);
}

TEST(VaxoMapShape, ALaterInsertionLeavesOtherPathsAsTheyAre) {
    IntMap map = Seven();
    map.erase(2);
    map.insert(8, 80);
    EXPECT_EQ(Shape(map), (std::vector<int>{4, -3, -1, -6, 5, 7, -8}));
}

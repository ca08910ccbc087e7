// vaxostl::map: the private operations that its contract names, and the order of the
// members.

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "common/xplatform/vaxomap_support.h"
#include "support/PrivateAccess.h"
#include "vaxomap.h"

using vaxomaptest::IntMap;
using vaxomaptest::KeysOf;
using vaxomaptest::kSevenShape;
using vaxomaptest::MapOf;
using vaxomaptest::Seven;
using vaxomaptest::Shape;

typedef IntMap::Node Node;

// The private members that the contract of the map names.
namespace {

struct MapRoot {
    typedef Node* IntMap::*type;
};
struct MapSize {
    typedef uint32 IntMap::*type;
};
struct MapFindNode {
    typedef Node* (IntMap::*type)(const int&) const;
};
struct MapDelink {
    typedef Node* (IntMap::*type)(const int&);
};
struct MapLink {
    typedef bool (IntMap::*type)(Node*);
};
struct MapIsEmpty {
    typedef bool (IntMap::*type)() const;
};
struct MapGetRoot {
    typedef Node* (IntMap::*type)() const;
};
struct MapSetRoot {
    typedef void (IntMap::*type)(Node*);
};
struct MapRotateLeft {
    typedef void (IntMap::*type)(Node*);
};
struct MapRotateRight {
    typedef void (IntMap::*type)(Node*);
};
struct NodeLeftChild {
    typedef Node* Node::*type;
};
struct NodeRightChild {
    typedef Node* Node::*type;
};
struct NodeParent {
    typedef Node* Node::*type;
};
struct NodeIsRed {
    typedef bool Node::*type;
};
struct IteratorRoot {
    typedef Node* IntMap::iterator::*type;
};
struct IteratorCur {
    typedef Node* IntMap::iterator::*type;
};

}  // namespace

template struct PrivateAccess<MapRoot, &IntMap::Root>;
template struct PrivateAccess<MapSize, &IntMap::Size>;
template struct PrivateAccess<MapFindNode, &IntMap::findnode>;
template struct PrivateAccess<MapDelink, &IntMap::delink>;
template struct PrivateAccess<MapLink, &IntMap::insert>;
template struct PrivateAccess<MapIsEmpty, &IntMap::isEmpty>;
template struct PrivateAccess<MapGetRoot, &IntMap::getRoot>;
template struct PrivateAccess<MapSetRoot, &IntMap::setRoot>;
template struct PrivateAccess<MapRotateLeft, &IntMap::rotateLeft>;
template struct PrivateAccess<MapRotateRight, &IntMap::rotateRight>;
template struct PrivateAccess<NodeLeftChild, &Node::LeftChild>;
template struct PrivateAccess<NodeRightChild, &Node::RightChild>;
template struct PrivateAccess<NodeParent, &Node::Parent>;
template struct PrivateAccess<NodeIsRed, &Node::IsRed>;
template struct PrivateAccess<IteratorRoot, &IntMap::iterator::Root>;
template struct PrivateAccess<IteratorCur, &IntMap::iterator::Cur>;

namespace {

// Whether the addresses go up: members declared one after the other.
bool GoUp(const std::vector<const void*>& addresses) {
    for (std::size_t i = 1; i < addresses.size(); ++i) {
        if (!std::less<>()(addresses[i - 1], addresses[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

TEST(VaxoMapLayout, MembersAreInTheirOrder) {
    IntMap map;
    EXPECT_TRUE(GoUp({&Private<MapRoot>(map), &Private<MapSize>(map)}));
    Node node(1, 2);
    EXPECT_TRUE(GoUp({&node.first, &node.second, &Private<NodeLeftChild>(node),
                      &Private<NodeRightChild>(node), &Private<NodeParent>(node),
                      &Private<NodeIsRed>(node)}));
    IntMap::iterator it;
    EXPECT_TRUE(GoUp({&Private<IteratorRoot>(it), &Private<IteratorCur>(it)}));
    const vaxostl::pair<int, int> pair;
    EXPECT_TRUE(GoUp({&pair.first, &pair.second}));
}

TEST(VaxoMapLayout, IteratorsHoldTwoPointers) {
    EXPECT_EQ(sizeof(IntMap::iterator), 2 * sizeof(Node*));
    EXPECT_EQ(sizeof(IntMap::ParentFirstiterator), 2 * sizeof(Node*));
    EXPECT_EQ(sizeof(IntMap::ParentLastiterator), 2 * sizeof(Node*));
}

TEST(VaxoMapLayout, AnIteratorKeepsTheRootItWasMadeWith) {
    IntMap map = MapOf({1, 2});
    IntMap::iterator end = map.end();
    IntMap::iterator first = map.begin();
    EXPECT_EQ(Private<IteratorRoot>(end), Private<MapGetRoot>(map));
    EXPECT_EQ(Private<IteratorCur>(end), nullptr);
    const Node* before = Private<MapGetRoot>(map);
    map.insert(3, 30);
    EXPECT_NE(Private<MapGetRoot>(map), before);
    EXPECT_EQ(Private<IteratorRoot>(first), before);
}

TEST(VaxoMapPrivate, AnEmptyMapHasNoRoot) {
    IntMap map;
    EXPECT_EQ(Private<MapRoot>(map), nullptr);
    EXPECT_TRUE(Private<MapIsEmpty>(map));
    EXPECT_EQ(Private<MapGetRoot>(map), nullptr);
    map.insert(1, 10);
    EXPECT_FALSE(Private<MapIsEmpty>(map));
    map.erase(1);
    EXPECT_EQ(Private<MapRoot>(map), nullptr);
    EXPECT_EQ(Private<MapSize>(map), 0U);
    map.insert(1, 10);
    map.clear();
    EXPECT_EQ(Private<MapRoot>(map), nullptr);
    EXPECT_EQ(Private<MapSize>(map), 0U);
}

TEST(VaxoMapPrivate, FindNodeAnswersTheNodeOrNull) {
    const IntMap map = Seven();
    EXPECT_EQ(Private<MapFindNode>(map, 5), map.find(5).getNode());
    EXPECT_EQ(Private<MapFindNode>(map, 8), nullptr);
    EXPECT_EQ(Private<MapFindNode>(IntMap(), 8), nullptr);
}

TEST(VaxoMapPrivate, DelinkHandsOutTheNodeAndCountsItOff) {
    IntMap map = Seven();
    Node* four = map.find(4).getNode();
    const std::unique_ptr<Node> node(Private<MapDelink>(map, 4));
    EXPECT_EQ(node.get(), four);
    EXPECT_EQ(node->first, 4);
    EXPECT_EQ(node->second, 40);
    EXPECT_EQ(map.size(), 6U);
    EXPECT_EQ(Shape(map), (std::vector<int>{6, -5, 2, -1, -3, -7}));
}

TEST(VaxoMapPrivate, ADelinkedNodeKeepsItsOldPointers) {
    IntMap map = Seven();
    const std::unique_ptr<Node> node(Private<MapDelink>(map, 4));
    EXPECT_EQ(node->getLeftChild(), map.find(2).getNode());
    EXPECT_EQ(node->getRightChild(), nullptr);
    EXPECT_EQ(node->getParent(), map.find(5).getNode());
    EXPECT_EQ(map.find(2)->getParent(), map.find(5).getNode());
}

TEST(VaxoMapPrivate, DelinkOfAnAbsentKeyAnswersNullAndChangesNothing) {
    IntMap map = Seven();
    EXPECT_EQ(Private<MapDelink>(map, 8), nullptr);
    EXPECT_EQ(map.size(), 7U);
    EXPECT_EQ(Shape(map), kSevenShape);
    IntMap empty;
    EXPECT_EQ(Private<MapDelink>(empty, 8), nullptr);
}

TEST(VaxoMapPrivate, DelinkOfTheLastNodeEmptiesTheMap) {
    IntMap map = MapOf({1});
    const std::unique_ptr<Node> node(Private<MapDelink>(map, 1));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.size(), 0U);
}

TEST(VaxoMapPrivate, LinkingTheFirstNodeAssignsTheSize) {
    IntMap map;
    Private<MapSize>(map) = 41;
    auto node = std::make_unique<Node>(1, 10);
    Node elsewhere(9, 90);
    node->setParent(&elsewhere);
    EXPECT_TRUE(Private<MapLink>(map, node.get()));
    EXPECT_EQ(map.size(), 1U);
    EXPECT_TRUE(node->isRoot());
    EXPECT_TRUE(node->isBlack());
    EXPECT_EQ(Private<MapGetRoot>(map), node.release());
}

TEST(VaxoMapPrivate, LinkingCountsAndDoesNotRepair) {
    IntMap map;
    for (const int key : {1, 2, 3}) {
        auto node = std::make_unique<Node>(key, 0);
        ASSERT_TRUE(Private<MapLink>(map, node.get()));
        EXPECT_EQ(map.find(key).getNode(), node.release());
    }
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(Shape(map), (std::vector<int>{1, -2, -3}));
    EXPECT_EQ(map.find(3)->getLevel(), 2U);
}

TEST(VaxoMapPrivate, LinkingAnEqualKeyIsRefused) {
    IntMap map = Seven();
    Node node(5, 1);
    EXPECT_FALSE(Private<MapLink>(map, &node));
    EXPECT_EQ(map.size(), 7U);
    EXPECT_EQ(Shape(map), kSevenShape);
    EXPECT_TRUE(node.isRoot());
    EXPECT_TRUE(node.isRed());
}

TEST(VaxoMapPrivate, RotatingAtTheRootMakesABlackRoot) {
    IntMap map = MapOf({2, 1, 3});
    Private<MapRotateLeft>(map, map.find(2).getNode());
    EXPECT_EQ(Shape(map), (std::vector<int>{3, 2, -1}));
    EXPECT_EQ(map.find(1)->getLevel(), 2U);
    EXPECT_TRUE(map.find(3)->isRoot());
    Private<MapRotateRight>(map, map.find(3).getNode());
    EXPECT_EQ(Shape(map), (std::vector<int>{2, -1, 3}));
    Private<MapRotateRight>(map, map.find(2).getNode());
    EXPECT_EQ(Shape(map), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(KeysOf(map.getParentLastiterator()), (std::vector<int>{3, 2, 1}));
}

TEST(VaxoMapPrivate, RotatingBelowTheRootKeepsTheColours) {
    IntMap map = Seven();
    Private<MapRotateLeft>(map, map.find(2).getNode());
    EXPECT_EQ(Shape(map), (std::vector<int>{4, -3, 2, -1, 6, -5, -7}));
    Private<MapRotateRight>(map, map.find(6).getNode());
    EXPECT_EQ(Shape(map), (std::vector<int>{4, -3, 2, -1, -5, 6, -7}));
    Private<MapRotateLeft>(map, map.find(5).getNode());
    Private<MapRotateRight>(map, map.find(3).getNode());
    EXPECT_EQ(Shape(map), kSevenShape);
}

TEST(VaxoMapPrivate, RotatingMovesTheInnerSubtreeAcross) {
    IntMap map = Seven();
    Private<MapRotateLeft>(map, map.find(4).getNode());
    EXPECT_EQ(Shape(map), (std::vector<int>{6, 4, 2, -1, -3, -5, -7}));
    EXPECT_EQ(map.find(5)->getParent(), map.find(4).getNode());
    EXPECT_TRUE(map.find(5)->isRightChild());
    Private<MapRotateRight>(map, map.find(6).getNode());
    EXPECT_EQ(Shape(map), kSevenShape);
    EXPECT_EQ(map.find(5)->getParent(), map.find(6).getNode());
}

TEST(VaxoMapPrivate, SettingTheRootCutsItOffAndBlackensIt) {
    IntMap map = MapOf({});
    Node parent(2, 0);
    Node node(1, 0);
    parent.setLeftChild(&node);
    Private<MapSetRoot>(map, &node);
    EXPECT_EQ(Private<MapRoot>(map), &node);
    EXPECT_TRUE(node.isRoot());
    EXPECT_TRUE(node.isBlack());
    EXPECT_EQ(map.size(), 0U);
    Private<MapSetRoot>(map, nullptr);  // the node is not the map's to free
    EXPECT_TRUE(map.empty());
}

// vaxostl::map: the parent-first and the parent-last iterator.

#include <cstddef>
#include <string>
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

namespace {

// What the two walks share, as one suite over both.
struct ParentFirst {
    typedef IntMap::ParentFirstiterator Iterator;
    static Iterator Of(const IntMap& map) { return map.getParentFirstiterator(); }
    static std::vector<int> SmallTree() { return {2, 1, 3}; }
    static const char* Name() { return "ParentFirst"; }
};

struct ParentLast {
    typedef IntMap::ParentLastiterator Iterator;
    static Iterator Of(const IntMap& map) { return map.getParentLastiterator(); }
    static std::vector<int> SmallTree() { return {1, 3, 2}; }
    static const char* Name() { return "ParentLast"; }
};

template <class Walk>
class VaxoMapParentWalk : public testing::Test {};

typedef testing::Types<ParentFirst, ParentLast> Walks;

// The walk's name in the name of each case.
struct WalkName {
    template <class Walk>
    static std::string GetName(int /*index*/) {
        return Walk::Name();
    }
};
TYPED_TEST_SUITE(VaxoMapParentWalk, Walks, WalkName);

}  // namespace

TYPED_TEST(VaxoMapParentWalk, AtTheEndItStaysUntilItIsReset) {
    const IntMap map = MapOf({2, 1, 3});
    typename TypeParam::Iterator it = TypeParam::Of(map);
    EXPECT_EQ(it.getNode(), &*it);
    EXPECT_EQ(it->second, TypeParam::SmallTree().front() * 10);
    it++;
    it++;
    EXPECT_FALSE(it.atEnd());
    it++;
    EXPECT_TRUE(it.atEnd());
    EXPECT_EQ(it.getNode(), nullptr);
    it++;
    EXPECT_TRUE(it.atEnd());
    it.reset();
    EXPECT_EQ(it->first, TypeParam::SmallTree().front());
}

TYPED_TEST(VaxoMapParentWalk, WithoutATreeItIsAtTheEnd) {
    typename TypeParam::Iterator it;
    EXPECT_TRUE(it.atEnd());
    it++;
    it.reset();
    EXPECT_TRUE(it.atEnd());
    EXPECT_TRUE(TypeParam::Of(IntMap()).atEnd());
}

TYPED_TEST(VaxoMapParentWalk, AssignmentCopiesThePositionAndTheTree) {
    const IntMap map = MapOf({2, 1, 3});
    typename TypeParam::Iterator it = TypeParam::Of(map);
    it++;
    typename TypeParam::Iterator copy;
    copy = it;
    it++;
    EXPECT_EQ(copy->first, TypeParam::SmallTree()[1]);
    copy.reset();
    EXPECT_EQ(copy->first, TypeParam::SmallTree().front());
}

TEST(VaxoMapParentWalks, AdvancingWithThePostfixFormAnswersNothing) {
    EXPECT_TRUE(
        (std::is_void_v<decltype(std::declval<IntMap::ParentFirstiterator&>().operator++(0))>));
    EXPECT_TRUE(
        (std::is_void_v<decltype(std::declval<IntMap::ParentLastiterator&>().operator++(0))>));
}

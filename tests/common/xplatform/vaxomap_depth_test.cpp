// vaxostl::map: a tree of more than 100,000 nodes in one line. A walk, an erasure or a
// clearing that recursed once a node would not survive it.

#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "common/xplatform/vaxomap_support.h"
#include "vaxomap.h"

using vaxomaptest::IntMap;

namespace {

const std::size_t kDepth = 100000;

// Erasing a node hangs its left subtree below the smallest node of its right one. With
// every node that has children erased, children before parents, what were the leaves
// are left, each the left child of the next greater one.
void EraseAllButTheLeaves(IntMap& map) {
    std::vector<int> inner;
    for (IntMap::ParentLastiterator it = map.getParentLastiterator(); !it.atEnd(); it++) {
        if (!it->isLeaf()) {
            inner.push_back(it->first);
        }
    }
    for (const int key : inner) {
        map.erase(key);
    }
}

// The number of nodes in line to the left, from the root; 0 if any has a right child.
std::size_t LineLength(const IntMap& map) {
    std::size_t length = 0;
    const IntMap::Node* node = map.getParentFirstiterator().getNode();
    for (; node != nullptr; node = node->getLeftChild(), ++length) {
        if (node->getRightChild() != nullptr) {
            return 0;
        }
    }
    return length;
}

template <class Walk>
std::size_t Count(Walk walk) {
    std::size_t count = 0;
    for (; !walk.atEnd(); walk++) {
        ++count;
    }
    return count;
}

// Whether the walk in key order goes up in both directions and meets `size` keys.
bool WalksInOrder(const IntMap& map, std::size_t size) {
    std::size_t there = 0;
    int last = -1;
    IntMap::iterator it = map.begin();
    for (; !it.atEnd(); ++it, ++there) {
        if (it->first <= last) {
            return false;
        }
        last = it->first;
    }
    std::size_t back = 0;
    for (--it; !it.atEnd(); --it, ++back) {
        if (it->first > last) {
            return false;
        }
        last = it->first;
    }
    return there == size && back == size;
}

}  // namespace

class VaxoMapDepth : public ::testing::Test {
protected:
    void SetUp() override {
        for (int key = 1; key <= 210000; ++key) {
            m_map.insert(key, key);
        }
        EraseAllButTheLeaves(m_map);
        m_length = LineLength(m_map);
        ASSERT_GE(m_length, kDepth);
        ASSERT_EQ(m_length, m_map.size());
    }

    IntMap m_map;
    std::size_t m_length = 0;
};

TEST_F(VaxoMapDepth, ALineOfNodesIsWalkedByEveryIterator) {
    EXPECT_TRUE(WalksInOrder(m_map, m_length));
    EXPECT_EQ(Count(m_map.getParentFirstiterator()), m_length);
    EXPECT_EQ(Count(m_map.getParentLastiterator()), m_length);
    EXPECT_EQ(m_map.begin()->getLevel(), m_length - 1);
}

TEST_F(VaxoMapDepth, ALineOfNodesIsSearchedToItsBottom) {
    const int smallest = m_map.begin()->first;
    EXPECT_EQ(m_map.find(smallest)->first, smallest);
    EXPECT_EQ(m_map.lower_bound(-1)->first, smallest);
    EXPECT_GT(m_map.upper_bound(smallest)->first, smallest);
    EXPECT_TRUE(m_map.find(-1).atEnd());
}

TEST_F(VaxoMapDepth, AnInsertionAtTheBottomKeepsTheOrder) {
    EXPECT_TRUE(m_map.insert(0, 7));
    EXPECT_EQ(m_map.begin()->first, 0);
    EXPECT_TRUE(WalksInOrder(m_map, m_length + 1));
}

TEST_F(VaxoMapDepth, ErasuresAtBothEndsOfTheLineKeepTheOrder) {
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(m_map.erase(m_map.begin()));
    }
    // The largest key is the root: one step down each.
    while (m_map.size() > m_length / 2) {
        ASSERT_TRUE(m_map.erase(--m_map.end()));
    }
    EXPECT_TRUE(WalksInOrder(m_map, m_length / 2));
    EXPECT_EQ(LineLength(m_map), m_length / 2);
    while (!m_map.empty()) {
        ASSERT_TRUE(m_map.erase(--m_map.end()));
    }
    EXPECT_EQ(m_map.size(), 0U);
}

TEST_F(VaxoMapDepth, ALineOfNodesIsCopiedIntoABalancedTree) {
    const IntMap copy(m_map);
    EXPECT_TRUE(WalksInOrder(copy, m_length));
    EXPECT_LT(copy.begin()->getLevel(), 40U);
}

TEST_F(VaxoMapDepth, ALineOfNodesIsCleared) {
    m_map.clear();
    EXPECT_TRUE(m_map.empty());
    EXPECT_TRUE(m_map.insert(1, 1));
    EXPECT_EQ(m_map.size(), 1U);
}

// What the tests of vaxostl::map share: small maps of numbers, what a walk
// over one meets, and trees tied by hand.
#ifndef VAXO_VAXOMAP_SUPPORT_H
#define VAXO_VAXOMAP_SUPPORT_H

#include <cstddef>
#include <vector>

#include "vaxomap.h"

namespace vaxomaptest {

typedef vaxostl::map<int, int> IntMap;

// A map of the keys, inserted in the given order; each value is ten times its key.
inline IntMap MapOf(const std::vector<int>& keys) {
    IntMap map;
    for (const int key : keys) {
        map.insert(key, key * 10);
    }
    return map;
}

inline std::vector<int> Keys(const IntMap& map) {
    std::vector<int> keys;
    for (const IntMap::Node& entry : map) {
        keys.push_back(entry.first);
    }
    return keys;
}

// The keys that an iterator of any kind meets from where it is.
template <class Walk>
std::vector<int> KeysOf(Walk walk) {
    std::vector<int> keys;
    for (; !walk.atEnd(); walk++) {
        keys.push_back(walk->first);
    }
    return keys;
}

// Parent first, with the key of a red node as a negative number: the whole shape and
// colouring of a map of positive keys.
inline std::vector<int> Shape(const IntMap& map) {
    std::vector<int> keys;
    for (IntMap::ParentFirstiterator it = map.getParentFirstiterator(); !it.atEnd(); it++) {
        keys.push_back(it->isRed() ? -it->first : it->first);
    }
    return keys;
}

// Seven nodes in three full levels: 4 and its children black, the leaves red.
inline IntMap Seven() {
    return MapOf({4, 2, 6, 1, 3, 5, 7});
}

inline const std::vector<int> kSevenShape = {4, 2, -1, -3, 6, -5, -7};

// Nodes tied by hand into a shape of which every step is known:
//
//         8
//       /   \.
//      2     9
//     / \     \.
//    1   6     12
//       / \   /
//      4   7 10
//       \.    \.
//        5     11
class HandMadeTree {
public:
    HandMadeTree() {
        Tie(8, 2, 9);
        Tie(2, 1, 6);
        Tie(6, 4, 7);
        Tie(4, 0, 5);
        Tie(9, 0, 12);
        Tie(12, 10, 0);
        Tie(10, 0, 11);
    }

    IntMap::Node* Root() { return At(8); }
    IntMap::Node* At(int key) {
        return key == 0 ? nullptr : &m_nodes[static_cast<std::size_t>(key)];
    }

private:
    void Tie(int key, int left, int right) {
        At(key)->setLeftChild(At(left));
        At(key)->setRightChild(At(right));
    }

    std::vector<IntMap::Node> m_nodes = {{0, 0}, {1, 0}, {2, 0}, {3, 0},  {4, 0},  {5, 0}, {6, 0},
                                         {7, 0}, {8, 0}, {9, 0}, {10, 0}, {11, 0}, {12, 0}};
};

inline const std::vector<int> kInOrder = {1, 2, 4, 5, 6, 7, 8, 9, 10, 11, 12};

// Twelve nodes in one line, each the child of the one before: to the left, to the
// right, or to both sides in turn.
enum Lean { Lean_Left, Lean_Right, Lean_Both };

inline std::vector<IntMap::Node> Line(Lean lean) {
    std::vector<IntMap::Node> nodes;
    int low = 1;
    int high = 12;
    while (low <= high) {
        const bool fromTop = lean == Lean_Left || (lean == Lean_Both && nodes.size() % 2 == 0);
        nodes.emplace_back(fromTop ? high-- : low++, 0);
    }
    for (std::size_t i = 0; i + 1 < nodes.size(); ++i) {
        if (nodes[i + 1].first < nodes[i].first) {
            nodes[i].setLeftChild(&nodes[i + 1]);
        } else {
            nodes[i].setRightChild(&nodes[i + 1]);
        }
    }
    return nodes;
}

}  // namespace vaxomaptest

#endif

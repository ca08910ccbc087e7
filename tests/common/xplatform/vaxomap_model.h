// What vaxostl::map's tree must look like, worked out in another way: cells in an array
// that know their children by index and not their parents, insertion along a recorded
// path, and the repair and the erasure written as what they amount to instead of as
// rotations. Keys alone; the values have no influence on the shape.
//
// Also here: what must hold of the map's own links after any operation, and what holds
// after insertions alone.
#ifndef VAXO_VAXOMAP_MODEL_H
#define VAXO_VAXOMAP_MODEL_H

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "vaxomap.h"

namespace vaxomaptest {

template <class Key>
class TreeModel {
public:
    bool Add(const Key& key) {
        std::vector<int> path;
        for (int at = m_top; at != kNone;) {
            path.push_back(at);
            if (key < Cell(at).key) {
                at = Cell(at).low;
            } else if (Cell(at).key < key) {
                at = Cell(at).high;
            } else {
                return false;
            }
        }
        const int fresh = static_cast<int>(m_cells.size());
        m_cells.push_back({key, true, kNone, kNone});
        if (path.empty()) {
            m_top = fresh;
        } else {
            Hang(path.back(), fresh);
        }
        path.push_back(fresh);
        Settle(path);
        return true;
    }

    bool Remove(const Key& key) {
        bool found = false;
        m_top = Without(m_top, key, found);
        if (m_top != kNone) {
            Cell(m_top).red = false;
        }
        return found;
    }

    // The cells in the order of each walk.
    std::vector<int> ParentFirst() const {
        std::vector<int> order;
        List(m_top, true, order);
        return order;
    }
    std::vector<int> ParentLast() const {
        std::vector<int> order;
        List(m_top, false, order);
        return order;
    }

    // Whether a walk of the map meets the keys and colours of these cells.
    template <class Walk>
    bool Matches(Walk walk, const std::vector<int>& order) const {
        for (const int at : order) {
            if (walk.atEnd() || walk->first != Cell(at).key || walk->isRed() != Cell(at).red) {
                return false;
            }
            walk++;
        }
        return walk.atEnd();
    }

private:
    static const int kNone = -1;

    struct CellType {
        Key key;
        bool red;
        int low;
        int high;
    };

    CellType& Cell(int at) { return m_cells[static_cast<std::size_t>(at)]; }
    const CellType& Cell(int at) const { return m_cells[static_cast<std::size_t>(at)]; }
    bool Red(int at) const { return at != kNone && Cell(at).red; }

    // Hangs a cell below another, on the side where its key belongs.
    void Hang(int parent, int child) {
        if (Cell(child).key < Cell(parent).key) {
            Cell(parent).low = child;
        } else {
            Cell(parent).high = child;
        }
    }

    // Goes up the path from its last cell, which is red. Two reds in a row are settled
    // either by passing the red on to the grandparent or by rebuilding the three cells.
    void Settle(const std::vector<int>& path) {
        std::size_t last = path.size() - 1;
        while (last >= 2 && Red(path[last - 1])) {
            const int grand = path[last - 2];
            const int parent = path[last - 1];
            const int uncle = Cell(grand).low == parent ? Cell(grand).high : Cell(grand).low;
            if (!Red(uncle)) {
                const int middle = Rebuild({grand, parent, path[last]});
                if (last == 2) {
                    m_top = middle;
                } else {
                    Hang(path[last - 3], middle);
                }
                break;
            }
            Cell(parent).red = false;
            Cell(uncle).red = false;
            Cell(grand).red = true;
            last -= 2;
        }
        Cell(m_top).red = false;
    }

    // Takes apart the three cells of a line or an angle and puts them together as a black
    // one with two red children, the four subtrees below in their order.
    int Rebuild(const std::vector<int>& three) {
        std::vector<int> cells;
        std::vector<int> subtrees;
        TakeApart(three.front(), three, cells, subtrees);
        const int low = cells[0];
        const int middle = cells[1];
        const int high = cells[2];
        Cell(low) = {Cell(low).key, true, subtrees[0], subtrees[1]};
        Cell(high) = {Cell(high).key, true, subtrees[2], subtrees[3]};
        Cell(middle) = {Cell(middle).key, false, low, high};
        return middle;
    }

    void TakeApart(int at, const std::vector<int>& three, std::vector<int>& cells,
                   std::vector<int>& subtrees) const {
        if (at != three[0] && at != three[1] && at != three[2]) {
            subtrees.push_back(at);
            return;
        }
        TakeApart(Cell(at).low, three, cells, subtrees);
        cells.push_back(at);
        TakeApart(Cell(at).high, three, cells, subtrees);
    }

    // The subtree without the key. Turning a cell down until it has no right child and
    // then taking it out amounts to this: its right subtree takes its place, and its left
    // subtree goes below the smallest cell of the right one.
    int Without(int at, const Key& key, bool& found) {
        if (at == kNone) {
            return kNone;
        }
        if (key < Cell(at).key) {
            const int low = Without(Cell(at).low, key, found);
            Cell(at).low = low;
            return at;
        }
        if (Cell(at).key < key) {
            const int high = Without(Cell(at).high, key, found);
            Cell(at).high = high;
            return at;
        }
        found = true;
        if (Cell(at).high == kNone) {
            return Cell(at).low;
        }
        int smallest = Cell(at).high;
        while (Cell(smallest).low != kNone) {
            smallest = Cell(smallest).low;
        }
        Cell(smallest).low = Cell(at).low;
        return Cell(at).high;
    }

    void List(int at, bool parentFirst, std::vector<int>& order) const {
        if (at == kNone) {
            return;
        }
        if (parentFirst) {
            order.push_back(at);
        }
        List(Cell(at).low, parentFirst, order);
        List(Cell(at).high, parentFirst, order);
        if (!parentFirst) {
            order.push_back(at);
        }
    }

    std::vector<CellType> m_cells;  // removed cells stay, out of reach
    int m_top = kNone;
};

// What holds after every operation: a black root without a parent, every child's parent
// pointer right, as many nodes as the map counts, and keys that go up in key order.
template <class Key, class Value>
bool Sound(const vaxostl::map<Key, Value>& map) {
    const auto* root = map.getParentFirstiterator().getNode();
    if (root != nullptr && (!root->isRoot() || !root->isBlack())) {
        return false;
    }
    std::size_t nodes = 0;
    for (auto it = map.getParentFirstiterator(); !it.atEnd(); it++, ++nodes) {
        const auto* left = it->getLeftChild();
        const auto* right = it->getRightChild();
        if ((left != nullptr && (left->getParent() != it.getNode() || !left->isLeftChild())) ||
            (right != nullptr && (right->getParent() != it.getNode() || !right->isRightChild()))) {
            return false;
        }
    }
    std::size_t keys = 0;
    const Key* last = nullptr;
    for (auto it = map.begin(); !it.atEnd(); ++it, ++keys) {
        if (last != nullptr && !(*last < it->first)) {
            return false;
        }
        last = &it->first;
    }
    return nodes == map.size() && keys == map.size();
}

// What holds after insertions alone: no red node has a red child, and every way down from
// a node passes the same number of black nodes.
template <class Key, class Value>
bool RedBlack(const vaxostl::map<Key, Value>& map) {
    typedef typename vaxostl::map<Key, Value>::Node Node;
    std::unordered_map<const Node*, int> blacks;  // on the ways down; null is 0
    for (auto it = map.getParentLastiterator(); !it.atEnd(); it++) {
        const Node* left = it->getLeftChild();
        const Node* right = it->getRightChild();
        if (blacks[left] != blacks[right]) {
            return false;
        }
        if (it->isRed() &&
            ((left != nullptr && left->isRed()) || (right != nullptr && right->isRed()))) {
            return false;
        }
        blacks[it.getNode()] = blacks[left] + (it->isBlack() ? 1 : 0);
    }
    return true;
}

}  // namespace vaxomaptest

#endif

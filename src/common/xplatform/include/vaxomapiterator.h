// vaxostl::map's iterators: three walks over the tree through the parent pointers.
//
// iterator              key order, both directions
// ParentFirstiterator   a node, then its left subtree, then its right one
// ParentLastiterator    its left subtree, then its right one, then the node
//
// Each holds two node pointers: the root that the tree had when the iterator was made,
// and the current node, null at the end. They own nothing and are copied member by
// member; copies do not affect each other.
//
// Guarantees
// - A whole walk visits every node once and takes time linear in the number of nodes.
//   A single step may climb or descend the depth of the tree.
// - Stepping forward from the end stays at the end. An iterator that was default-made,
//   or made from a null root, is at the end and stays there.
// - A parent-last walk has left a node's subtrees for good when it is at the node: the
//   holder may free each node once the iterator has moved past it.
//
// Non-guarantees
// - An iterator does not notice that the tree has changed; see the map for what makes
//   it invalid.
// - At the end there is no node: getNode() answers null, `*` and `->` must not be used.

// Before the guard: whoever includes this header by itself gets the whole map, in the
// order that its pieces need.
#include "vaxomap.h"

#ifndef VAXO_VAXOMAPITERATOR_H
#define VAXO_VAXOMAPITERATOR_H

namespace vaxostl {

// Key order. Two iterators are equal when they are at the same node; any two at their
// ends are equal, whatever map they came from.
template <class KeyType, class ValueType>
class map<KeyType, ValueType>::iterator {
public:
    iterator() = default;
    // At the smallest key below `root`.
    explicit iterator(Node* root) : Root(root) { reset(true); }
    iterator(Node* root, Node* node) : Root(root), Cur(node) {}  // at `node`, null for the end

    // Goes to the smallest key of the tree, or to the largest.
    void reset(bool atLowest = true) { Cur = atLowest ? smallest(Root) : largest(Root); }

    bool atEnd() const { return Cur == nullptr; }  // there is no current node
    Node* getNode() const { return Cur; }          // the current node, null at the end
    Node* operator->() const { return Cur; }       // not at the end
    Node& operator*() const { return *Cur; }

    // At the same node, or both at the end.
    bool operator==(const iterator& other) const { return Cur == other.Cur; }
    bool operator!=(const iterator& other) const { return Cur != other.Cur; }

    // The next greater key, or the end.
    iterator& operator++() {
        inc();
        return *this;
    }
    iterator operator++(int) {
        iterator before(*this);
        inc();
        return before;
    }

    // The next smaller key, or the end when there is none. From the end, the largest.
    iterator& operator--() {
        stepBack();
        return *this;
    }
    iterator operator--(int) {
        iterator before(*this);
        stepBack();
        return before;
    }

private:
    static Node* smallest(Node* node) {
        while (node != nullptr && node->getLeftChild() != nullptr) {
            node = node->getLeftChild();
        }
        return node;
    }

    static Node* largest(Node* node) {
        while (node != nullptr && node->getRightChild() != nullptr) {
            node = node->getRightChild();
        }
        return node;
    }

    void inc() {
        if (Cur == nullptr) {
            return;
        }
        if (Cur->getRightChild() != nullptr) {
            Cur = smallest(Cur->getRightChild());
            return;
        }
        while (Cur->isRightChild()) {
            Cur = Cur->getParent();
        }
        Cur = Cur->getParent();
    }

    void dec() {
        if (Cur == nullptr) {
            return;
        }
        if (Cur->getLeftChild() != nullptr) {
            Cur = largest(Cur->getLeftChild());
            return;
        }
        while (Cur->isLeftChild()) {
            Cur = Cur->getParent();
        }
        Cur = Cur->getParent();
    }

    void stepBack() {
        if (atEnd()) {
            reset(false);
        } else {
            dec();
        }
    }

    Node* Root = nullptr;
    Node* Cur = nullptr;
};

// Pre-order, forward only.
template <class KeyType, class ValueType>
class map<KeyType, ValueType>::ParentFirstiterator {
public:
    ParentFirstiterator() = default;
    explicit ParentFirstiterator(Node* root) : Root(root) { reset(); }  // at the root

    // Goes back to the first node of the walk, the root.
    void reset() { Cur = Root; }

    bool atEnd() const { return Cur == nullptr; }  // there is no current node
    Node* getNode() const { return Cur; }          // the current node, null at the end
    Node* operator->() const { return Cur; }       // not at the end
    Node& operator*() const { return *Cur; }

    void operator++(int) { inc(); }  // the next node of the walk

private:
    void inc() {
        if (Cur == nullptr) {
            return;
        }
        if (Cur->getLeftChild() != nullptr) {
            Cur = Cur->getLeftChild();
        } else if (Cur->getRightChild() != nullptr) {
            Cur = Cur->getRightChild();
        } else {
            climb();
        }
    }

    // Up to the first ancestor whose right subtree has not been walked, and into it.
    void climb() {
        while (Cur != nullptr) {
            Node* parent = Cur->getParent();
            if (Cur->isLeftChild() && parent->getRightChild() != nullptr) {
                Cur = parent->getRightChild();
                return;
            }
            Cur = parent;
        }
    }

    Node* Root = nullptr;
    Node* Cur = nullptr;
};

// Post-order, forward only.
template <class KeyType, class ValueType>
class map<KeyType, ValueType>::ParentLastiterator {
public:
    ParentLastiterator() = default;
    explicit ParentLastiterator(Node* root) : Root(root) { reset(); }  // at the first leaf

    // Goes back to the first node of the walk, a leaf.
    void reset() { Cur = firstLeaf(Root); }

    bool atEnd() const { return Cur == nullptr; }  // there is no current node
    Node* getNode() const { return Cur; }          // the current node, null at the end
    Node* operator->() const { return Cur; }       // not at the end
    Node& operator*() const { return *Cur; }

    void operator++(int) { inc(); }  // the next node of the walk

private:
    // Down from a node, left where there is a left child, else right.
    static Node* firstLeaf(Node* node) {
        while (node != nullptr && !node->isLeaf()) {
            node = node->getLeftChild() != nullptr ? node->getLeftChild() : node->getRightChild();
        }
        return node;
    }

    void inc() {
        if (Cur == nullptr) {
            return;
        }
        Node* parent = Cur->getParent();
        if (parent == nullptr || Cur->isRightChild() || parent->getRightChild() == nullptr) {
            Cur = parent;
        } else {
            Cur = firstLeaf(parent->getRightChild());
        }
    }

    Node* Root = nullptr;
    Node* Cur = nullptr;
};

}  // namespace vaxostl

#endif

// vaxostl::map's node: one entry, its links in the tree and its colour.
//
// `first` and `second` are the entry and may be read by whoever holds the node;
// `second` may be written. The links and the colour belong to the map.
//
// Guarantees
// - A new node has no children and no parent and is red.
// - setLeftChild and setRightChild keep both ends of a link together: the child's
//   parent becomes this node. The child that was there before is left as it was.
// - A node owns no other node: destroying it touches nothing but its entry.
//
// Non-guarantees
// - setParent alone changes one end of a link.
// - A copy of a node is an entry with stale links. It belongs to no tree.

// Before the guard: whoever includes this header by itself gets the whole map, in the
// order that its pieces need.
#include "vaxomap.h"

#ifndef VAXO_VAXOMAPNODE_H
#define VAXO_VAXOMAPNODE_H

namespace vaxostl {

template <class KeyType, class ValueType>
template <class KeyTypeRB, class ValueTypeRB>
class map<KeyType, ValueType>::RBTree {
public:
    // Alone and red.
    RBTree(const KeyTypeRB& key, const ValueTypeRB& value) : first(key), second(value) {}

    // Assigning one node of a tree to another would tear the links.
    RBTree(const RBTree&) = default;
    RBTree& operator=(const RBTree&) = delete;
    ~RBTree() = default;

    // Both ends of the link; null takes the child away and leaves its end.
    void setLeftChild(RBTree* p) {
        LeftChild = p;
        if (p != nullptr) {
            p->setParent(this);
        }
    }

    // The same on the right.
    void setRightChild(RBTree* p) {
        RightChild = p;
        if (p != nullptr) {
            p->setParent(this);
        }
    }

    void setParent(RBTree* p) { Parent = p; }                    // one end of the link alone
    void setValue(const ValueTypeRB& value) { second = value; }  // overwrites the entry's value
    void setRed() { IsRed = true; }                              // the map's to call
    void setBlack() { IsRed = false; }                           // the map's to call

    RBTree* getLeftChild() const { return LeftChild; }    // smaller keys, or null
    RBTree* getRightChild() const { return RightChild; }  // greater keys, or null
    RBTree* getParent() const { return Parent; }          // null for the root
    ValueTypeRB& getValue() { return second; }            // the same as `second`
    const ValueTypeRB& getValue() const { return second; }
    const KeyTypeRB& getKey() const { return first; }  // the same as `first`

    bool isRoot() const { return Parent == nullptr; }  // has no parent
    // False for the root.
    bool isLeftChild() const { return Parent != nullptr && Parent->LeftChild == this; }
    // False for the root.
    bool isRightChild() const { return Parent != nullptr && Parent->RightChild == this; }
    // Has no children.
    bool isLeaf() const { return LeftChild == nullptr && RightChild == nullptr; }
    bool isRed() const { return IsRed; }     // its colour
    bool isBlack() const { return !IsRed; }  // the other one

    // The depth: how many ancestors the node has, 0 for the root.
    unsigned int getLevel() const {
        unsigned int level = 0;
        for (const RBTree* node = Parent; node != nullptr; node = node->Parent) {
            ++level;
        }
        return level;
    }

    KeyTypeRB first;     // the key; see the map's warning about changing it
    ValueTypeRB second;  // the value

private:
    RBTree* LeftChild = nullptr;   // smaller keys
    RBTree* RightChild = nullptr;  // greater keys
    RBTree* Parent = nullptr;      // null for the root
    bool IsRed = true;
};

}  // namespace vaxostl

#endif

// vaxostl::map: the library's ordered associative container with unique keys, a
// binary search tree of individually allocated, red or black nodes.
//
// It is not a drop-in for the standard map. What differs, deliberately:
// - Inserting an existing key fails and keeps the stored value. set() and
//   AccessClass overwrite.
// - Erasing does not rebalance and does not recolour. The tree stays a correctly
//   ordered search tree, but after an erasure its colours promise nothing about
//   its depth: it may become as deep as it has entries. Later insertions repair
//   only along the path they touch. With insertions alone the red-black
//   properties hold and the depth is at most 2 * log2(size + 1).
// - Assigning a map to itself empties it.
// - Decrementing the end iterator reaches the largest key; incrementing it leaves
//   it at the end.
// - An iterator yields the node. Its `first` and `second` are the entry.
//
// Guarantees
// - Keys are compared with `<` alone. Two keys are equal when neither is less; the
//   key type needs no equality, no hash, no default constructor.
// - Lookups, bounds and insertions walk one path from the root to a leaf, erasures
//   one path down. Nothing recurses, so no depth overflows the stack.
// - A node stays where it was allocated until its own key is erased: pointers and
//   references to an entry survive every change to other entries.
// - clear(), assignment and the destructor free children before their parent, in
//   parent-last order, and read no freed node.
// - Allocation failure propagates as std::bad_alloc, as does whatever the key or
//   value type throws. insert, set and operator[] then leave the map unchanged.
//   A failed assignment leaves the entries copied so far, in a valid map. A failed
//   copy construction leaks nothing.
//
// Non-guarantees
// - Not thread-safe: the user guards a map with a lock of its own.
// - Constness is shallow. A const map cannot gain, lose or reassign entries through
//   its own operations, but its iterators reach writable nodes.
// - Nothing stops the holder of a node from writing `first` or the links. Changing a
//   key so that the order no longer holds breaks every lookup. Give the setters of a
//   node that belongs to a map to the map alone.
// - A copy has the same entries, not the same shape.
// - Every change of the tree's shape (an insertion with rotations, erase, clear,
//   assignment) makes the iterators made before it invalid; they keep the root that
//   they were made with.
// - A destructor of a key or value must not use the map that is freeing it.
// - size() counts in 32 bits; a map holds at most 4294967295 entries.
#ifndef VAXO_VAXOMAP_H
#define VAXO_VAXOMAP_H

#include "vaxopair.h"
#include "vaxotypes.h"

namespace vaxostl {

template <class KeyType, class ValueType>
class map {
public:
    // A node of the tree: the entry and its links (vaxomapnode.h).
    template <class KeyTypeRB, class ValueTypeRB>
    class RBTree;
    typedef RBTree<KeyType, ValueType> Node;  // what an iterator yields

    // The walks in key order, parent first and parent last (vaxomapiterator.h).
    class iterator;
    class ParentFirstiterator;
    class ParentLastiterator;

    typedef pair<const KeyType, ValueType> value_type;  // an entry, as insert takes it

    // Stands for the value of one key: assigning to it sets the value, converting it
    // reads the value. It refers to the map and to the key given to it; both must
    // outlive it, so do not keep one that was made from a temporary key.
    class AccessClass {
    public:
        // What operator[] of other containers gives; changes nothing.
        AccessClass(map& tree, const KeyType& key) : Tree(tree), Key(key) {}

        // Overwrites the value of the key, or inserts the entry.
        AccessClass& operator=(const ValueType& value) {
            Tree.set(Key, value);
            return *this;
        }

        // A copy of the stored value. The key must be in the map: this is not checked.
        operator ValueType() const { return Tree.findnode(Key)->getValue(); }

    private:
        // There is no AccessClass without a map and a key.
        AccessClass() = delete;  // NOLINT(modernize-use-equals-delete): private by contract

        map& Tree;
        const KeyType& Key;
    };

    // An empty map allocates nothing.
    map() = default;

    // Starts empty, then assigns. The default constructor has finished by then, so
    // that the destructor frees what was copied when an allocation fails.
    map(const map& other) : map() { *this = other; }

    // clear(), then every entry of `other` in key order. There is no check for
    // self-assignment: `m = m` empties `m`.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): emptied, by contract
    map& operator=(const map& other);

    ~map() { clear(); }

    // Adds an entry. False, with nothing changed, when the key is present; the node
    // is allocated before the search, so this case can run out of memory too.
    bool insert(const KeyType& key, const ValueType& value);

    // The same. The iterator is at the entry that holds the key: the new one, or the
    // existing one when the bool is false.
    pair<iterator, bool> insert(const value_type& entry);

    // Overwrites the value of a present key, else adds the entry.
    void set(const KeyType& key, const ValueType& value);

    // The stored value. A missing key is first inserted with a default-constructed
    // value. For integer and pointer types take that value as unset: assign it before
    // reading it. (It is value-initialised today; do not build on that.)
    ValueType& operator[](const KeyType& key);

    // The entry with this key, or end().
    iterator find(const KeyType& key) const;

    // The first entry whose key is not less than, or is greater than, `key`; or end().
    iterator lower_bound(const KeyType& key) const;
    iterator upper_bound(const KeyType& key) const;  // greater than the key

    // Removes and frees an entry; false when the key is absent. `key` may be the key
    // inside the entry that goes.
    bool erase(const KeyType& key);

    // Erases by the key of the iterator's node. An end iterator must not be passed; it
    // erases nothing and answers false.
    bool erase(iterator position);

    // Frees every node.
    void clear();

    bool empty() const { return isEmpty(); }  // holds no entry
    uint32 size() const { return Size; }      // entries

    // At the smallest key, or at the end when the map is empty. begin() and
    // getiterator() are the same.
    iterator begin() const;
    iterator getiterator() const;  // the same as begin()

    // Past the largest key: no current node.
    iterator end() const;

    ParentFirstiterator getParentFirstiterator() const;  // at the root
    ParentLastiterator getParentLastiterator() const;    // at the first leaf

private:
    // The node with this key or null. Every lookup is this walk.
    Node* findnode(const KeyType& key) const;

    // Unlinks a node as erase does but hands it to the caller, who owns it then; null
    // when the key is absent. The node keeps its old child and parent pointers.
    Node* delink(const KeyType& key);

    // Links a prepared node without repairing the colours; false, with nothing linked,
    // when its key is present.
    bool insert(Node* node);

    // Restores the red-black properties on the way up from a newly linked red node.
    void repair(Node* node);

    // Puts `replacement`, which may be null, into the place of `node`.
    void replace(Node* node, Node* replacement);

    bool isEmpty() const { return Root == nullptr; }
    Node* getRoot() const { return Root; }

    // Makes a node, or null, the root. The root has no parent and is black.
    void setRoot(Node* node);

    // Lower a node below its right (left) child, which must exist.
    void rotateLeft(Node* node);
    void rotateRight(Node* node);

    Node* Root = nullptr;
    uint32 Size = 0;
};

}  // namespace vaxostl

// The nested classes, then the operations: each a concept of its own. They follow the
// class because they are its members.
#include "vaxomapiterator.h"
#include "vaxomapnode.h"

// Last: the operations need the nested classes complete.
#include "vaxomapimpl.h"

#endif

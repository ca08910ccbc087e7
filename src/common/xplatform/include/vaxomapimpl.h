// vaxostl::map's operations. What each promises stands in vaxomap.h; here is how.

// Before the guard: whoever includes this header by itself gets the whole map, in the
// order that its pieces need.
#include "vaxomap.h"

#ifndef VAXO_VAXOMAPIMPL_H
#define VAXO_VAXOMAPIMPL_H

#include <memory>

namespace vaxostl {

// Copying and clearing.

template <class KeyType, class ValueType>
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a map assigned to itself is emptied
map<KeyType, ValueType>& map<KeyType, ValueType>::operator=(const map& other) {
    clear();
    for (iterator it = other.begin(); !it.atEnd(); ++it) {
        insert(it->first, it->second);
    }
    return *this;
}

template <class KeyType, class ValueType>
void map<KeyType, ValueType>::clear() {
    ParentLastiterator it(Root);
    while (!it.atEnd()) {
        Node* node = it.getNode();
        it++;
        delete node;
    }
    Root = nullptr;
    Size = 0;
}

// Lookups.

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::Node* map<KeyType, ValueType>::findnode(
    const KeyType& key) const {
    Node* node = Root;
    while (node != nullptr) {
        if (key < node->first) {
            node = node->getLeftChild();
        } else if (node->first < key) {
            node = node->getRightChild();
        } else {
            break;
        }
    }
    return node;
}

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::iterator map<KeyType, ValueType>::find(const KeyType& key) const {
    return iterator(Root, findnode(key));
}

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::iterator map<KeyType, ValueType>::lower_bound(
    const KeyType& key) const {
    Node* node = Root;
    while (node != nullptr) {
        if (key < node->first) {
            if (node->getLeftChild() == nullptr) {
                return iterator(Root, node);
            }
            node = node->getLeftChild();
        } else if (node->first < key) {
            if (node->getRightChild() == nullptr) {
                return ++iterator(Root, node);
            }
            node = node->getRightChild();
        } else {
            return iterator(Root, node);
        }
    }
    return end();
}

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::iterator map<KeyType, ValueType>::upper_bound(
    const KeyType& key) const {
    iterator it = lower_bound(key);
    if (!it.atEnd() && !(key < it->first) && !(it->first < key)) {
        ++it;
    }
    return it;
}

// The ends of the walks.

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::iterator map<KeyType, ValueType>::begin() const {
    return iterator(Root);
}

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::iterator map<KeyType, ValueType>::getiterator() const {
    return begin();
}

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::iterator map<KeyType, ValueType>::end() const {
    return iterator(Root, nullptr);
}

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::ParentFirstiterator
map<KeyType, ValueType>::getParentFirstiterator() const {
    return ParentFirstiterator(Root);
}

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::ParentLastiterator
map<KeyType, ValueType>::getParentLastiterator() const {
    return ParentLastiterator(Root);
}

// Insertion.

template <class KeyType, class ValueType>
bool map<KeyType, ValueType>::insert(const KeyType& key, const ValueType& value) {
    // Owned here until it is linked: an equal key frees it, and so does a `<` that throws.
    std::unique_ptr<Node> fresh(new Node(key, value));
    if (!insert(fresh.get())) {
        return false;
    }
    repair(fresh.release());
    return true;
}

template <class KeyType, class ValueType>
pair<typename map<KeyType, ValueType>::iterator, bool> map<KeyType, ValueType>::insert(
    const value_type& entry) {
    const bool inserted = insert(entry.first, entry.second);
    return pair<iterator, bool>(find(entry.first), inserted);
}

template <class KeyType, class ValueType>
void map<KeyType, ValueType>::set(const KeyType& key, const ValueType& value) {
    Node* node = findnode(key);
    if (node != nullptr) {
        node->setValue(value);
    } else {
        insert(key, value);
    }
}

template <class KeyType, class ValueType>
ValueType& map<KeyType, ValueType>::operator[](const KeyType& key) {
    Node* node = findnode(key);
    if (node == nullptr) {
        insert(key, ValueType());
        node = findnode(key);
    }
    return node->getValue();
}

template <class KeyType, class ValueType>
bool map<KeyType, ValueType>::insert(Node* node) {
    if (Root == nullptr) {
        setRoot(node);
        Size = 1;
        return true;
    }
    Node* at = Root;
    for (;;) {
        if (node->first < at->first) {
            if (at->getLeftChild() == nullptr) {
                at->setLeftChild(node);
                break;
            }
            at = at->getLeftChild();
        } else if (at->first < node->first) {
            if (at->getRightChild() == nullptr) {
                at->setRightChild(node);
                break;
            }
            at = at->getRightChild();
        } else {
            return false;
        }
    }
    ++Size;
    return true;
}

template <class KeyType, class ValueType>
void map<KeyType, ValueType>::repair(Node* node) {
    while (!node->isRoot() && node->getParent()->isRed()) {
        Node* parent = node->getParent();
        // The root is black at all times, so a red parent has a parent of its own.
        Node* grandparent = parent->getParent();
        const bool onLeft = parent->isLeftChild();
        Node* uncle = onLeft ? grandparent->getRightChild() : grandparent->getLeftChild();
        if (uncle != nullptr && uncle->isRed()) {
            parent->setBlack();
            uncle->setBlack();
            grandparent->setRed();
            node = grandparent;
            continue;
        }
        if (onLeft && node->isRightChild()) {
            rotateLeft(parent);
            node = parent;
        } else if (!onLeft && node->isLeftChild()) {
            rotateRight(parent);
            node = parent;
        }
        node->getParent()->setBlack();
        grandparent->setRed();
        if (onLeft) {
            rotateRight(grandparent);
        } else {
            rotateLeft(grandparent);
        }
    }
    Root->setBlack();
}

// Erasure.

template <class KeyType, class ValueType>
bool map<KeyType, ValueType>::erase(const KeyType& key) {
    // `key` may live in the node: it is not read after this line.
    Node* node = delink(key);
    if (node == nullptr) {
        return false;
    }
    delete node;
    return true;
}

template <class KeyType, class ValueType>
bool map<KeyType, ValueType>::erase(iterator position) {
    return !position.atEnd() && erase(position->first);
}

template <class KeyType, class ValueType>
typename map<KeyType, ValueType>::Node* map<KeyType, ValueType>::delink(const KeyType& key) {
    Node* node = findnode(key);
    if (node == nullptr) {
        return nullptr;
    }
    while (node->getRightChild() != nullptr) {
        rotateLeft(node);
    }
    replace(node, node->getLeftChild());
    --Size;
    return node;
}

// Shape.

template <class KeyType, class ValueType>
void map<KeyType, ValueType>::replace(Node* node, Node* replacement) {
    if (node->isLeftChild()) {
        node->getParent()->setLeftChild(replacement);
    } else if (node->isRightChild()) {
        node->getParent()->setRightChild(replacement);
    } else {
        setRoot(replacement);
    }
}

template <class KeyType, class ValueType>
void map<KeyType, ValueType>::setRoot(Node* node) {
    Root = node;
    if (node != nullptr) {
        node->setParent(nullptr);
        node->setBlack();
    }
}

template <class KeyType, class ValueType>
void map<KeyType, ValueType>::rotateLeft(Node* node) {
    Node* rising = node->getRightChild();
    node->setRightChild(rising->getLeftChild());
    replace(node, rising);
    rising->setLeftChild(node);
}

template <class KeyType, class ValueType>
void map<KeyType, ValueType>::rotateRight(Node* node) {
    Node* rising = node->getLeftChild();
    node->setLeftChild(rising->getRightChild());
    replace(node, rising);
    rising->setRightChild(node);
}

}  // namespace vaxostl

#endif

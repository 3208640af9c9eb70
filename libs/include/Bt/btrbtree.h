// A red-black tree of untyped items, for orders that are known only as a comparison function. The
// items belong to the tree's user; the nodes to the tree.
#pragma once

#include <memory>

#include "Bt/btassert.h"

class BtRBTreeIter;

// All operations on one tree must use the same order. While an iterator is open the tree must not
// change.
class BtRBTreeBase {
 public:
  // Negative, zero or positive as the first item comes before, with or after the second.
  using Compare = int (*)(void*, void*);

  BtRBTreeBase();
  ~BtRBTreeBase();
  BtRBTreeBase(const BtRBTreeBase&) = delete;
  BtRBTreeBase& operator=(const BtRBTreeBase&) = delete;

  [[nodiscard]] int count() const { return _count; }
  // Adds an item that no item of the tree may equal.
  void insert(void* item, Compare compare);
  // The item that equals `key`, null when there is none. `key` is the first argument of `compare`.
  void* find(void* key, Compare compare) const;
  // Takes the item that equals `key` out of the tree and answers it; null when there is none.
  void* remove(void* key, Compare compare);
  // Forgets all items.
  void clear();

 private:
  friend class BtRBTreeIter;
  struct Node;

  [[nodiscard]] bool _hasNoIters() const { return _iter_count == 0; }
  [[nodiscard]] Node* _findNode(void* key, Compare compare) const;
  // The link that points to a node: its parent's, or the root.
  Node*& _linkTo(const Node* node);
  void _rotate(Node* node, int side);
  void _fixInsert(Node* node);
  void _fixRemove(Node* parent, int side);
  static Node* _leftmost(Node* node);
  static Node* _next(Node* node);

  Node* _root = nullptr;
  int _count = 0;
  mutable int _iter_count = 0;
};

// Walks the items in ascending order.
class BtRBTreeIter {
 public:
  explicit BtRBTreeIter(const BtRBTreeBase& tree);
  ~BtRBTreeIter();
  BtRBTreeIter(const BtRBTreeIter&) = delete;
  BtRBTreeIter& operator=(const BtRBTreeIter&) = delete;

  [[nodiscard]] bool atEnd() const { return _node == nullptr; }
  [[nodiscard]] void* data() const;
  void next();

 private:
  const BtRBTreeBase& _tree;
  BtRBTreeBase::Node* _node;
};

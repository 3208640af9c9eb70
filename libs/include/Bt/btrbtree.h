// A red-black tree of untyped items, for orders that are known only as a comparison function. The
// items belong to the tree's user.
#pragma once

#include <set>

#include "Bt/btassert.h"

// All operations on one tree must use the same order. While an iterator is open the tree must not
// change.
class BtRBTreeBase {
 public:
  // Negative, zero or positive as the first item comes before, with or after the second.
  using Compare = int (*)(void*, void*);

  BtRBTreeBase() = default;
  ~BtRBTreeBase() { clear(); }
  BtRBTreeBase(const BtRBTreeBase&) = delete;
  BtRBTreeBase& operator=(const BtRBTreeBase&) = delete;

  [[nodiscard]] int count() const { return static_cast<int>(_items.size()); }
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
  // What is looked for, which need not be of the items' kind.
  struct Key {
    void* key;
    Compare compare;
  };
  // The order of the operation at hand.
  struct Order {
    using is_transparent = void;  // NOLINT(readability-identifier-naming): the standard's name

    const Compare* compare;

    bool operator()(void* a, void* b) const { return (*compare)(a, b) < 0; }
    bool operator()(const Key& key, void* item) const { return key.compare(key.key, item) < 0; }
    bool operator()(void* item, const Key& key) const { return key.compare(key.key, item) > 0; }
  };

  [[nodiscard]] bool _hasNoIters() const { return _iter_count == 0; }

  Compare _compare = nullptr;  // of the last insertion
  std::set<void*, Order> _items{Order{&_compare}};
  mutable int _iter_count = 0;
};

// Walks the items in ascending order.
class BtRBTreeIter {
 public:
  explicit BtRBTreeIter(const BtRBTreeBase& tree);
  ~BtRBTreeIter();
  BtRBTreeIter(const BtRBTreeIter&) = delete;
  BtRBTreeIter& operator=(const BtRBTreeIter&) = delete;

  [[nodiscard]] bool atEnd() const { return _item == _tree._items.end(); }
  [[nodiscard]] void* data() const;
  void next();

 private:
  const BtRBTreeBase& _tree;
  std::set<void*, BtRBTreeBase::Order>::const_iterator _item;
};

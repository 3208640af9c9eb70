#include "Bt/btrbtree.h"

void BtRBTreeBase::insert(void* item, Compare compare) {
  BtAssert(this->_hasNoIters(), "this->_hasNoIters()");
  _compare = compare;
  const bool is_new = _items.insert(item).second;
  BtAssert(is_new, "cmp_val!=0");
}

void* BtRBTreeBase::find(void* key, Compare compare) const {
  const auto item = _items.find(Key{key, compare});
  return item == _items.end() ? nullptr : *item;
}

void* BtRBTreeBase::remove(void* key, Compare compare) {
  BtAssert(this->_hasNoIters(), "this->_hasNoIters()");
  const auto item = _items.find(Key{key, compare});
  if (item == _items.end()) return nullptr;
  void* const removed = *item;
  _items.erase(item);
  return removed;
}

void BtRBTreeBase::clear() {
  BtAssert(this->_hasNoIters(), "this->_hasNoIters()");
  _items.clear();
}

BtRBTreeIter::BtRBTreeIter(const BtRBTreeBase& tree) : _tree(tree), _item(tree._items.begin()) {
  ++_tree._iter_count;
}

BtRBTreeIter::~BtRBTreeIter() { --_tree._iter_count; }

void* BtRBTreeIter::data() const {
  BtAssert(!atEnd(), "!atEnd()");
  return *_item;
}

void BtRBTreeIter::next() {
  BtAssert(!atEnd(), "!atEnd()");
  ++_item;
}

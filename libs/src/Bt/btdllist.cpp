#include "Bt/btdllist.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

BtDoubleLinkedList::~BtDoubleLinkedList() {
  BtAssert(_count == 0, "_count==0");
  // What is still linked was removed under a cursor that never left.
  for (const Node* node = _first; node != nullptr; node = node->_next) {
    BtAssert(node->refCount() == 0, "node->refCount()==0");
  }
}

void* BtDoubleLinkedList::operator[](int i) const {
  BtAssert(i >= 0, "i>=0");
  BtAssert(i <= _count - 1, "i<=_count-1");
  Node* const node = _nodeAt(i);
  if (node == nullptr) {
    std::fprintf(stderr, "BtDoubleLinkedList::operator [] (int) : element %d not found!\n", i);
    return nullptr;
  }
  return node->data();
}

void* BtDoubleLinkedList::lastData() const {
  Node* node = _last;
  while (node != nullptr && node->_deleted) node = node->_prev;
  return node == nullptr ? nullptr : node->data();
}

void* BtDoubleLinkedList::_insert(Node* behind, Node* node) {
  node->_prev = behind == nullptr ? _last : behind->_prev;
  node->_next = behind;
  (node->_prev == nullptr ? _first : node->_prev->_next) = node;
  (behind == nullptr ? _last : behind->_prev) = node;
  ++_count;
  return node->data();
}

BtDoubleLinkedList::Node* BtDoubleLinkedList::_nodeBehind(int i) const {
  BtAssert(i >= 0, "i>=0");
  BtAssert(i <= _count, "i<=_count");
  return i == _count ? nullptr : _nodeAt(i);
}

void* BtDoubleLinkedList::remove(int i) {
  BtAssert(i >= 0, "i>=0");
  BtAssert(i <= _count - 1, "i<=_count-1");
  return _remove(_nodeAt(i));
}

void* BtDoubleLinkedList::remove(Bt_DLListCursor& cursor) {
  BtAssert(!cursor.atEnd(), "!cursor.atEnd()");
  BtAssert(cursor._listPtr() == this, "cursor._listPtr()==this");
  return _remove(cursor._node);
}

void BtDoubleLinkedList::swap(Bt_DLListCursor& c1, Bt_DLListCursor& c2) {
  BtAssert(!c1.atEnd(), "!c1.atEnd()");
  BtAssert(!c2.atEnd(), "!c2.atEnd()");
  BtAssert(c1._listPtr() == this, "c1._listPtr()==this");
  BtAssert(c2._listPtr() == this, "c2._listPtr()==this");
  BtAssert(!c1._node->isDeleted(), "!c1._node->isDeleted()");
  BtAssert(!c2._node->isDeleted(), "!c2._node->isDeleted()");
  std::swap(c1._node->_room, c2._node->_room);
}

void BtDoubleLinkedList::swap(BtDoubleLinkedList& other) noexcept {
  BtAssert(_n_cursors == 0, "_n_cursors==0");
  BtAssert(other._n_cursors == 0, "_n_cursors==0");
  std::swap(_first, other._first);
  std::swap(_last, other._last);
  std::swap(_count, other._count);
}

BtDoubleLinkedList::Node* BtDoubleLinkedList::_nodeAt(int i) const {
  Node* node = _liveFrom(_first);
  for (; node != nullptr && i > 0; --i) node = _liveFrom(node->_next);
  return node;
}

void* BtDoubleLinkedList::_remove(Node* node) {
  BtAssert(node != nullptr && !node->_deleted, "!node->_deleted");
  void* const data = node->data();
  node->_deleted = true;
  --_count;
  if (node->_ref_count == 0) _unlink(node);
  return data;
}

void BtDoubleLinkedList::_unlink(Node* node) {
  (node->_prev == nullptr ? _first : node->_prev->_next) = node->_next;
  (node->_next == nullptr ? _last : node->_next->_prev) = node->_prev;
  std::default_delete<Node>()(node);
}

int Bt_DLListCursor::position() const {
  int i = 0;
  for (const Node* node = _list->_first; node != _node; node = node->_next) {
    if (!node->_deleted) ++i;
  }
  return i;
}

void Bt_DLListCursor::_failDeleted() {
  std::fputs("Bt_DLListCursor::data(): retrieving data from deleted node.\n", stderr);
  std::abort();
}

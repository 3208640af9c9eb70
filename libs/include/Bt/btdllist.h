// The doubly linked list under BtList, with untyped data, and its cursors. Data stand apart from
// their node or, where they are no larger than a pointer, in it: most lists are of pointers. A node
// that is removed while cursors stand on it stays linked, marked as deleted, until the last of them
// leaves.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <utility>

#include "Bt/btassert.h"

class Bt_DLListCursor;

// One element of a list. The list owns the node; data that stand apart belong to the list's user.
class Bt_DoubleLinkedList_Node {
 public:
  // Bytes of room for a value, which are aligned as much.
  static constexpr std::size_t kRoomSize = sizeof(void*);

  // With room for a value in the node.
  Bt_DoubleLinkedList_Node() : _has_value(true) {}
  explicit Bt_DoubleLinkedList_Node(void* data) : _room(std::bit_cast<Room>(data)) {}
  ~Bt_DoubleLinkedList_Node() { BtAssert(_ref_count == 0, "_ref_count==0"); }
  Bt_DoubleLinkedList_Node(const Bt_DoubleLinkedList_Node&) = delete;
  Bt_DoubleLinkedList_Node& operator=(const Bt_DoubleLinkedList_Node&) = delete;

  [[nodiscard]] bool isDeleted() const { return _deleted; }
  [[nodiscard]] void* data() { return _has_value ? _room.data() : std::bit_cast<void*>(_room); }
  // Cursors that stand on the node.
  [[nodiscard]] int refCount() const { return _ref_count; }

 private:
  friend class BtDoubleLinkedList;
  friend class Bt_DLListCursor;

  using Room = std::array<std::byte, kRoomSize>;

  alignas(kRoomSize) Room _room = {};  // the value, or the address of the data
  Bt_DoubleLinkedList_Node* _next = nullptr;
  Bt_DoubleLinkedList_Node* _prev = nullptr;
  int _ref_count = 0;
  bool _deleted = false;
  bool _has_value = false;
};

// Positions are 0-based and count live nodes only. The list must be empty when it is destroyed, and
// no cursor may stand in it then.
class BtDoubleLinkedList {
 public:
  BtDoubleLinkedList() = default;
  ~BtDoubleLinkedList();
  BtDoubleLinkedList(const BtDoubleLinkedList&) = delete;
  BtDoubleLinkedList& operator=(const BtDoubleLinkedList&) = delete;

  [[nodiscard]] int count() const { return _count; }
  // Walks from the first node; null after a message when the links disagree with the count.
  void* operator[](int i) const;
  // Data of the last live node, null in an empty list.
  [[nodiscard]] void* lastData() const;

  void append(void* data) { _insert(nullptr, new Node(data)); }
  // Inserts before position i, which may be count().
  void insert(int i, void* data) { _insert(_nodeBehind(i), new Node(data)); }
  // The same for a value of a pointer's size at most, for which there is room where the answer
  // points to. It needs no destructor.
  void* appendRoom() { return _insert(nullptr, new Node); }
  void* insertRoom(int i) { return _insert(_nodeBehind(i), new Node); }
  // Removes an element and answers its data, which are gone if they stood in the node.
  void* remove(int i);
  // Removes the element under the cursor; the cursor stays and can go on from there.
  void* remove(Bt_DLListCursor& cursor);
  // Exchanges the data under two cursors of this list, which must not stand on removed elements.
  void swap(Bt_DLListCursor& c1, Bt_DLListCursor& c2);
  // Exchanges the contents of two lists. Asserts that no cursor stands in either.
  void swap(BtDoubleLinkedList& other) noexcept;

 private:
  friend class Bt_DLListCursor;
  using Node = Bt_DoubleLinkedList_Node;

  // A new node in front of another one, null for behind the last; answers its data.
  void* _insert(Node* behind, Node* node);
  // The node in front of which position i is, null for behind the last.
  [[nodiscard]] Node* _nodeBehind(int i) const;
  // The live node at a position that is known to be within bounds; null when the links disagree.
  [[nodiscard]] Node* _nodeAt(int i) const;
  void* _remove(Node* node);
  void _unlink(Node* node);
  static Node* _liveFrom(Node* node) {
    while (node != nullptr && node->_deleted) node = node->_next;
    return node;
  }

  Node* _first = nullptr;
  Node* _last = nullptr;
  int _count = 0;
  int _n_cursors = 0;  // that stand on a node
};

// Stands on a node of a list, or at its end. Cursors must not outlive their list.
class Bt_DLListCursor {
 public:
  // At the first live node.
  explicit Bt_DLListCursor(BtDoubleLinkedList* list) : _list(list) {
    _enterNode(BtDoubleLinkedList::_liveFrom(list->_first));
  }
  static Bt_DLListCursor atEndOf(BtDoubleLinkedList* list) {
    return Bt_DLListCursor(list, nullptr);
  }
  Bt_DLListCursor(const Bt_DLListCursor& other) : Bt_DLListCursor(other._list, other._node) {}
  Bt_DLListCursor(Bt_DLListCursor&& other) noexcept
      : _list(other._list), _node(std::exchange(other._node, nullptr)) {}
  Bt_DLListCursor& operator=(Bt_DLListCursor other) noexcept {
    std::swap(_list, other._list);
    std::swap(_node, other._node);
    return *this;
  }
  ~Bt_DLListCursor() { _leaveNode(_node); }

  [[nodiscard]] bool atEnd() const { return _node == nullptr; }
  // The data under the cursor. Reading that of a removed element aborts with a message.
  [[nodiscard]] void* data() const {
    BtAssert(!atEnd(), "!atEnd()");
    if (_node->_deleted) _failDeleted();
    return _node->data();
  }
  // To the next live node, or to the end.
  void next() {
    BtAssert(!atEnd(), "!atEnd()");
    _moveTo(BtDoubleLinkedList::_liveFrom(_node->_next));
  }
  void toFirst() { _moveTo(BtDoubleLinkedList::_liveFrom(_list->_first)); }
  // Live nodes before the cursor.
  [[nodiscard]] int position() const;
  [[nodiscard]] bool sameNode(const Bt_DLListCursor& other) const { return _node == other._node; }
  // The list that the cursor belongs to.
  [[nodiscard]] BtDoubleLinkedList* _listPtr() const { return _list; }

 private:
  friend class BtDoubleLinkedList;
  using Node = Bt_DoubleLinkedList_Node;

  Bt_DLListCursor(BtDoubleLinkedList* list, Node* node) : _list(list) { _enterNode(node); }
  void _enterNode(Node* node) {
    _node = node;
    if (node == nullptr) return;
    ++node->_ref_count;
    ++_list->_n_cursors;
  }
  void _leaveNode(Node* node) {
    if (node == nullptr) return;
    --_list->_n_cursors;
    if (--node->_ref_count == 0 && node->_deleted) _list->_unlink(node);
  }
  // Enters before it leaves: leaving may free the node that led here.
  void _moveTo(Node* node) {
    Node* const left = _node;
    _enterNode(node);
    _leaveNode(left);
  }
  [[noreturn]] static void _failDeleted();

  BtDoubleLinkedList* _list;
  Node* _node = nullptr;
};

// A cursor over a list whose data are objects of type T.
template <class T>
class BtDLListCursor : public Bt_DLListCursor {
 public:
  using Bt_DLListCursor::Bt_DLListCursor;
  [[nodiscard]] T* data() const { return static_cast<T*>(Bt_DLListCursor::data()); }
};

// The same for readers, of a list that they need not be able to change.
template <class T>
class BtDLListIter : public Bt_DLListCursor {
 public:
  // Cursors count themselves in the nodes of a list that they only read.
  explicit BtDLListIter(const BtDoubleLinkedList* list)
      : Bt_DLListCursor(const_cast<BtDoubleLinkedList*>(list)) {}
  [[nodiscard]] const T* data() const { return static_cast<const T*>(Bt_DLListCursor::data()); }
};

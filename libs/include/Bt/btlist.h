// The typed list of the toolkit, over BtDoubleLinkedList. Nodes survive removal while a cursor
// stands on them.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

#include "Bt/btdllist.h"

// A list of values. It is moved while no cursor or iterator stands in it. Positions are 0-based and
// count live elements only; reaching one by position walks from the front, so loops should be
// range-for loops.
template <class T>
class BtList {
 public:
  // Walks the live elements; the element that it stands on may be removed meanwhile.
  template <class U>
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = std::remove_const_t<U>;
    using difference_type = std::ptrdiff_t;
    using pointer = U*;
    using reference = U&;

    explicit Iterator(Bt_DLListCursor cursor) : _cursor(std::move(cursor)) {}
    U& operator*() const { return *static_cast<U*>(_cursor.data()); }
    Iterator& operator++() {
      _cursor.next();
      return *this;
    }
    Iterator operator++(int) {
      Iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const Iterator& other) const { return _cursor.sameNode(other._cursor); }

   private:
    Bt_DLListCursor _cursor;
  };

  BtList() = default;
  BtList(std::initializer_list<T> elements) {
    for (const T& element : elements) append(element);
  }
  BtList(const BtList& other) { *this = other; }
  BtList(BtList&& other) noexcept { _list.swap(other._list); }
  ~BtList() { clear(); }
  BtList& operator=(const BtList& other) {
    if (this != &other) {
      clear();
      for (const T& element : other) append(element);
    }
    return *this;
  }
  BtList& operator=(BtList&& other) noexcept {
    _list.swap(other._list);
    return *this;
  }

  [[nodiscard]] int count() const { return _list.count(); }
  [[nodiscard]] bool empty() const { return count() == 0; }
  T& operator[](int i) { return *static_cast<T*>(_list[i]); }
  const T& operator[](int i) const { return *static_cast<const T*>(_list[i]); }
  T& last() {
    BtAssert(count() > 0, "count()>0");
    return *static_cast<T*>(_list.lastData());
  }
  const T& last() const { return const_cast<BtList*>(this)->last(); }

  void append(T element) {
    if constexpr (kInNode) {
      ::new (_list.appendRoom()) T(element);
    } else {
      _list.append(new T(std::move(element)));
    }
  }
  // Inserts before position i; i may be count().
  void insert(int i, T element) {
    if constexpr (kInNode) {
      ::new (_list.insertRoom(i)) T(element);
    } else {
      _list.insert(i, new T(std::move(element)));
    }
  }
  void remove(int i) { _free(_list.remove(i)); }
  // Removes the first element equal to `value`; false when there is none.
  bool removeValue(const T& value) {
    const int i = position(value);
    if (i < 0) return false;
    remove(i);
    return true;
  }
  // Removes the element under the cursor, which stays valid.
  void remove(Bt_DLListCursor& cursor) { _free(_list.remove(cursor)); }
  void clear() {
    while (count() > 0) remove(0);
  }
  // Position of the first element equal to `value`, -1 when there is none.
  [[nodiscard]] int position(const T& value) const {
    int i = 0;
    for (const T& element : *this) {
      if (element == value) return i;
      ++i;
    }
    return -1;
  }
  [[nodiscard]] bool contains(const T& value) const { return position(value) >= 0; }

  Iterator<T> begin() { return Iterator<T>(Bt_DLListCursor(&_list)); }
  Iterator<T> end() { return Iterator<T>(Bt_DLListCursor::atEndOf(&_list)); }
  Iterator<const T> begin() const { return Iterator<const T>(Bt_DLListCursor(&_list)); }
  Iterator<const T> end() const { return Iterator<const T>(Bt_DLListCursor::atEndOf(&_list)); }
  // The untyped list, for cursors.
  BtDoubleLinkedList& list() { return _list; }
  [[nodiscard]] const BtDoubleLinkedList& list() const { return _list; }

  friend bool operator==(const BtList& a, const BtList& b) {
    if (a.count() != b.count()) return false;
    auto ib = b.begin();
    for (const T& element : a) {
      if (!(element == *ib)) return false;
      ++ib;
    }
    return true;
  }

 private:
  // An element in its node, where it may stand if it is small: that spares it a piece of memory.
  struct InNode {
    T element;
  };
  static constexpr bool kInNode =
      std::is_trivially_copyable_v<T> && sizeof(InNode) <= Bt_DoubleLinkedList_Node::kRoomSize;

  static void _free(void* data) {
    if constexpr (!kInNode) delete static_cast<T*>(data);
  }

  // Cursors count themselves in the nodes of a list that they only read.
  mutable BtDoubleLinkedList _list;
};

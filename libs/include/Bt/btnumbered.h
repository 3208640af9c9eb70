// BtNumbered: a shared object in half of a pointer's room.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "Bt/btassert.h"

// As BtShared, in four bytes: the object's number in a table of all objects of the type. For what
// could be in millions of places and is in few, since each object has a place in the table, too.
// The table stays as large as it was for most objects at once; there may be 4294967295.
template <class T>
class BtNumbered {
 public:
  BtNumbered() = default;
  explicit BtNumbered(std::unique_ptr<T> object)
      : _number(object == nullptr ? kNone : _table().add(object.release())) {}
  BtNumbered(const BtNumbered& other) noexcept : _number(other._number) {
    if (_number != kNone) get()->incRefCount();
  }
  BtNumbered(BtNumbered&& other) noexcept : _number(std::exchange(other._number, kNone)) {}
  BtNumbered& operator=(const BtNumbered& other) noexcept {
    if (this != &other) *this = BtNumbered(other);
    return *this;
  }
  BtNumbered& operator=(BtNumbered&& other) noexcept {
    std::swap(_number, other._number);
    return *this;
  }
  ~BtNumbered() {
    if (_number != kNone) _leave();
  }

  [[nodiscard]] T* get() const { return _number == kNone ? nullptr : _table().objects[_number]; }
  T* operator->() const { return get(); }
  T& operator*() const { return *get(); }
  // 0 where there is no object.
  [[nodiscard]] int nOwners() const { return _number == kNone ? 0 : get()->refCount(); }

 private:
  static constexpr std::uint32_t kNone = 0;

  struct Table {
    std::vector<T*> objects = {nullptr};  // by number
    std::vector<std::uint32_t> free;      // numbers that had an object

    std::uint32_t add(T* object) {
      if (!free.empty()) {
        const std::uint32_t number = free.back();
        free.pop_back();
        objects[number] = object;
        return number;
      }
      BtAssert(objects.size() <= std::numeric_limits<std::uint32_t>::max());
      objects.push_back(object);
      return static_cast<std::uint32_t>(objects.size() - 1);
    }
  };
  // Is never destroyed: whatever is static may hold an object to the end.
  static Table& _table() {
    static Table& table = *std::make_unique<Table>().release();
    return table;
  }

  [[gnu::noinline]] void _leave() {
    T* const object = get();
    if (object->decRefCount() > 0) return;
    _table().free.push_back(_number);
    std::default_delete<T>()(object);
  }

  std::uint32_t _number = kNone;
};

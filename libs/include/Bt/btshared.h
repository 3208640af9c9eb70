// BtShared: a pointer to an object that counts its owners.
#pragma once

#include <memory>
#include <utility>

// Copies share the object, and the last one destroys it. The object counts by itself: it begins
// with one owner and has refCount(), incRefCount() and decRefCount(), which answers how many are
// left. Who changes an object makes sure that it has no other owner.
template <class T>
class BtShared {
 public:
  BtShared() = default;
  explicit BtShared(std::unique_ptr<T> object) noexcept : _object(object.release()) {}
  BtShared(const BtShared& other) noexcept : _object(other._object) {
    if (_object != nullptr) _object->incRefCount();
  }
  BtShared(BtShared&& other) noexcept : _object(other._object) { other._object = nullptr; }
  BtShared& operator=(const BtShared& other) noexcept {
    if (this != &other) *this = BtShared(other);
    return *this;
  }
  BtShared& operator=(BtShared&& other) noexcept {
    T* const object = _object;
    _object = other._object;
    other._object = object;
    return *this;
  }
  ~BtShared() {
    if (_object != nullptr && _object->decRefCount() == 0) std::default_delete<T>()(_object);
  }

  [[nodiscard]] T* get() const { return _object; }
  T* operator->() const { return _object; }
  T& operator*() const { return *_object; }
  // 0 where there is no object.
  [[nodiscard]] int nOwners() const { return _object == nullptr ? 0 : _object->refCount(); }

 private:
  // Packed, to leave no gap beside smaller members: names and their places are many.
  [[gnu::packed, gnu::aligned(alignof(float))]] T* _object = nullptr;
};

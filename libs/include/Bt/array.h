// The arrays of the toolkit. BtArray and BtDArray hold exactly their elements, with no spare
// capacity; BtDynArray grows by doubling and is for bulk appends.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "Bt/btarena.h"
#include "Bt/btassert.h"
#include "Bt/btnew.h"

// Direction of a sort order.
enum class BtSortDirection { Ascending, Descending };

// Elements that are nothing but zero bytes at first, so that untouched memory holds them.
template <class T>
inline constexpr bool kBtIsZeroAtFirst = std::is_arithmetic_v<T> || std::is_pointer_v<T>;
template <class T>
inline constexpr bool kBtIsZeroAtFirst<std::unique_ptr<T>> = true;
// Elements that may be moved as bytes, without a word to them.
template <class T>
inline constexpr bool kBtMovesAsBytes = std::is_trivially_copyable_v<T>;
template <class T>
inline constexpr bool kBtMovesAsBytes<std::unique_ptr<T>> = true;

// An array whose size is set by whoever owns it; indices are 0-based ints.
template <class T>
class BtArray {
 public:
  BtArray() = default;
  explicit BtArray(int size) { _realloc(size); }
  BtArray(int size, const T& fill) { _realloc(size, fill); }
  BtArray(std::initializer_list<T> elements) {
    _realloc(static_cast<int>(elements.size()));
    std::copy(elements.begin(), elements.end(), begin());
  }
  BtArray(const BtArray& other) {
    _realloc(other._size);
    setElements(other);
  }
  BtArray(BtArray&& other) noexcept
      : _elements(std::exchange(other._elements, nullptr)),
        _size(std::exchange(other._size, 0)),
        _in_arena(std::exchange(other._in_arena, false)) {}
  ~BtArray() { _realloc(0); }

  // Both arrays must have the same size: an array does not change its size by assignment.
  BtArray& operator=(const BtArray& other) {
    BtAssert(_size == other._size, "_size==o.size()");
    if (this != &other) std::copy(other.begin(), other.end(), begin());
    return *this;
  }
  BtArray& operator=(BtArray&& other) noexcept {
    BtAssert(_size == other._size, "_size==o.size()");
    _swap(other);
    return *this;
  }

  [[nodiscard]] int size() const { return _size; }
  [[nodiscard]] bool empty() const { return _size == 0; }
  T& operator[](int i) {
    BtAssert(i >= 0, "i>=0");
    BtAssert(i < _size, "i<_size");
    return _elements[i];
  }
  const T& operator[](int i) const {
    BtAssert(i >= 0, "i>=0");
    BtAssert(i < _size, "i<_size");
    return _elements[i];
  }
  T& last() { return (*this)[_size - 1]; }
  const T& last() const { return (*this)[_size - 1]; }
  // Copies element by element; asserts equal sizes.
  void setElements(const BtArray& o) {
    BtAssert(size() == o.size(), "size()==o.size()");
    std::copy(o.begin(), o.end(), begin());
  }
  [[nodiscard]] bool isSorted(BtSortDirection direction = BtSortDirection::Ascending) const {
    if (direction == BtSortDirection::Ascending) return std::is_sorted(begin(), end());
    return std::is_sorted(begin(), end(), [](const T& a, const T& b) { return b < a; });
  }

  T* begin() { return _elements; }
  T* end() { return _elements + _size; }
  const T* begin() const { return _elements; }
  const T* end() const { return _elements + _size; }

  friend bool operator==(const BtArray& a, const BtArray& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
  }

 protected:
  // The only way in which the storage changes: to exactly `n` elements, new ones value-initialized
  // or copies of `fill`.
  void _realloc(int n) {
    const int old_size = _resizeBlock(n);
    if (old_size < n) std::uninitialized_value_construct(_elements + old_size, _elements + n);
  }
  void _realloc(int n, const T& fill) {
    // A copy, because `fill` may be an element of this array, which moves.
    const T copy(fill);  // NOLINT(performance-unnecessary-copy-initialization)
    const int old_size = _resizeBlock(n);
    if (old_size < n) std::uninitialized_fill(_elements + old_size, _elements + n, copy);
  }
  void _subSize(int n) {
    BtAssert(n >= 0, "n>=0");
    _realloc(_size - n);
  }

  // The same in a block that is zero, of which only what is not zero is written.
  void _reallocSparsely(int n) {
    static_assert(kBtIsZeroAtFirst<T>);
    BtAssert(n >= 0, "n>=0");
    if (n == _size || n == 0) return _realloc(n);
    T* const block = static_cast<T*>(BtZeroedOrExit(static_cast<std::size_t>(n), kElementSize));
    for (int i = 0; i < std::min(n, _size); ++i) {
      if (_elements[i] != T()) block[i] = std::move(_elements[i]);
    }
    std::destroy(begin(), end());
    _freeBlock();
    _elements = block;
    _size = n;
  }

  // Gives an array without elements `n` of them, as make(i) answers them, in memory of the arena,
  // as far as there is one that has pieces of the size.
  template <class Make>
  void _placeIn(BtArena* arena, int n, Make make) {
    BtAssert(_size == 0, "_size==0");
    BtAssert(n >= 0, "n>=0");
    if (n == 0) return;
    const auto count = static_cast<std::size_t>(n);
    void* piece = arena == nullptr ? nullptr : arena->take(count * kElementSize);
    _in_arena = piece != nullptr;
    if (piece == nullptr) piece = BtReallocOrExit(nullptr, count, kElementSize);
    _elements = static_cast<T*>(piece);
    for (int i = 0; i < n; ++i) ::new (static_cast<void*>(_elements + i)) T(make(i));
    _size = n;
  }

  void _swap(BtArray& other) noexcept {
    std::swap(_elements, other._elements);
    std::swap(_size, other._size);
    std::swap(_in_arena, other._in_arena);
  }

  T* _elements = nullptr;
  int _size = 0;

 private:
  static constexpr std::size_t kElementSize =
      sizeof(T);  // NOLINT(bugprone-sizeof-expression): T may point

  // Moves the elements that stay into a block of `n`; answers how many of the block are
  // constructed.
  int _resizeBlock(int n) {
    BtAssert(n >= 0, "n>=0");
    const int kept = std::min(n, _size);
    if (n == _size) return kept;
    std::destroy(_elements + kept, _elements + _size);
    if (n == 0) {
      _freeBlock();
      _elements = nullptr;
    } else if (!_in_arena && kBtMovesAsBytes<T>) {
      _elements =
          static_cast<T*>(BtReallocOrExit(_elements, static_cast<std::size_t>(n), kElementSize));
    } else if (!_in_arena || n > _size) {
      T* block =
          static_cast<T*>(BtReallocOrExit(nullptr, static_cast<std::size_t>(n), kElementSize));
      std::uninitialized_move(_elements, _elements + kept, block);
      std::destroy(_elements, _elements + kept);
      _freeBlock();
      _elements = block;
    }
    _size = n;
    return kept;
  }
  // The elements are gone already.
  void _freeBlock() {
    if (!_in_arena) std::free(_elements);
    _in_arena = false;
  }

  bool _in_arena = false;  // which owns the block then
};

// An array that can be resized; every change of size reallocates to the exact new size.
template <class T>
class BtDArray : public BtArray<T> {
 public:
  using BtArray<T>::BtArray;
  BtDArray() = default;
  BtDArray(const BtDArray& other) = default;
  BtDArray(BtDArray&& other) noexcept = default;
  ~BtDArray() = default;
  // Unlike a BtArray, this one takes the size of the other.
  BtDArray& operator=(const BtDArray& other) {
    if (this != &other) {
      BtDArray copy(other);
      *this = std::move(copy);
    }
    return *this;
  }
  BtDArray& operator=(BtDArray&& other) noexcept {
    this->_swap(other);
    return *this;
  }

  void resize(int n) { this->_realloc(n); }
  // As resize(), for a large array with wide gaps of zeros: these take address space, but no memory
  // until they are written to.
  void resizeSparsely(int n) { this->_reallocSparsely(n); }
  // As resize(), but an array without elements comes to stand in `arena`, if that is not null and
  // they are not too many. The arena must outlive them. Growing moves them to a block of their own.
  void resizeIn(BtArena* arena, int n) {
    if (!this->empty()) return resize(n);
    fillIn(arena, n, [](int) { return T(); });
  }
  // Gives an array without elements `n` of them, as make(i) answers them, in the same place.
  template <class Make>
  void fillIn(BtArena* arena, int n, Make make) {
    this->_placeIn(arena, n, make);
  }
  void resize(int n, const T& fill) { this->_realloc(n, fill); }
  void clear() { this->_realloc(0); }
  void subSize(int n) { this->_subSize(n); }
  void append(T element) {
    this->_realloc(this->_size + 1);
    this->_elements[this->_size - 1] = std::move(element);
  }
  void append(const BtArray<T>& elements) {
    const int old_size = this->_size;
    const int count = elements.size();
    this->_realloc(old_size + count);
    std::copy_n(elements.begin(), count, this->_elements + old_size);
  }
  void insert(int i, T element) {
    BtAssert(i >= 0 && i <= this->_size, "i>=0 && i<=_size");
    append(std::move(element));
    std::rotate(this->_elements + i, this->end() - 1, this->end());
  }
  void remove(int i, int count = 1) {
    BtAssert(i >= 0 && count >= 0 && count <= this->_size - i, "i>=0 && i+n<=_size");
    std::move(this->_elements + i + count, this->end(), this->_elements + i);
    this->_subSize(count);
  }
};

// Plain numbers: floats for vectors and colours of any length, ints for ids and orders.
using BtFloatArray = BtDArray<float>;
using BtIntArray = BtDArray<int>;

// A growable array with a capacity of its own: none while nothing was added, then 1024 elements,
// doubled as often as it takes. A copy's capacity is that of an array grown to its size.
template <class T>
class BtDynArray {
 public:
  BtDynArray() = default;
  BtDynArray(const BtDynArray& other) { *this = other; }
  BtDynArray(BtDynArray&& other) noexcept { swap(other); }
  BtDynArray& operator=(const BtDynArray& other) {
    if (this != &other) {
      clear();
      _growTo(other._size);
      std::uninitialized_copy(other.begin(), other.end(), _elements);
      _size = other._size;
    }
    return *this;
  }
  BtDynArray& operator=(BtDynArray&& other) noexcept {
    swap(other);
    return *this;
  }
  ~BtDynArray() { release(); }

  [[nodiscard]] int size() const { return _size; }
  [[nodiscard]] bool empty() const { return _size == 0; }
  [[nodiscard]] int capacity() const { return _capacity; }
  T& operator[](int i) {
    BtAssert(i >= 0, "i>=0");
    BtAssert(i < _size, "i<_size");
    return _elements[i];
  }
  const T& operator[](int i) const {
    BtAssert(i >= 0, "i>=0");
    BtAssert(i < _size, "i<_size");
    return _elements[i];
  }
  T& last() { return (*this)[_size - 1]; }
  const T& last() const { return (*this)[_size - 1]; }
  void append(T element) {
    if (_size == _capacity) _grow(1);
    std::construct_at(_elements + _size, std::move(element));
    ++_size;
  }
  // Appends `amount` copies of `fill`.
  void addSize(int amount, const T& fill) {
    BtAssert(amount >= 0, "amount>=0");
    // A copy, because `fill` may be an element of this array, which moves.
    const T copy(fill);  // NOLINT(performance-unnecessary-copy-initialization)
    _grow(amount);
    std::uninitialized_fill_n(_elements + _size, amount, copy);
    _size += amount;
  }
  // Forgets the elements from `n` on.
  void truncate(int n) {
    BtAssert(n >= 0 && n <= _size, "n>=0 && n<=_size");
    std::destroy(_elements + n, _elements + _size);
    _size = n;
  }
  // Empties the array and keeps its block for further use.
  void clear() { truncate(0); }
  // Empties the array and frees its block.
  void release() {
    clear();
    std::free(_elements);
    _elements = nullptr;
    _capacity = 0;
  }
  void swap(BtDynArray& other) noexcept {
    std::swap(_elements, other._elements);
    std::swap(_size, other._size);
    std::swap(_capacity, other._capacity);
  }

  T* begin() { return _elements; }
  T* end() { return _elements + _size; }
  const T* begin() const { return _elements; }
  const T* end() const { return _elements + _size; }

 private:
  static constexpr int kFirstCapacity = 1024;

  // Makes room for `amount` more elements.
  void _grow(int amount) {
    BtAssert(amount <= kMaxSize - _size, "amount<=INT_MAX-_size");
    _growTo(_size + amount);
  }
  // Makes room for `size` elements in all.
  void _growTo(int size) {
    if (size <= _capacity) return;
    long long grown = _capacity == 0 ? kFirstCapacity : _capacity;
    while (grown < size) grown *= 2;
    const int capacity = static_cast<int>(std::min<long long>(grown, kMaxSize));
    if constexpr (std::is_trivially_copyable_v<T>) {
      _elements = static_cast<T*>(
          BtReallocOrExit(_elements, static_cast<std::size_t>(capacity), sizeof(T)));
    } else {
      T* block =
          static_cast<T*>(BtReallocOrExit(nullptr, static_cast<std::size_t>(capacity), sizeof(T)));
      std::uninitialized_move(_elements, _elements + _size, block);
      std::destroy(_elements, _elements + _size);
      std::free(_elements);
      _elements = block;
    }
    _capacity = capacity;
  }

  static constexpr int kMaxSize = 2147483647;
  T* _elements = nullptr;
  int _size = 0;
  int _capacity = 0;
};

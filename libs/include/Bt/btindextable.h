// A hash table of positions in an array: finds the element that equals a key without holding keys.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

// Flat and open-addressed, so that welding millions of corners stays within memory that is read in
// a row. The elements stay with the user, who gives a hash (of bthash.h, where a file chooses the
// keys) and tells which position holds the key.
class BtIndexTable {
 public:
  // The position with this hash for which `equal(position)` holds, -1 when there is none.
  template <class Equal>
  [[nodiscard]] int find(std::uint64_t hash, Equal equal) const {
    const Slot* slot = _find(hash, equal);
    return slot == nullptr ? -1 : slot->position;
  }
  // Puts a position in the place of the one that find() answers; false when there is none.
  template <class Equal>
  bool replace(std::uint64_t hash, Equal equal, int position) {
    const Slot* slot = _find(hash, equal);
    if (slot != nullptr) const_cast<Slot*>(slot)->position = position;
    return slot != nullptr;
  }
  // Empties the table and makes room for about so many positions.
  void reserve(std::size_t count) {
    _slots.assign(std::bit_ceil(count * 4 / 3 + 1), kFree);
    _count = 0;
  }
  // The position that find() answers; where there is none, `position` is added and answered.
  template <class Equal>
  int findOrInsert(std::uint64_t hash, Equal equal, int position) {
    _makeRoom();
    const auto tag = static_cast<std::uint32_t>(hash);
    Slot& slot = _slots[_search(tag, equal)];
    if (slot.position >= 0) return slot.position;
    slot = {tag, position};
    ++_count;
    return position;
  }
  // Adds a position whose key is not in the table.
  void insert(std::uint64_t hash, int position) {
    _makeRoom();
    _put({static_cast<std::uint32_t>(hash), position});
    ++_count;
  }
  // Takes out the position that find() answers, which must be there. What stands behind it moves
  // up, so that no search ends too early.
  template <class Equal>
  void erase(std::uint64_t hash, Equal equal) {
    std::size_t gap = _search(static_cast<std::uint32_t>(hash), equal);
    for (std::size_t i = _after(gap); _slots[i].position >= 0; i = _after(i)) {
      // A slot may move up to the gap unless its search begins behind it.
      const std::size_t from_home = (i - _home(_slots[i].tag)) & (_slots.size() - 1);
      const std::size_t from_gap = (i - gap) & (_slots.size() - 1);
      if (from_home < from_gap) continue;
      _slots[gap] = _slots[i];
      gap = i;
    }
    _slots[gap] = kFree;
    --_count;
  }

  // True when the table is too large to be at hand as a whole: then it pays to expect() keys.
  [[nodiscard]] bool isLarge() const { return _slots.size() > kLargeSize; }
  // Tells the processor that a key of this hash is about to be looked up in a large table.
  void expect(std::uint64_t hash) const {
    __builtin_prefetch(&_slots[_home(static_cast<std::uint32_t>(hash))]);
  }

 private:
  struct Slot {
    std::uint32_t tag;
    std::int32_t position;  // -1 for a free slot
  };
  static constexpr Slot kFree = {0, -1};
  static constexpr std::size_t kFirstSize = 16;
  static constexpr std::size_t kLargeSize = std::size_t{1} << 16U;

  template <class Equal>
  [[nodiscard]] const Slot* _find(std::uint64_t hash, Equal equal) const {
    if (_slots.empty()) return nullptr;
    const Slot& slot = _slots[_search(static_cast<std::uint32_t>(hash), equal)];
    return slot.position < 0 ? nullptr : &slot;
  }
  // The place of the slot that holds the key, or of the free one where it belongs.
  template <class Equal>
  [[nodiscard]] std::size_t _search(std::uint32_t tag, Equal equal) const {
    std::size_t i = _home(tag);
    while (_slots[i].position >= 0 && (_slots[i].tag != tag || !equal(_slots[i].position))) {
      i = _after(i);
    }
    return i;
  }
  [[nodiscard]] std::size_t _after(std::size_t i) const { return (i + 1) & (_slots.size() - 1); }
  [[nodiscard]] std::size_t _home(std::uint32_t tag) const { return tag & (_slots.size() - 1); }
  void _put(Slot slot) {
    _slots[_search(slot.tag, [](int) { return false; })] = slot;
  }
  void _makeRoom() {
    if ((_count + 1) * 4 <= _slots.size() * 3) return;
    std::vector<Slot> old(_slots.empty() ? kFirstSize : _slots.size() * 2, kFree);
    old.swap(_slots);
    for (const Slot& slot : old) {
      if (slot.position >= 0) _put(slot);
    }
  }

  std::vector<Slot> _slots;  // a power of two of them, a quarter of them free at least
  std::size_t _count = 0;
};

// BtFlatMap: a hash table whose entries stand in a row. A model of very many bodies is asked for
// names and objects all over; what such a search costs is the pieces of memory that it touches.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "Bt/btassert.h"
#include "Bt/bthash.h"
#include "Bt/btindextable.h"
#include "Bt/btstr.h"

// Values by key, with operations of std::unordered_map. Only for lookups: the order of entries
// means nothing. Iterators and references hold until an entry is added or erased. There may be
// 2147483647 entries.
template <class Key, class Value, class Hash = BtHash>
class BtFlatMap {
 public:
  using Entry = std::pair<Key, Value>;
  using iterator = Entry*;
  using const_iterator = const Entry*;

  [[nodiscard]] std::size_t size() const { return _entries.size(); }
  [[nodiscard]] const_iterator end() const { return _entries.data() + _entries.size(); }
  iterator end() { return _entries.data() + _entries.size(); }

  [[nodiscard]] const_iterator find(const Key& key) const {
    const int place = _places.find(Hash()(key), _has(key));
    return place < 0 ? end() : _entries.data() + place;
  }
  iterator find(const Key& key) {
    return _entries.data() + (std::as_const(*this).find(key) - _entries.data());
  }

  // Makes room for so many entries in an empty map.
  void reserve(std::size_t count) {
    BtAssert(size() == 0, "size()==0");
    _entries.reserve(count);
    _places.reserve(count);
  }
  // The entry of a key, and true where it is new.
  // NOLINTNEXTLINE(readability-identifier-naming): the standard's name.
  std::pair<iterator, bool> try_emplace(const Key& key, Value value = Value()) {
    const auto count = static_cast<int>(_entries.size());
    const int place = _places.findOrInsert(Hash()(key), _has(key), count);
    if (place == count) _entries.emplace_back(key, std::move(value));
    return {_entries.data() + place, place == count};
  }
  Value& operator[](const Key& key) { return try_emplace(key).first->second; }

  // The last entry takes the place of the one that goes.
  void erase(iterator entry) {
    const auto place = static_cast<int>(entry - _entries.data());
    const auto last = static_cast<int>(_entries.size()) - 1;
    _places.erase(Hash()(entry->first), [place](int i) { return i == place; });
    if (place != last) {
      *entry = std::move(_entries.back());
      _places.replace(
          Hash()(entry->first), [last](int i) { return i == last; }, place);
    }
    _entries.pop_back();
  }
  // The place of an entry, which stays the same until one is erased, and the value there.
  [[nodiscard]] int placeOf(const_iterator entry) const {
    return static_cast<int>(entry - _entries.data());
  }
  [[nodiscard]] const Value& valueAt(int place) const {
    BtAssert(place >= 0 && static_cast<std::size_t>(place) < size());
    return _entries[static_cast<std::size_t>(place)].second;
  }
  // Calls visit(value) with every value.
  template <class Visit>
  void forEachValue(Visit visit) {
    for (Entry& entry : _entries) visit(entry.second);
  }
  // Leaves no memory.
  void clear() {
    _entries = std::vector<Entry>();
    _places = {};
  }

 private:
  [[nodiscard]] auto _has(const Key& key) const {
    return
        [this, &key](int place) { return _entries[static_cast<std::size_t>(place)].first == key; };
  }

  std::vector<Entry> _entries;
  BtIndexTable _places;
};

// By name.
template <class Value>
using BtNameMap = BtFlatMap<BtStr, Value>;

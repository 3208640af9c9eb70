// The ordered map of the toolkit: keys are unique and walked in the order of the comparison F.
#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <utility>

#include "Bt/btassert.h"
#include "Bt/btstr.h"

template <class T, class U, class F = std::less<T>>
class BtMap {
 public:
  using Iterator = typename std::map<T, U, F>::iterator;
  using ConstIterator = typename std::map<T, U, F>::const_iterator;

  BtMap() = default;
  // Of several entries with one key the first counts.
  BtMap(std::initializer_list<std::pair<const T, U>> entries) : _map(entries) {}

  [[nodiscard]] int count() const { return SizeTToInt(_map.size()); }
  [[nodiscard]] bool empty() const { return _map.empty(); }
  [[nodiscard]] bool contains(const T& key) const { return _map.find(key) != _map.end(); }
  // The value of a key, null when there is none.
  [[nodiscard]] const U* find(const T& key) const {
    const auto iter = _map.find(key);
    return iter == _map.end() ? nullptr : &iter->second;
  }
  [[nodiscard]] U* find(const T& key) {
    const auto iter = _map.find(key);
    return iter == _map.end() ? nullptr : &iter->second;
  }
  // The value of a key, value-initialized when the key is new.
  U& operator[](const T& key) { return _map[key]; }
  // The value of a key that must be present.
  const U& operator[](const T& key) const {
    const auto iter = _map.find(key);
    BtAssert(iter != _map.end(), "iter!=end()");
    return iter->second;
  }
  // False, and nothing changed, when the key is present already.
  bool insert(const T& key, U value) { return _map.try_emplace(key, std::move(value)).second; }
  // Removes a key that must be present.
  void remove(const T& key) {
    const auto count = _map.erase(key);
    BtAssert(count == 1, "count==1");
  }
  void clear() { _map.clear(); }

  // Entries are pairs: `first` the key, `second` the value.
  Iterator begin() { return _map.begin(); }
  Iterator end() { return _map.end(); }
  ConstIterator begin() const { return _map.begin(); }
  ConstIterator end() const { return _map.end(); }

  friend bool operator==(const BtMap& a, const BtMap& b) { return a._map == b._map; }

 private:
  std::map<T, U, F> _map;
};

// Hashes for keys that an input chooses. Every process has secret numbers of its own in them, so
// that no file can be written whose keys fall on one place of a table. They differ from run to run:
// nothing that is written may follow from them, nor from the order of a table by them.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>

// The secret numbers.
struct BtHashKeys {
  std::uint64_t place;
  std::uint64_t sum;
  std::uint64_t factors[3];

  static const BtHashKeys& ofProcess() {
    static const BtHashKeys keys = _make();
    return keys;
  }

 private:
  static BtHashKeys _make();
};

// For two triples that differ, any two results are equally likely in the upper half of the sum,
// whatever the triples are; what follows spreads that half over all bits.
inline std::uint64_t BtHashOf(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  const BtHashKeys& keys = BtHashKeys::ofProcess();
  const std::uint64_t sum =
      keys.sum + keys.factors[0] * a + keys.factors[1] * b + keys.factors[2] * c;
  const std::uint64_t spread = (sum >> 32U) * 0x9E3779B97F4A7C15;
  return spread ^ spread >> 32U;
}

// Of floats, among which 0.0 and -0.0 are the same.
inline std::uint64_t BtHashOf(float a, float b, float c = 0.0F) {
  const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value + 0.0F); };
  return BtHashOf(bits(a), bits(b), bits(c));
}

// Of a text and a number.
std::uint64_t BtHashOf(std::string_view text, std::uint32_t number = 0);

// The one hash of all tables, in the place of std::hash. Files count: limb_10, limb_11, limb_12.
// The hashes of numbers that differ in their last four bits alone, and of texts that differ in
// their last digit alone, differ in the last four bits alone, so that what is asked for in turn
// stands side by side in a large table. No more than these can be brought close to each other.
struct BtHash {
  std::size_t operator()(std::string_view text) const;
  template <class Text>
  requires requires(const Text& text) { text.view(); }
  std::size_t operator()(const Text& text) const { return (*this)(std::string_view(text.view())); }
  template <std::integral Number>
  std::size_t operator()(Number number) const {
    const std::uint64_t row = static_cast<std::uint64_t>(number) >> kRowBits;
    return BtHashOf(static_cast<std::uint32_t>(row), static_cast<std::uint32_t>(row >> 32U), 0U) ^
           (static_cast<std::uint64_t>(number) & kInRow);
  }
  // Of an address, not of what stands there.
  template <class Object>
  requires(!std::is_same_v<std::remove_cv_t<Object>, char>) std::size_t operator()(
      Object* object) const {
    return (*this)(std::bit_cast<std::uintptr_t>(object));
  }

 private:
  static constexpr unsigned kRowBits = 4;
  static constexpr std::uint64_t kInRow = (std::uint64_t{1} << kRowBits) - 1;
};

// The standard library's tables with that hash. They cannot be walked: the order would be another
// one in every run.
template <class Key, class Value>
class BtHashMap : public std::unordered_map<Key, Value, BtHash> {
 public:
  using std::unordered_map<Key, Value, BtHash>::unordered_map;
  void begin() const = delete;
};
template <class Key>
class BtHashSet : public std::unordered_set<Key, BtHash> {
 public:
  using std::unordered_set<Key, BtHash>::unordered_set;
  void begin() const = delete;
};

#include "bthash.h"

#include <sys/auxv.h>

#include <bit>
#include <cstring>

namespace {

// SipHash-1-3: a function of two secret numbers, made by Aumasson and Bernstein for hash tables
// whose keys come from an adversary. One round for each eight bytes, three at the end.
class TextHash {
 public:
  TextHash(std::uint64_t key0, std::uint64_t key1)
      : _a(key0 ^ 0x736F6D6570736575),
        _b(key1 ^ 0x646F72616E646F6D),
        _c(key0 ^ 0x6C7967656E657261),
        _d(key1 ^ 0x7465646279746573) {}

  std::uint64_t of(std::string_view text) {
    const auto length = static_cast<std::uint64_t>(text.size());
    for (; text.size() >= sizeof(std::uint64_t); text.remove_prefix(sizeof(std::uint64_t))) {
      _add(_word(text.data(), sizeof(std::uint64_t)));
    }
    _add(length << 56U | _word(text.data(), text.size()));
    _c ^= 0xFF;
    for (int i = 0; i < 3; ++i) _round();
    return _a ^ _b ^ _c ^ _d;
  }

 private:
  static std::uint64_t _word(const char* bytes, std::size_t count) {
    std::uint64_t word = 0;
    if (count > 0) std::memcpy(&word, bytes, count);
    return word;
  }
  void _add(std::uint64_t word) {
    _d ^= word;
    _round();
    _a ^= word;
  }
  void _round() {
    _a += _b;
    _c += _d;
    _b = std::rotl(_b, 13) ^ _a;
    _d = std::rotl(_d, 16) ^ _c;
    _a = std::rotl(_a, 32);
    _c += _b;
    _a += _d;
    _b = std::rotl(_b, 17) ^ _c;
    _d = std::rotl(_d, 21) ^ _a;
    _c = std::rotl(_c, 32);
  }

  std::uint64_t _a;
  std::uint64_t _b;
  std::uint64_t _c;
  std::uint64_t _d;
};

}  // namespace

// Linux hands 16 random bytes to every program that it starts, without a call that could fail.
// Others use them too, so the numbers are made from them one way.
BtHashKeys BtHashKeys::_make() {
  std::uint64_t random[2] = {};
  const auto* const bytes = std::bit_cast<const void*>(getauxval(AT_RANDOM));
  if (bytes != nullptr) std::memcpy(random, bytes, sizeof(random));
  const auto number = [&random](char i) {
    return TextHash(random[0], random[1]).of(std::string_view(&i, 1));
  };
  return {{number(0), number(1)}, number(2), {number(3), number(4), number(5)}};
}

std::uint64_t BtHashOf(std::string_view text) {
  const BtHashKeys& keys = BtHashKeys::ofProcess();
  return TextHash(keys.text[0], keys.text[1]).of(text);
}

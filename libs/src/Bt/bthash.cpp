#include "Bt/bthash.h"

#include <sys/auxv.h>

#include <bit>
#include <cstring>

namespace {

// The prime 2^61 - 1, by which remainders are quickly found.
constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61U) - 1;
// As many bytes as are below the prime, whatever they are.
constexpr std::size_t kPiece = 7;

// A number below 2^62 that is equal to the product but for multiples of the prime; both factors are
// below 2^62.
std::uint64_t Product(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  const std::uint64_t sum =
      (static_cast<std::uint64_t>(product) & kPrime) + static_cast<std::uint64_t>(product >> 61U);
  return (sum & kPrime) + (sum >> 61U);
}

template <class Number>
Number Load(const char* bytes) {
  Number number = 0;
  std::memcpy(&number, bytes, sizeof(number));
  return number;
}

// The first bytes of a longer text as a number.
std::uint64_t FirstPiece(const char* text) {
  return Load<std::uint64_t>(text) & ((std::uint64_t{1} << 8U * kPiece) - 1);
}

// The same of the bytes that are left.
std::uint64_t LastPiece(std::string_view piece) {
  const std::size_t size = piece.size();
  if (size >= sizeof(std::uint32_t)) {
    const char* const last = piece.data() + size - sizeof(std::uint32_t);
    return Load<std::uint32_t>(piece.data()) | static_cast<std::uint64_t>(Load<std::uint32_t>(last))
                                                   << 8U * (size - 4);
  }
  std::uint64_t number = 0;
  for (const char c : piece) number = number << 8U | static_cast<unsigned char>(c);
  return number;
}

// Spreads a change of any bit over all of them.
std::uint64_t Mixed(std::uint64_t number) {
  number = (number ^ number >> 30U) * 0xBF58476D1CE4E5B9;
  number = (number ^ number >> 27U) * 0x94D049BB133111EB;
  return number ^ number >> 31U;
}

// Its place, npos where there is none.
std::size_t LastDigit(std::string_view text) {
  std::size_t i = text.size();
  while (i > 0 && (text[i - 1] < '0' || text[i - 1] > '9')) --i;
  return i - 1;
}

}  // namespace

// Linux hands 16 random bytes to every program that it starts, without a call that could fail.
// Others use them too, so each number is mixed from all of them.
BtHashKeys BtHashKeys::_make() {
  std::uint64_t random[2] = {};
  const auto* const bytes = std::bit_cast<const void*>(getauxval(AT_RANDOM));
  if (bytes != nullptr) std::memcpy(random, bytes, sizeof(random));
  const auto number = [&random](std::uint64_t i) {
    return Mixed(Mixed(random[0] + i * 0x9E3779B97F4A7C15) ^ random[1]);
  };
  return {number(1) & kPrime, number(2), {number(3), number(4), number(5)}};
}

// The text is a polynomial whose coefficients are its length and its pieces, and the hash follows
// from its value at a secret place: two texts of n bytes agree at n / 7 places of 2^61 at most.
std::uint64_t BtHashOf(std::string_view text, std::uint32_t number) {
  const std::uint64_t place = BtHashKeys::ofProcess().place;
  std::uint64_t value = text.size() & kPrime;
  for (; text.size() > kPiece; text.remove_prefix(kPiece)) {
    value = Product(value, place) + FirstPiece(text.data());
  }
  value = Product(value, place) + LastPiece(text);
  value = (value & kPrime) + (value >> 61U);
  if (value >= kPrime) value -= kPrime;
  return BtHashOf(static_cast<std::uint32_t>(value), static_cast<std::uint32_t>(value >> 32U),
                  number);
}

std::size_t BtHash::operator()(std::string_view text) const {
  const std::size_t place = LastDigit(text);
  if (place == std::string_view::npos) return BtHashOf(text, 1);  // not as one that ends in 0
  const std::string_view behind = text.substr(place + 1);
  const std::uint64_t number = behind.empty() ? 0 : BtHashOf(behind);
  return BtHashOf(text.substr(0, place), static_cast<std::uint32_t>(number)) ^
         static_cast<std::size_t>(text[place] - '0');
}

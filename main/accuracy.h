// How many digits computed numbers keep in a file. What is left out carries nothing, but zeros in
// its place are much less to compress and to store.
#pragma once

#include <bit>
#include <cstdint>

// Points keep the 24 bits of a float, as which models are read, at any distance: also beyond the
// largest float.
inline double PointAccuracy(double coordinate) {
  constexpr unsigned kDroppedBits = 29;
  constexpr std::uint64_t kDropped = (std::uint64_t{1} << kDroppedBits) - 1;
  const auto raw = std::bit_cast<std::uint64_t>(coordinate);
  return std::bit_cast<double>((raw + kDropped / 2 + 1) & ~kDropped);
}

// The components of a normal are multiples of 1/32768, which leaves its direction exact to some
// thousandths of a degree. Next to this number the last bit of a double stands for just that.
inline double NormalAccuracy(double component) {
  constexpr double kRounder = 1.5 * (std::uint64_t{1} << (52 - 15));
  return component + kRounder - kRounder;
}

// How many digits computed numbers keep in a file.
#pragma once

#include <bit>
#include <cstdint>

// The number without its last `bits` bits of 52, rounded. What is left out carries nothing, since
// models are read as floats, whose 23 bits every accuracy here exceeds or equals; but zeros in its
// place are much less to compress and to store.
inline double WithoutLastBits(double number, unsigned bits) {
  const std::uint64_t dropped = (std::uint64_t{1} << bits) - 1;
  const auto raw = std::bit_cast<std::uint64_t>(number);
  return std::bit_cast<double>((raw + dropped / 2 + 1) & ~dropped);
}

// Points keep a part in 500 million of themselves, so that a large scene is as fine as a small one.
inline double PointAccuracy(double coordinate) { return WithoutLastBits(coordinate, 24); }
// Normals are as accurate as floats, which is what all readers make of them.
inline double NormalAccuracy(double component) { return WithoutLastBits(component, 29); }

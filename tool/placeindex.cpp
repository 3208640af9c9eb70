#include "placeindex.h"

#include <bit>
#include <cmath>

namespace {

constexpr double kSmallestCell = 1e-6;

}  // namespace

PlaceIndex::PlaceIndex(const std::vector<std::vector<double>>* rows, double tolerance)
    : _rows(rows), _tolerance(tolerance), _size(std::max(2 * tolerance, kSmallestCell)) {
  for (std::size_t i = 0; i < rows->size(); ++i) _cells[_cellOf((*rows)[i], 0, 0, 0)].push_back(i);
}

std::uint64_t PlaceIndex::_cellOf(const std::vector<double>& row, int dx, int dy, int dz) const {
  const int moves[] = {dx, dy, dz};
  std::uint64_t hash = 0x9E3779B97F4A7C15;
  for (std::size_t c = 0; c < 3; ++c) {
    hash ^= std::bit_cast<std::uint64_t>(std::floor(row[c] / _size) + moves[c] + 0.0);
    hash *= 0xD6E8FEB86659FD93;
    hash ^= hash >> 32;
  }
  return hash;
}

bool PlaceIndex::_equal(const std::vector<double>& a, const std::vector<double>& b) const {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [this](double x, double y) { return std::fabs(x - y) <= _tolerance; });
}

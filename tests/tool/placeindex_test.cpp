#include "placeindex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

constexpr double kTolerance = 0.5;

bool Equal(const std::vector<double>& a, const std::vector<double>& b) {
  return std::equal(a.begin(), a.end(), b.begin(),
                    [](double x, double y) { return std::fabs(x - y) <= kTolerance; });
}

// Rows of whole and half numbers, so that many are equal, and many just so.
Rows RandomRows(std::mt19937* random, int count, int width, int span) {
  Rows rows(static_cast<std::size_t>(count));
  for (auto& row : rows) {
    for (int c = 0; c < width; ++c) {
      row.push_back(0.5 * static_cast<double>((*random)() % static_cast<unsigned>(span)));
    }
  }
  return rows;
}

TEST(PlaceIndex, FindsWhatALookAtEveryRowFinds) {
  std::mt19937 random(20261122);
  int n_found = 0;
  int n_missing = 0;
  for (const int width : {3, 5}) {
    for (const int span : {1, 6, 40}) {
      for (const int count : {0, 1, 9, 300}) {
        const Rows rows = RandomRows(&random, count, width, span);
        const PlaceIndex index(rows, kTolerance);
        for (const auto& row : RandomRows(&random, 200, width, span)) {
          const auto is_even = [](std::size_t i) { return i % 2 == 0; };
          bool any = false;
          bool any_even = false;
          for (std::size_t i = 0; i < rows.size(); ++i) {
            if (!Equal(rows[i], row)) continue;
            any = true;
            any_even = any_even || is_even(i);
          }
          ASSERT_EQ(index.has(row), any);
          ASSERT_EQ(index.has(row, is_even), any_even);
          ++(any ? n_found : n_missing);
        }
      }
    }
  }
  EXPECT_GT(std::min(n_found, n_missing), 1000);
}

}  // namespace

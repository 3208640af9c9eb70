// Polygons cut into triangles: shape, sense and count.

#include "Ba/batriangulate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <utility>

namespace {

using Points = std::vector<std::array<double, 2>>;

// The outline in a plane that axes u and v span in space.
BtDArray<BaVertex> InPlane(const Points& outline, const std::array<double, 3>& u,
                           const std::array<double, 3>& v) {
  BtDArray<BaVertex> corners(static_cast<int>(outline.size()));
  for (std::size_t i = 0; i < outline.size(); ++i) {
    float p[3];
    for (std::size_t c = 0; c < 3; ++c) {
      p[c] = static_cast<float>(outline[i][0] * u[c] + outline[i][1] * v[c]);
    }
    corners[static_cast<int>(i)].setPosition(p[0], p[1], p[2]);
  }
  return corners;
}

double Area(const Points& outline, const BaTriangle& t) {
  const auto& [ax, ay] = outline[static_cast<std::size_t>(t[0])];
  const auto& [bx, by] = outline[static_cast<std::size_t>(t[1])];
  const auto& [cx, cy] = outline[static_cast<std::size_t>(t[2])];
  return ((bx - ax) * (cy - ay) - (by - ay) * (cx - ax)) / 2;
}

double Area(const Points& outline) {
  double area = 0;
  for (int i = 2; i < static_cast<int>(outline.size()); ++i) area += Area(outline, {0, i - 1, i});
  return area;
}

// Triangles of the outline's sense with the outline's area in sum cover it, each place once.
void ExpectCovered(const Points& outline, const BtDArray<BaVertex>& corners,
                   const std::string& what) {
  const std::vector<BaTriangle> triangles = BaTriangulate(corners);
  EXPECT_EQ(triangles.size(), outline.size() - 2) << what;
  const double area = Area(outline);
  const double tolerance = std::abs(area) * 1e-5;
  double sum = 0;
  std::vector<int> uses(outline.size(), 0);
  for (const BaTriangle& triangle : triangles) {
    const double part = std::copysign(1.0, area) * Area(outline, triangle);
    EXPECT_GT(part, -tolerance) << what;
    sum += std::abs(part);
    for (const int corner : triangle) ++uses[static_cast<std::size_t>(corner)];
  }
  EXPECT_NEAR(sum, std::abs(area), tolerance) << what;
  EXPECT_EQ(std::count(uses.begin(), uses.end(), 0), 0) << what;
}

Points Comb(int teeth) {
  Points comb = {{0, -1}, {static_cast<double>(teeth), -1}};
  for (int i = teeth; i > 0; --i) {
    comb.push_back({static_cast<double>(i), 0});
    comb.push_back({i - 0.5, 10});
  }
  return comb;
}

// A band that winds inwards and comes back beside itself.
Points Spiral(int steps) {
  Points spiral;
  for (const double width : {0.0, 0.4}) {
    for (int i = 0; i < steps; ++i) {
      const double t = 0.1 * (width == 0 ? i : steps - 1 - i);
      spiral.push_back({(2 + t / 7 + width) * std::cos(t), (2 + t / 7 + width) * std::sin(t)});
    }
  }
  return spiral;
}

TEST(BaTriangulate, CoversConcavePolygons) {
  const std::pair<const char*, Points> cases[] = {
      {"triangle", {{0, 0}, {1, 0}, {0, 1}}},
      {"arrow, notch first", {{1, 1}, {0, 4}, {-4, -4}, {4, 0}}},
      {"arrow, notch last", {{0, 4}, {-4, -4}, {4, 0}, {1, 1}}},
      {"L", {{0, 0}, {3, 0}, {3, 1}, {1, 1}, {1, 3}, {0, 3}}},
      {"corners on sides", {{0, 0}, {1, 0}, {2, 0}, {2, 1}, {2, 2}, {0, 2}, {0, 1}}},
      {"T", {{0, 2}, {1, 2}, {1, 0}, {2, 0}, {2, 2}, {3, 2}, {3, 3}, {0, 3}}},
      {"hole behind a slit",
       {{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}, {3, 3}, {3, 6}, {6, 6}, {6, 3}, {3, 3}}},
      {"comb", Comb(20)},
      {"long comb", Comb(5000)},
      {"spiral", Spiral(150)},
  };
  const std::array<std::array<double, 3>, 2> planes[] = {
      {{{1, 0, 0}, {0, 1, 0}}}, {{{0, 1, 0}, {0, 0, 1}}}, {{{0.6, 0, 0.8}, {-0.64, 0.6, 0.48}}}};
  for (const auto& [name, outline] : cases) {
    const Points reversed(outline.rbegin(), outline.rend());
    for (const auto& [u, v] : planes) {
      ExpectCovered(outline, InPlane(outline, u, v), name);
      ExpectCovered(reversed, InPlane(reversed, u, v), std::string(name) + " reversed");
    }
  }
}

TEST(BaTriangulate, CoversRandomStars) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> radius(0.2, 1.0);
  for (int n = 4; n < 200; n += 3) {
    Points star;
    for (int i = 0; i < n; ++i) {
      const double r = radius(random);
      star.push_back({r * std::cos(6.2831853 * i / n), r * std::sin(6.2831853 * i / n)});
    }
    ExpectCovered(star, InPlane(star, {0.36, 0.48, 0.8}, {-0.8, 0.6, 0}), std::to_string(n));
  }
}

// What cannot be covered still gives its triangles, and before the test is timed out.
TEST(BaTriangulate, CopesWithAnyOutline) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> place(0, 1);
  Points tangle(20000);
  for (auto& point : tangle) point = {place(random), place(random)};
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const Points cases[] = {
      tangle,
      Points(5, {2, 2}),
      {{0, 0}, {1, 1}, {2, 2}, {3, 3}},
      {{0, 0}, {1, 1}, {1, 0}, {0, 1}},
      {{0, 0}, {0, 0}, {1, 0}, {1, 1}, {1, 1}},
      {{0, 0}, {kNaN, 0}, {1, 1}, {0, 1}, {2, 2}},
  };
  for (const Points& outline : cases) {
    const auto triangles = BaTriangulate(InPlane(outline, {1, 0, 0}, {0, 1, 0}));
    EXPECT_EQ(triangles.size(), outline.size() - 2);
  }
}

}  // namespace

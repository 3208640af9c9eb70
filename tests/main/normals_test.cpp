#include "normals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "faces.h"

namespace {

// Triangles between random points, in two parts, many of which lie within the distance of
// coincidence or just beyond it.
Faces RandomFaces(unsigned seed, double size) {
  std::mt19937 random(seed);
  const auto pick = [&random](double range) {
    return range * (static_cast<double>(random()) / 4294967296.0 - 0.5);
  };
  const double reach = 1e-5 * size;
  Faces faces;
  faces.parts = {{0, nullptr, 0}, {1, nullptr, 300}};
  faces.points = {-size / 2, -size / 2, -size / 2, size / 2, size / 2, size / 2};
  while (faces.points.size() < std::size_t{1800}) {
    const std::size_t twin = random() % 100;
    const bool near = random() % 2 == 0 && 3 * twin < faces.points.size();
    for (std::size_t k = 0; k < 3; ++k) {
      faces.points.push_back(near ? faces.points[3 * twin + k] + pick(4 * reach) : pick(size));
    }
  }
  for (int i = 0; i < 600; ++i) {
    for (int k = 0; k < 3; ++k) faces.corners.push_back(static_cast<std::int32_t>(random() % 600));
    faces.corners.back() = -faces.corners.back() - 1;
  }
  return faces;
}

// The same by looking at all pairs of points.
std::vector<double> PlainNormals(const Faces& faces) {
  const std::vector<double>& p = faces.points;
  std::vector<double> sums(p.size(), 0.0);
  for (std::size_t i = 0; i < faces.corners.size(); i += 3) {
    std::size_t v[3];
    for (std::size_t k = 0; k < 3; ++k) {
      const std::int32_t corner = faces.corners[i + k];
      v[k] = 3 * static_cast<std::size_t>(corner < 0 ? -corner - 1 : corner);
    }
    for (std::size_t k = 0; k < 3; ++k) {
      const std::size_t a = (k + 1) % 3;
      const std::size_t b = (k + 2) % 3;
      const double area = (p[v[1] + a] - p[v[0] + a]) * (p[v[2] + b] - p[v[0] + b]) -
                          (p[v[1] + b] - p[v[0] + b]) * (p[v[2] + a] - p[v[0] + a]);
      for (const std::size_t corner : v) sums[corner + k] += area;
    }
  }
  double low[3] = {1e300, 1e300, 1e300};
  double high[3] = {-1e300, -1e300, -1e300};
  for (std::size_t i = 0; i < p.size(); ++i) {
    low[i % 3] = std::min(low[i % 3], p[i]);
    high[i % 3] = std::max(high[i % 3], p[i]);
  }
  const double reach = 1e-5 * std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
  std::vector<std::size_t> first(p.size() / 3);
  for (std::size_t i = 0; i < first.size(); ++i) {
    first[i] = i;
    for (std::size_t j = i; j-- > 0;) {
      const bool near = std::fabs(p[3 * i] - p[3 * j]) <= reach &&
                        std::fabs(p[3 * i + 1] - p[3 * j + 1]) <= reach &&
                        std::fabs(p[3 * i + 2] - p[3 * j + 2]) <= reach;
      if (first[j] == j && near) first[i] = j;
    }
    for (std::size_t k = 0; first[i] != i && k < 3; ++k) sums[3 * first[i] + k] += sums[3 * i + k];
  }
  std::vector<double> normals;
  for (const std::size_t i : first) {
    const double length = std::hypot(sums[3 * i], sums[3 * i + 1], sums[3 * i + 2]);
    for (std::size_t k = 0; k < 3; ++k) {
      normals.push_back(length > 0 ? sums[3 * i + k] / length : (k == 1 ? 1.0 : 0.0));
    }
  }
  return normals;
}

TEST(SmoothNormals, AreThoseOfAllCoincidentPoints) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    const Faces faces = RandomFaces(seed, seed % 2 == 0 ? 1.0 : 12345.0);
    const std::vector<double> normals = SmoothNormals(faces);
    const std::vector<double> expected = PlainNormals(faces);
    ASSERT_EQ(normals.size(), expected.size());
    for (std::size_t i = 0; i < normals.size(); ++i) {
      ASSERT_NEAR(normals[i], expected[i], 1e-6) << "seed " << seed << ", point " << i / 3;
    }
  }
}

}  // namespace

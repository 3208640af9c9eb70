#include "normals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <valarray>

#include "accuracy.h"
#include "coincidentpoints.h"
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
  faces.parts = {{nullptr, nullptr, 0, 0}, {nullptr, nullptr, 1, 300}};
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

using Xyz = std::valarray<double>;  // x y z

double LengthOf(const Xyz& v) { return std::sqrt((v * v).sum()); }

// The same by looking at all pairs of points.
std::vector<double> PlainNormals(const Faces& faces) {
  std::vector<Xyz> points;
  for (std::size_t i = 0; i < faces.points.size(); i += 3) points.emplace_back(&faces.points[i], 3);
  std::vector<Xyz> sums(points.size(), Xyz(3));
  for (std::size_t i = 0; i < faces.corners.size(); i += 3) {
    std::size_t v[3];
    for (std::size_t k = 0; k < 3; ++k) {
      const std::int32_t corner = faces.corners[i + k];
      v[k] = static_cast<std::size_t>(corner < 0 ? -corner - 1 : corner);
    }
    const Xyz a = points[v[1]] - points[v[0]];
    const Xyz b = points[v[2]] - points[v[0]];
    for (const std::size_t corner : v) {
      sums[corner] += a.cshift(1) * b.cshift(2) - a.cshift(2) * b.cshift(1);
    }
  }
  Xyz low = points[0];
  Xyz high = points[0];
  for (const Xyz& point : points) {
    low[point < low] = point[point < low];
    high[point > high] = point[point > high];
  }
  const double reach = 1e-5 * LengthOf(high - low);
  std::vector<std::size_t> first(points.size());
  std::vector<double> normals;
  for (std::size_t i = 0; i < first.size(); ++i) {
    first[i] = i;
    for (std::size_t j = i; j-- > 0;) {
      if (first[j] == j && std::abs(points[i] - points[j]).max() <= reach) first[i] = j;
    }
    if (first[i] != i) sums[first[i]] += sums[i];
  }
  for (const std::size_t i : first) {
    const double length = LengthOf(sums[i]);
    const Xyz normal = length > 0 ? Xyz(sums[i] / length) : Xyz{0, 1, 0};
    normals.insert(normals.end(), std::begin(normal), std::end(normal));
  }
  return normals;
}

TEST(SmoothNormals, AreThoseOfAllCoincidentPoints) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    const Faces faces = RandomFaces(seed, seed % 2 == 0 ? 1.0 : 12345.0);
    const std::vector<double> normals = SmoothNormals(faces, FirstCoincident(faces.points));
    const std::vector<double> expected = PlainNormals(faces);
    ASSERT_EQ(normals.size(), expected.size());
    for (std::size_t i = 0; i < normals.size(); ++i) {
      ASSERT_NEAR(normals[i], expected[i], 0.51 / 32768) << "seed " << seed << ", point " << i / 3;
    }
  }
}

// What docs/fbx-output.md promises of points and normals.
TEST(Accuracy, LosesNoMoreThanIsSaid) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 1000; ++i) {
    const double component = std::ldexp(static_cast<double>(random()), -63) - 1.0;
    const double normal = NormalAccuracy(component);
    EXPECT_EQ(normal * 32768, std::round(component * 32768)) << component;
    const double large = std::ldexp(component, i % 100 - 50);
    EXPECT_EQ(PointAccuracy(large), static_cast<double>(static_cast<float>(large))) << large;
  }
  EXPECT_NEAR(PointAccuracy(1e300), 1e300, 6e-8 * 1e300);  // which no float holds
  EXPECT_FALSE(std::signbit(NormalAccuracy(-1e-9)));
}

}  // namespace

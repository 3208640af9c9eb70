#include "normals.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "accuracy.h"
#include "faces.h"

namespace {

using Vector = std::array<double, 3>;

Vector PointAt(const std::vector<double>& points, std::size_t i) {
  return {points[3 * i], points[3 * i + 1], points[3 * i + 2]};
}

void AddTo(std::vector<double>* sums, std::size_t i, const Vector& v) {
  for (std::size_t k = 0; k < 3; ++k) (*sums)[3 * i + k] += v[k];
}

std::size_t PointOfCorner(std::int32_t corner) {
  return static_cast<std::size_t>(corner < 0 ? -(corner + 1) : corner);
}

// Makes unit vectors of all; a vector without direction points up.
void Normalize(std::vector<double>* vectors) {
  for (std::size_t i = 0; i < vectors->size(); i += 3) {
    double* v = vectors->data() + i;
    const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (length > 0.0 && std::isfinite(length)) {
      for (int k = 0; k < 3; ++k) v[k] = NormalAccuracy(v[k] / length);
    } else {
      v[0] = v[2] = 0.0;
      v[1] = 1.0;
    }
  }
}

// Twice the area vector of the face whose corners are [first, last): the sum of cross products
// around its first corner, right for concave faces too.
Vector AreaVector(const Faces& faces, std::size_t first, std::size_t last) {
  const Vector origin = PointAt(faces.points, PointOfCorner(faces.corners[first]));
  Vector sum = {};
  Vector before = {};
  for (std::size_t i = first + 1; i < last; ++i) {
    Vector edge = PointAt(faces.points, PointOfCorner(faces.corners[i]));
    for (std::size_t k = 0; k < 3; ++k) edge[k] -= origin[k];
    sum[0] += before[1] * edge[2] - before[2] * edge[1];
    sum[1] += before[2] * edge[0] - before[0] * edge[2];
    sum[2] += before[0] * edge[1] - before[1] * edge[0];
    before = edge;
  }
  return sum;
}

// Calls visit(first corner, last corner + 1) for every face in order.
template <class Visit>
void ForEachFace(const Faces& faces, Visit visit) {
  std::size_t first = 0;
  for (std::size_t i = 0; i < faces.corners.size(); ++i) {
    if (faces.corners[i] >= 0) continue;
    visit(first, i + 1);
    first = i + 1;
  }
}

// Every point gets the sum of all points that coincide with it.
void ShareSums(const std::vector<std::uint32_t>& first, std::vector<double>* sums) {
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (first[i] != i) AddTo(sums, first[i], PointAt(*sums, i));
  }
  for (std::size_t i = 0; i < first.size(); ++i) {
    std::copy_n(sums->begin() + 3 * static_cast<std::ptrdiff_t>(first[i]), 3,
                sums->begin() + 3 * static_cast<std::ptrdiff_t>(i));
  }
}

}  // namespace

std::vector<double> SmoothNormals(const Faces& faces, const std::vector<std::uint32_t>& first) {
  std::vector<double> normals(faces.points.size(), 0.0);
  ForEachFace(faces, [&](std::size_t begin, std::size_t end) {
    const Vector area = AreaVector(faces, begin, end);
    for (std::size_t i = begin; i < end; ++i) {
      AddTo(&normals, PointOfCorner(faces.corners[i]), area);
    }
  });
  ShareSums(first, &normals);
  Normalize(&normals);
  return normals;
}

std::vector<double> FlatNormals(const Faces& faces) {
  std::vector<double> normals;
  normals.reserve(3 * faces.faceCount());
  ForEachFace(faces, [&](std::size_t first, std::size_t last) {
    const Vector area = AreaVector(faces, first, last);
    normals.insert(normals.end(), area.begin(), area.end());
  });
  Normalize(&normals);
  return normals;
}

std::vector<std::int32_t> FacePerCorner(const Faces& faces) {
  std::vector<std::int32_t> face_of_corner;
  face_of_corner.reserve(faces.corners.size());
  std::int32_t face = 0;
  for (const std::int32_t corner : faces.corners) {
    face_of_corner.push_back(face);
    if (corner < 0) ++face;
  }
  return face_of_corner;
}

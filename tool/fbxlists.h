// The numbers of an FBX file's meshes and curves, unpacked when they are needed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fbxfacts.h"

// Rows of `width` numbers, which polygons may refer to by index.
struct FbxRows {
  std::size_t width = 3;
  std::vector<double> numbers;

  [[nodiscard]] std::size_t count() const { return numbers.size() / width; }
};

// Numbers of corners: `of_corner` says which row each has. Without rows there are none.
struct FbxCornerRows {
  FbxRows rows;
  std::vector<std::size_t> of_corner;
};

struct FbxCluster {
  std::string name;  // of the bone
  std::vector<double> points;
  std::vector<double> weights;
  std::vector<double> bind;  // two matrices
};

struct FbxShapeRows {
  std::string name;
  std::vector<double> points;
  FbxRows offsets;
};

// Every index in it stands for a row that is there, and every number is finite.
struct FbxMesh {
  FbxRows points;
  std::vector<std::size_t> corners;  // points
  std::vector<std::size_t> ends;     // of each polygon, among the corners
  std::vector<std::string> materials;
  std::vector<double> of_polygons;  // materials, one for all where there is one
  FbxCornerRows normals;
  FbxCornerRows coordinates;
  std::vector<FbxCluster> clusters;
  std::vector<FbxShapeRows> shapes;
};

// Each is false with a recorded error where lists are damaged, or too long to be compared.
bool LoadFbxMesh(const FbxRecordFile& file, const FbxMeshFacts& facts, FbxMesh* mesh);
// A curve that stays as it is has one time, 0.
bool LoadFbxCurve(const FbxRecordFile& file, const FbxCurveFacts& facts, std::vector<double>* times,
                  std::vector<double>* values);

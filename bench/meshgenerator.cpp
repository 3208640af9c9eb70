#include "meshgenerator.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>
#include <ostream>
#include <vector>

namespace {

// One cell of a hundred tens is two triangles, the others are quads: 1.1 polygons a cell, and
// nearly 3.82 corners a polygon.
constexpr int kSplit = 10;
constexpr double kPolygonsPerCell = 1.0 + 1.0 / kSplit;
constexpr double kLimbLength = 30.0;
constexpr double kLimbDistance = 12.0;  // between the origins of neighbours

void Put(std::string* text, double number) {
  // The digits that a stream writes by itself.
  constexpr int kDigits = 6;
  char digits[32];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, number, std::chars_format::general, kDigits);
  text->append(digits, end.ptr);
}

void Put(std::string* text, int number) {
  char digits[16];
  text->append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

template <class... Parts>
std::string Text(const Parts&... parts) {
  std::string text;
  const auto add = [&text](const auto& part) {
    if constexpr (std::is_arithmetic_v<std::decay_t<decltype(part)>>) {
      Put(&text, part);
    } else {
      text += part;
    }
  };
  (add(parts), ...);
  return text;
}

// A noise between 0 and 1 that gives coordinates the digits of measured ones.
double Noise(unsigned number) {
  number = (number ^ (number >> 15U)) * 0x2C1B3C6DU;
  number = (number ^ (number >> 12U)) * 0x297A2D39U;
  return static_cast<double>((number ^ (number >> 15U)) >> 8U) / (1 << 24);
}

struct Corner {
  int vertex;  // both from 0 in the limb
  int coord;
};
using Polygon = std::vector<Corner>;

// The tube around one body: rings of vertices along x, whose first column of texture coordinates
// stands a second time at the seam.
class Limb {
 public:
  Limb(int cells, int index)
      : _columns(std::max(3, static_cast<int>(std::sqrt(cells)))),
        _rows(std::max(1, cells / _columns)),
        _index(index) {}

  [[nodiscard]] int vertexCount() const { return _columns * (_rows + 1); }
  [[nodiscard]] int coordCount() const { return (_columns + 1) * (_rows + 1); }

  // "x y z", moved along y and z.
  [[nodiscard]] std::string vertex(int i, double y, double z) const {
    const int row = i / _columns;
    const double along = static_cast<double>(row) / _rows;
    const double angle = 2.0 * std::numbers::pi * (i % _columns) / _columns;
    const double radius = 2.0 + std::sin(5.0 * along + _index) + 0.3 * std::cos(7.0 * angle) +
                          0.002 * Noise(static_cast<unsigned>(i + 7919 * _index));
    return Text(kLimbLength * along, " ", y + radius * std::cos(angle), " ",
                z + radius * std::sin(angle));
  }
  // "u v"
  [[nodiscard]] std::string coord(int i) const {
    const int column = i % (_columns + 1);
    const int row = i / (_columns + 1);
    return Text(static_cast<double>(column) / _columns, " ", static_cast<double>(row) / _rows);
  }

  // Calls visit(polygon, part) in order; `part` goes from 0 to `parts` - 1 along the limb.
  template <class Visit>
  void forEachPolygon(int parts, Visit visit) const {
    Polygon polygon;
    const int cells = _rows * _columns;
    for (int cell = 0; cell < cells; ++cell) {
      const int part = static_cast<int>(static_cast<long long>(cell) * parts / cells);
      const std::array<Corner, 4> c = {_corner(cell, 0, 0), _corner(cell, 1, 0),
                                       _corner(cell, 1, 1), _corner(cell, 0, 1)};
      if (cell % kSplit == 0) {
        polygon = {c[0], c[1], c[2]};
        visit(polygon, part);
        polygon = {c[0], c[2], c[3]};
      } else {
        polygon.assign(c.begin(), c.end());
      }
      visit(polygon, part);
    }
  }

 private:
  [[nodiscard]] Corner _corner(int cell, int right, int down) const {
    const int row = cell / _columns + down;
    const int column = cell % _columns + right;
    return {row * _columns + column % _columns, row * (_columns + 1) + column};
  }

  int _columns;
  int _rows;
  int _index;
};

class Writer {
 public:
  Writer(std::ostream& os, const MeshSize& size)
      : _os(os),
        _size(size),
        _parts(std::max(std::min(2, size.materials),
                        (size.materials + size.bodies - 1) / size.bodies)) {}

  void legacy() {
    _os << "Zov Graphic Model File\nv1.30\n";
    for (int body = 1; body <= _size.bodies; ++body) {
      _os << "X\n " << _bodyName(body) << "\n " << body << "\n parent\n " << body / 2
          << "\n 1 0 0\n 0 1 0\n 0 0 1\n 0 " << kLimbDistance << " " << 0.5 * kLimbDistance << "\n";
    }
    for (int material = 0; material < _size.materials; ++material) {
      _os << "M " << material + 1 << " " << _materialName(material) << "\n 3 0.8 0.7 "
          << _blue(material) << "\n";
      if (_size.textured) _os << " 100 1 \"" << PictureName(material) << "\" -1\n";
      _os << " 0\n";
    }
    for (int body = 1; body <= _size.bodies; ++body) _legacyLimb(body);
  }

  void document() {
    _os << "Zov Graphic Model File\nv2.00\n";
    for (int body = 1; body <= _size.bodies; ++body) {
      _os << "BODY {\n  NAME: " << _bodyName(body) << "\n  ID: " << body
          << "\n  COORDINATE_SYSTEM {\n    TRANSLATION: 0 " << kLimbDistance << " "
          << 0.5 * kLimbDistance << "\n    ROTATION: 0 0 0 Z Y X\n  }\n  PARENT_NAME: "
          << (body == 1 ? "GLOBAL" : _bodyName(body / 2)) << "\n}\n";
    }
    for (int material = 0; material < _size.materials; ++material) {
      _os << "MATERIAL {\n  NAME: " << _materialName(material) << "\n  DIFFUSE: 0.8 0.7 "
          << _blue(material) << "\n";
      if (_size.textured) _os << "  TEXTURE {\n    NAME: " << PictureName(material) << "\n  }\n";
      _os << "}\n";
    }
    for (int body = 1; body <= _size.bodies; ++body) _documentLimb(body);
    _os << "END:\n";
  }

  void obj() {
    int first_vertex = 1;
    int first_coord = 1;
    for (int body = 1; body <= _size.bodies; ++body) {
      const Limb limb = _limb(body);
      _os << "o " << _bodyName(body) << "\n";
      for (int i = 0; i < limb.vertexCount(); ++i) {
        // Bodies hang under half their own number.
        const double depth = std::floor(std::log2(body)) + 1.0;
        _os << "v " << limb.vertex(i, depth * kLimbDistance, depth * 0.5 * kLimbDistance) << "\n";
      }
      for (int i = 0; i < limb.coordCount(); ++i) _os << "vt " << limb.coord(i) << "\n";
      int last_part = -1;
      limb.forEachPolygon(_parts, [&](const Polygon& polygon, int part) {
        if (part != last_part) _os << "usemtl " << _materialName(_material(body, part)) << "\n";
        last_part = part;
        _os << "f" << _pairs(polygon, first_vertex, first_coord, " ");
      });
      first_vertex += limb.vertexCount();
      first_coord += limb.coordCount();
    }
  }

 private:
  static std::string _bodyName(int body) { return "limb_" + std::to_string(body); }
  static std::string _materialName(int material) { return "skin_" + std::to_string(material); }
  // Tells the materials apart.
  [[nodiscard]] double _blue(int material) const {
    return static_cast<double>(material + 1) / (_size.materials + 1);
  }
  [[nodiscard]] int _material(int body, int part) const {
    return ((body - 1) * _parts + part) % _size.materials;
  }
  [[nodiscard]] Limb _limb(int body) const {
    const int cells = static_cast<int>(_size.polygons / kPolygonsPerCell);
    return {cells / _size.bodies + (body <= cells % _size.bodies ? 1 : 0), body};
  }

  void _legacyLimb(int body) {
    const Limb limb = _limb(body);
    std::vector<std::string> vertices;
    vertices.reserve(static_cast<std::size_t>(limb.vertexCount()));
    for (int i = 0; i < limb.vertexCount(); ++i) {
      vertices.push_back(" " + limb.vertex(i, 0, 0) + " -1\n");
    }
    std::vector<std::string> coords;
    coords.reserve(static_cast<std::size_t>(limb.coordCount()));
    for (int i = 0; i < limb.coordCount(); ++i) coords.push_back(" " + limb.coord(i));
    limb.forEachPolygon(_parts, [&](const Polygon& polygon, int part) {
      _os << "P " << body << " " << _material(body, part) + 1 << " " << polygon.size() << "\n";
      for (const Corner& corner : polygon) {
        _os << coords[static_cast<std::size_t>(corner.coord)]
            << vertices[static_cast<std::size_t>(corner.vertex)];
      }
    });
  }

  void _documentLimb(int body) {
    const Limb limb = _limb(body);
    const std::string vertices_name = _bodyName(body) + "_vertices";
    _os << "VERTICES {\n  NAME: " << vertices_name << "\n  COORDINATES {\n";
    for (int i = 0; i < limb.vertexCount(); ++i) _os << "    " << limb.vertex(i, 0, 0) << "\n";
    _os << "  }\n}\nGEOMETRY {\n  BODY: " << _bodyName(body) << "\n  VERTICES: " << vertices_name
        << "\n  TEXTURE_COORDINATES {\n";
    for (int i = 0; i < limb.coordCount(); ++i) _os << "    " << limb.coord(i) << "\n";
    _os << "  }\n";
    int last_part = -1;
    limb.forEachPolygon(_parts, [&](const Polygon& polygon, int part) {
      if (part != last_part) {
        if (last_part >= 0) _os << "    }\n  }\n";
        _os << "  MATERIAL_GROUP {\n    MATERIAL: " << _materialName(_material(body, part))
            << "\n    TEXTURED_POLYGONS {\n";
      }
      last_part = part;
      _os << "     " << _pairs(polygon, 1, 1, " ");
    });
    _os << "    }\n  }\n}\n";
  }

  // A line of pairs "12/7", each behind a separator.
  static std::string _pairs(const Polygon& polygon, int first_vertex, int first_coord,
                            const char* separator) {
    std::string line;
    for (const Corner& corner : polygon) {
      line += separator;
      Put(&line, first_vertex + corner.vertex);
      line += '/';
      Put(&line, first_coord + corner.coord);
    }
    return line + "\n";
  }

  std::ostream& _os;
  MeshSize _size;
  int _parts;  // of a limb, each with a material of its own
};

}  // namespace

void WriteMesh(std::ostream& os, MeshForm form, const MeshSize& size) {
  Writer writer(os, size);
  if (form == MeshForm::Legacy) writer.legacy();
  if (form == MeshForm::Document) writer.document();
  if (form == MeshForm::Obj) writer.obj();
}

void WriteMapping(std::ostream& os, const MeshSize& size) {
  os << "Zov Graphic Mapping File\nv1.0\n" << 6 * size.bodies << "\n" << size.bodies << "\n";
  for (int body = 1; body <= size.bodies; ++body) {
    os << body << "\n1 2 3 6 5 4\n";
    for (int variable = 6 * body - 5; variable <= 6 * body; ++variable) os << variable << "\n";
  }
}

std::string PictureName(int material) { return "skin_" + std::to_string(material) + ".png"; }

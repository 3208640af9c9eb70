#include "svgpicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "Ba/bamapping.h"
#include "Bt/bthash.h"
#include "geometry.h"
#include "messages.h"
#include "silhouette.h"
#include "utf8.h"

namespace {

// Sizes in pixels.
constexpr double kLargestWidth = 1050;  // of the three drawings together
constexpr double kLargestHeight = 600;
constexpr double kSmallestHeight = 240;
constexpr double kMargin = 12;   // around each drawing
constexpr double kHeading = 34;  // above the drawings
constexpr double kLineHeight = 10.5;
constexpr double kCharacterWidth = 5.2;
constexpr std::size_t kLongestLabel = 26;
// Joints nearer than this share a dot.
constexpr double kJoint = 2.2;

// From where the model is seen: which axis runs to the right and which one up.
struct View {
  const char* name;
  std::size_t right;
  double right_sign;
  std::size_t up;
  double up_sign;
};
constexpr View kViews[] = {
    {"front", 0, 1, 1, 1},
    {"side", 2, 1, 1, 1},
    {"top", 0, 1, 2, -1},
};

struct Joint {
  Point place;
  int parent;  // index, -1 at the top
  std::string label;
  bool mapped;
};

struct Label {
  std::string text;
  Point2 joint;
  double y = 0;  // of the text's middle
};

std::string Rounded(double value) {
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.1f", value + 0.0);
  std::string number = text.data();
  if (number.ends_with(".0")) number.resize(number.size() - 2);
  return number == "-0" ? "0" : number;
}

std::string PointText(const Point2& p) { return Rounded(p[0]) + " " + Rounded(p[1]); }

std::string EscapedByte(char c, bool is_utf8) {
  if (c == '&') return "&amp;";
  if (c == '<') return "&lt;";
  if (c == '>') return "&gt;";
  const auto byte = static_cast<unsigned char>(c);
  if (byte < ' ' || byte == 0x7F) return "?";
  if (byte < 0x80 || is_utf8) return {c};
  return {static_cast<char>(0xC0 | (byte >> 6)), static_cast<char>(0x80 | (byte & 0x3F))};
}

// Text of a name for XML: what is no UTF-8 is taken as Latin-1, and what XML cannot hold as "?".
std::string Escaped(std::string_view text) {
  const bool is_utf8 = IsUtf8(text);
  std::string escaped;
  for (const char c : text) escaped += EscapedByte(c, is_utf8);
  return escaped;
}

// A long name loses its middle: hands and fingers differ at both ends.
std::string Shortened(const std::string& name) {
  if (name.size() <= kLongestLabel) return name;
  constexpr std::size_t kHalf = kLongestLabel / 2 - 1;
  std::size_t first = kHalf;
  std::size_t last = name.size() - kHalf;
  const auto is_inside = [&name](std::size_t i) {
    return (static_cast<unsigned char>(name[i]) & 0xC0) == 0x80;
  };
  while (first > 0 && is_inside(first)) --first;
  while (last < name.size() && is_inside(last)) ++last;
  return name.substr(0, first) + "\xE2\x80\xA6" + name.substr(last);
}

class Drawing {
 public:
  Drawing(const BaModel& model, const BaUnlockedMapping* mapping);
  void printOn(std::ostream& os) const;

 private:
  void _addJoints(const BaModel& model, const BaUnlockedMapping* mapping);
  void _addFaces(const BaModel& model);
  void _printView(const View& view, double left, std::ostream& os) const;
  void _printOutline(const View& view, const Point2& origin, std::ostream& os) const;
  void _printBones(const View& view, const Point2& origin, std::ostream& os) const;
  void _printLabels(const View& view, const Point2& origin, std::ostream& os) const;
  static void _printColumn(std::vector<Label> labels, double x, bool leftward, double top,
                           double bottom, std::ostream& os);
  [[nodiscard]] double _size(std::size_t axis) const {
    return (*_box.max)[axis] - (*_box.min)[axis];
  }
  [[nodiscard]] double _widthOf(const View& view) const {
    return std::ceil(_size(view.right) * _scale) + 1;
  }
  [[nodiscard]] double _heightOf(const View& view) const {
    return std::ceil(_size(view.up) * _scale) + 1;
  }
  // Where a point is seen, from the upper left corner of the drawing.
  [[nodiscard]] Point2 _project(const View& view, const Point& p) const;

  WorldTransforms _worlds;
  std::vector<Joint> _joints;
  std::vector<std::vector<Point>> _faces;
  Box _box;
  double _scale = 1;
  double _height = kSmallestHeight;  // of the drawings
  double _column = 0;                // width of the names beside a drawing
};

Drawing::Drawing(const BaModel& model, const BaUnlockedMapping* mapping)
    : _worlds(WorldTransformsOf(model)) {
  _addJoints(model, mapping);
  _addFaces(model);
  if (!_box.min) _box.add(Point{});
  const double width = 2 * _size(0) + _size(2);
  const double height = std::max(_size(1), _size(2));
  const double scale = std::min(kLargestWidth / width, kLargestHeight / height);
  if (std::isfinite(scale) && scale > 0) _scale = scale;
  for (const View& view : kViews) _height = std::max(_height, _heightOf(view));
  const std::size_t rows = (_joints.size() + 1) / 2;
  const double names = kLineHeight * static_cast<double>(rows);
  _height = std::max(_height, std::min(names, kLargestHeight));
  std::size_t longest = 0;
  for (const Joint& joint : _joints) longest = std::max(longest, joint.label.size());
  _column = 12 + kCharacterWidth * static_cast<double>(longest);
}

void Drawing::_addJoints(const BaModel& model, const BaUnlockedMapping* mapping) {
  BtHashMap<int, int> indices;  // by body id
  for (const BaBody* body : BodiesInOrder(model)) {
    const Bt4X4DoubleMat& world = _worlds[body->id()];
    const BaUnlockedBodyMap* map = mapping == nullptr ? nullptr : mapping->bodyMap(body->id());
    Joint joint = {{world(3, 0), world(3, 1), world(3, 2)},
                   body->parentId() == 0 ? -1 : indices[body->parentId()],
                   Shortened(Text(body->name())),
                   mapping == nullptr || map != nullptr};
    if (map != nullptr) joint.label += " " + map->rotationLetters();
    indices[body->id()] = static_cast<int>(_joints.size());
    const bool finite = std::all_of(joint.place.begin(), joint.place.end(),
                                    [](double v) { return std::fabs(v) < 1e30; });
    if (!finite) joint.place = {};
    _box.add(joint.place);
    _joints.push_back(std::move(joint));
  }
}

void Drawing::_addFaces(const BaModel& model) {
  for (const BaBody* body : BodiesInOrder(model)) {
    const Bt4X4DoubleMat& world = _worlds[body->id()];
    ForEachFace(*body, [&](const BaVertexElement& element, const std::vector<int>& corners) {
      std::vector<Point> face;
      for (const int i : corners) {
        face.push_back(BtTransformPoint(PointOf(element.vertices()[i]), world));
        const Point& p = face.back();
        if (!(std::fabs(p[0]) + std::fabs(p[1]) + std::fabs(p[2]) < 1e30)) return;
      }
      for (const Point& p : face) _box.add(p);
      _faces.push_back(std::move(face));
    });
  }
}

Point2 Drawing::_project(const View& view, const Point& p) const {
  const auto along = [&](std::size_t axis, double sign) {
    return (sign > 0 ? p[axis] - (*_box.min)[axis] : (*_box.max)[axis] - p[axis]) * _scale;
  };
  return {along(view.right, view.right_sign), along(view.up, -view.up_sign)};
}

void Drawing::_printOutline(const View& view, const Point2& origin, std::ostream& os) const {
  Silhouette silhouette(static_cast<int>(_widthOf(view)), static_cast<int>(_heightOf(view)));
  std::vector<Point2> polygon;
  for (const std::vector<Point>& face : _faces) {
    polygon.clear();
    for (const Point& p : face) polygon.push_back(_project(view, p));
    silhouette.fill(polygon);
  }
  os << "<path class=\"outline\" d=\"";
  for (const std::vector<Point2>& outline : silhouette.outlines()) {
    const char* step = "M";
    for (const Point2& p : outline) {
      os << step << PointText({origin[0] + p[0], origin[1] + p[1]});
      step = "L";
    }
    os << "Z";
  }
  os << "\"/>\n";
}

void Drawing::_printBones(const View& view, const Point2& origin, std::ostream& os) const {
  const auto place = [&](const Joint& joint) {
    const Point2 p = _project(view, joint.place);
    return Point2{origin[0] + p[0], origin[1] + p[1]};
  };
  os << "<path class=\"bones\" d=\"";
  for (const Joint& joint : _joints) {
    if (joint.parent < 0) continue;
    os << "M" << PointText(place(_joints[static_cast<std::size_t>(joint.parent)])) << "L"
       << PointText(place(joint));
  }
  os << "\"/>\n";
  for (const bool mapped : {true, false}) {
    os << "<g class=\"" << (mapped ? "mapped" : "unmapped") << "\">\n";
    for (const Joint& joint : _joints) {
      if (joint.mapped != mapped) continue;
      const Point2 p = place(joint);
      os << "<circle cx=\"" << Rounded(p[0]) << "\" cy=\"" << Rounded(p[1]) << "\" r=\""
         << Rounded(kJoint) << "\"/>\n";
    }
    os << "</g>\n";
  }
}

// One column of names, from the joint that is highest to the lowest, none above another.
void Drawing::_printColumn(std::vector<Label> labels, double x, bool leftward, double top,
                           double bottom, std::ostream& os) {
  std::stable_sort(labels.begin(), labels.end(),
                   [](const Label& a, const Label& b) { return a.joint[1] < b.joint[1]; });
  double next = top + kLineHeight / 2;
  for (Label& label : labels) {
    label.y = std::max(next, label.joint[1]);
    next = label.y + kLineHeight;
  }
  double limit = bottom;
  for (std::size_t i = labels.size(); i-- > 0;) {
    labels[i].y = std::min(labels[i].y, limit);
    limit = labels[i].y - kLineHeight;
  }
  for (const Label& label : labels) {
    const double edge = leftward ? x - 2 : x + 2;
    os << "<path class=\"leader\" d=\"M" << PointText(label.joint) << "L" << PointText({x, label.y})
       << "\"/><text x=\"" << Rounded(edge) << "\" y=\"" << Rounded(label.y + 3) << "\""
       << (leftward ? " text-anchor=\"end\"" : "") << ">" << Escaped(label.text) << "</text>\n";
  }
}

void Drawing::_printLabels(const View& view, const Point2& origin, std::ostream& os) const {
  const double top = kHeading;
  const double bottom = kHeading + _height + kMargin;
  const auto rows = static_cast<std::size_t>((bottom - top) / kLineHeight);
  std::vector<Label> labels;
  for (const Joint& joint : _joints) {
    if (labels.size() == 2 * rows) break;
    const Point2 p = _project(view, joint.place);
    labels.push_back({joint.label, {origin[0] + p[0], origin[1] + p[1]}});
  }
  std::stable_sort(labels.begin(), labels.end(),
                   [](const Label& a, const Label& b) { return a.joint[0] < b.joint[0]; });
  const auto middle = labels.begin() + static_cast<std::ptrdiff_t>(labels.size() / 2);
  _printColumn({labels.begin(), middle}, origin[0] - kMargin, true, top, bottom, os);
  _printColumn({middle, labels.end()}, origin[0] + _widthOf(view) + kMargin, false, top, bottom,
               os);
  if (labels.size() == _joints.size()) return;
  os << "<text class=\"more\" x=\"" << Rounded(origin[0]) << "\" y=\"" << Rounded(bottom + 14)
     << "\">and " << _joints.size() - labels.size() << " more bodies without names</text>\n";
}

void Drawing::_printView(const View& view, double left, std::ostream& os) const {
  const Point2 origin = {left + _column + kMargin,
                         kHeading + kMargin / 2 + (_height - _heightOf(view)) / 2};
  os << "<g>\n<text class=\"view\" x=\"" << Rounded(origin[0] + _widthOf(view) / 2)
     << "\" y=\"20\">" << view.name << "</text>\n";
  _printOutline(view, origin, os);
  _printLabels(view, origin, os);
  _printBones(view, origin, os);
  os << "</g>\n";
}

void Drawing::printOn(std::ostream& os) const {
  double width = 0;
  for (const View& view : kViews) width += _widthOf(view) + 2 * (_column + kMargin);
  const double height = kHeading + _height + 3 * kMargin;
  os << R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" << Rounded(width) << R"(" height=")"
     << Rounded(height) << R"(" viewBox="0 0 )" << Rounded(width) << " " << Rounded(height) << R"(">
<style>
text { font: 9px sans-serif; fill: #333 }
.view { font-size: 14px; text-anchor: middle }
.more { fill: #888 }
.outline { fill: #d9e2ec; stroke: #7b8ea3; stroke-width: 0.8; fill-rule: evenodd }
.bones { fill: none; stroke: #b3541e; stroke-width: 1.6; stroke-linecap: round }
.mapped { fill: #b3541e }
.unmapped { fill: #fff; stroke: #b3541e }
.leader { fill: none; stroke: #333; stroke-width: 0.4; opacity: 0.35 }
</style>
<rect width="100%" height="100%" fill="#fff"/>
)";
  double left = 0;
  for (const View& view : kViews) {
    _printView(view, left, os);
    left += _widthOf(view) + 2 * (_column + kMargin);
  }
  os << "</svg>\n";
}

}  // namespace

void PrintSvg(const BaModel& model, const BaUnlockedMapping* mapping, std::ostream& os) {
  Drawing(model, mapping).printOn(os);
}

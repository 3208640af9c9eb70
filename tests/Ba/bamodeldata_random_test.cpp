// Random documents keep what they say: through writing and reading to the last byte, and through a
// model up to the rounding of angles.

#include <functional>
#include <map>

#include "Ba/modeltexts.h"

namespace {

enum class External { kNone, kBodies, kMaterials };

// Makes documents as they are written: every kind of section and list, in any number. Coordinates,
// weights and offsets are multiples of 1/8, so that sums of them are exact.
class RandomDocument {
 public:
  RandomDocument(unsigned seed, External external) : _random(seed), _external(external) {}

  std::string make() {
    _text = kDocumentHeader;
    if (_external == External::kBodies) _text += "BODIES: EXTERNAL\n";
    if (_external == External::kMaterials) _text += "MATERIALS: EXTERNAL\n";
    if (_below(2) == 0) _text += "COMBINE_VERTEX_NORMALS: false\n";
    _text += std::string("UNITS {\n  LENGTH: ") + _pick({"1 INCHES", "2.5 METERS"}) +
             "\n  ANGLE: " + _pick({"1 DEGREES", "10 DEGREES", "1 RADIANS", "0.125 RADIANS"}) +
             "\n}\n";
    _bodies = 1 + _below(6);
    for (int i = 0; i < _bodies && _external != External::kBodies; ++i) _addBody(i);
    for (int i = 0; i < kMaterials && _external != External::kMaterials; ++i) _addMaterial(i);
    for (int i = 0; i < kGroups; ++i) _addSliderGroup(i);
    const int sets = 1 + _below(6);
    for (int i = 0; i < sets; ++i) _addVertices(i);
    for (int i = 0; i < sets && _external != External::kBodies; ++i) _addGeometry(i);
    return _text;
  }

 private:
  static constexpr int kMaterials = 3;
  static constexpr int kGroups = 2;
  static constexpr int kSliders = 3;
  static constexpr int kCoords = 4;

  int _below(int limit) { return static_cast<int>(_random() % static_cast<unsigned>(limit)); }
  const char* _pick(std::initializer_list<const char*> choices) {
    return choices.begin()[_below(static_cast<int>(choices.size()))];
  }
  std::string _numbers(int count) {
    std::ostringstream os;
    for (int i = 0; i < count; ++i) {
      os << (i == 0 ? "" : " ") << static_cast<float>(_below(2001) - 1000) / 8;
    }
    return os.str();
  }
  std::string _name(const char* stem, int limit) { return stem + std::to_string(_below(limit)); }

  void _addBody(int i) {
    _text += "BODY {\n  NAME: b" + std::to_string(i) + "\n";
    // Ids need not follow the order of the bodies.
    if (_below(2) == 0) _text += "  ID: " + std::to_string(100 - 7 * i) + "\n";
    _text += "  COORDINATE_SYSTEM {\n    TRANSLATION: " + _numbers(3) +
             "\n    ROTATION: " + _numbers(3) + " " +
             _pick({"X Y Z", "X Z Y", "Y X Z", "Y Z X", "Z X Y", "Z Y X"}) +
             "\n  }\n  PARENT_NAME: " + (_below(i + 1) == 0 ? "GLOBAL" : _name("b", i)) + "\n}\n";
  }

  void _addMaterial(int i) {
    _text += "MATERIAL {\n  NAME: m" + std::to_string(i) + "\n";
    for (const char* colour : {"EMISSION", "AMBIENT", "DIFFUSE", "SPECULAR"}) {
      _text += std::string("  ") + colour + ": " + _numbers(3 * _below(2)) + "\n";
    }
    _text += "  SHININESS: " + _numbers(1) + "\n  ALPHA: " + _numbers(1) + "\n";
    for (int n = _below(3); n > 0; --n) {
      _text += "  TEXTURE {\n    NAME: " + _name("picture", 9) +
               ".png\n    UNIT: " + std::to_string(_below(3)) + "\n" +
               _pick({"", "    TYPE: CUBE_ENV\n", "    TYPE: 2D_ENV\n"}) +
               _pick({"", "    S_ATTRIBUTES: CLAMP\n"}) + _pick({"", "    T_ATTRIBUTES: any\n"}) +
               "  }\n";
    }
    _text += "}\n";
  }

  void _addSliderGroup(int i) {
    _text += "SLIDER_GROUP {\n  NAME: g" + std::to_string(i) + "\n  SLIDERS {\n";
    for (int k = 0; k < kSliders; ++k) _text += "    s" + std::to_string(k) + "\n";
    _text += "  }\n}\n";
  }

  void _addVertices(int set) {
    const int points = 3 + _below(20);
    _points.push_back(points);
    _text += "VERTICES {\n  NAME: v" + std::to_string(set) + "\n  COORDINATES {\n";
    for (int i = 0; i < points; ++i) {  // no two of all sets at one place
      _text += "    " + std::to_string(100 * set + i) + " " + _numbers(2) + "\n";
    }
    _text += "  }\n  EFFECTS {\n";
    const auto index = [this, points] { return " " + std::to_string(1 + _below(points)); };
    for (int n = _below(4); n > 0; --n) {
      _text += "    FLEX {\n      BODY: " + _name("b", _bodies) + "\n";
      _addList("      ", "WEIGHTS", [&] { return _numbers(1) + index(); });
      _text += "    }\n";
    }
    for (int n = _below(4); n > 0; --n) {
      _text += "    BLEND {\n      SLIDER_GROUP: " + _name("g", kGroups) +
               "\n      SLIDER_NAME: " + _name("s", kSliders) + "\n";
      _addList("      ", "VECTORS", [&] { return _numbers(3) + index(); });
      _text += "    }\n";
    }
    _text += "  }\n}\n";
  }

  // Several geometries may belong to one body.
  void _addGeometry(int set) {
    _text += "GEOMETRY {\n  BODY: " + _name("b", _bodies) + "\n  VERTICES: v" +
             std::to_string(set) + "\n  TEXTURE_COORDINATES {\n";
    for (int i = 0; i < kCoords; ++i) _text += "    " + _numbers(2) + "\n";
    _text += "  }\n";
    for (int n = _below(4); n > 0; --n) {
      _text += "  MATERIAL_GROUP {\n    MATERIAL: " + _name("m", kMaterials) + "\n";
      const auto plain = [this, set] { return _polygon(set, false); };
      const auto textured = [this, set] { return _polygon(set, true); };
      if (_below(2) == 0) _addList("    ", "BONES", [this] { return _numbers(6); });
      if (_below(2) == 0) _addList("    ", "POLYGONS", plain);
      if (_below(2) == 0) _addList("    ", "TEXTURED_POLYGONS", textured);
      if (_below(2) == 0) _addList("    ", "TRIANGLE_STRIPS", plain);
      if (_below(2) == 0) _addList("    ", "TEXTURED_TRIANGLE_STRIPS", textured);
      _text += "  }\n";
    }
    _text += "}\n";
  }

  void _addList(const std::string& indent, const char* key,
                const std::function<std::string()>& make_line) {
    _text += indent + key + " {\n";
    for (int n = 1 + _below(5); n > 0; --n) _text += indent + "  " + make_line() + "\n";
    _text += indent + "}\n";
  }

  // Different vertices of a set in a row.
  std::string _polygon(int set, bool textured) {
    const int points = _points[static_cast<std::size_t>(set)];
    const int first = _below(points);
    std::string line;
    for (int i = 0, corners = 3 + _below(points - 2); i < corners; ++i) {
      line += (i == 0 ? "" : " ") + std::to_string((first + i) % points + 1);
      if (textured) line += "/" + std::to_string(1 + _below(kCoords));
    }
    return line;
  }

  std::mt19937 _random;
  External _external;
  std::string _text;
  int _bodies = 0;
  std::vector<int> _points;  // how many, by vertex set
};

std::string TextOf(std::initializer_list<float> numbers) {
  std::string text;
  for (const float number : numbers) text += std::to_string(number) + " ";
  return text;
}

// Each vertex of a set with all that moves it, however its effects are ordered and split.
std::vector<std::string> VertexTexts(const BaMDVertices& set) {
  const auto count = static_cast<std::size_t>(set.coordinates().size());
  std::vector<std::map<BtStr, float>> weights(count);
  std::vector<std::map<BtStr, std::string>> offsets(count);
  for (const BaMDVertexEffects* effects : set.effects()) {
    if (const BaMDFlexVEffects* flex = effects->asFlex()) {
      for (const auto& [weight, vertex] : flex->weights()) {
        weights[static_cast<std::size_t>(vertex) - 1][flex->bodyName()] += weight;
      }
    } else {
      const BaMDBlendVEffects& blend = *effects->asBlend();
      for (const auto& [v, vertex] : blend.vectors()) {
        offsets[static_cast<std::size_t>(vertex) - 1]
               [blend.sliderGroup() + "/" + blend.sliderName()] += TextOf({v[0], v[1], v[2]});
      }
    }
  }
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < count; ++i) {
    const BaMDPoint& point = set.coordinates()[static_cast<int>(i)];
    std::string text = TextOf({point.x, point.y, point.z});
    for (const auto& [body, weight] : weights[i]) {
      text += std::string(body.view()) + " " + TextOf({weight});
    }
    for (const auto& [slider, vectors] : offsets[i]) {
      text += std::string(slider.view()) + " " + vectors;
    }
    texts.push_back(text + ",");
  }
  return texts;
}

// What a document draws, by body, material and kind of list, whatever the numbers of its vertices
// are and however it is split into geometries and groups.
std::map<std::string, std::string> Shapes(const BaModelData& data) {
  std::map<std::string, std::string> shapes;
  for (const BaMDGeometry* geometry : data.geometries()) {
    const BaMDVertices* set = data.vertexSetByName(geometry->verticesName());
    const auto vertices = set == nullptr ? std::vector<std::string>() : VertexTexts(*set);
    const auto corner = [&](int vertex) { return vertices[static_cast<std::size_t>(vertex) - 1]; };
    const auto textured_corner = [&](const BaMDTexturedCorner& c) {
      const BaTextureCoords& coords = geometry->textureCoords()[c.coord - 1];
      return corner(c.vertex) + TextOf({coords.u, coords.v});
    };
    for (const BaMDMaterialGroup* group : geometry->materialGroups()) {
      const std::string key((geometry->bodyName() + " " + group->material() + " ").view());
      const auto add = [&](const char* kind, const auto& lists, const auto& text_of) {
        for (int i = 0; i < lists.count(); ++i) {
          for (const auto& entry : lists[i]) shapes[key + kind] += text_of(entry);
          shapes[key + kind] += "\n";
        }
      };
      for (const auto& [from, to] : group->bones()) {
        shapes[key + "bones"] += TextOf({from.x, from.y, from.z, to.x, to.y, to.z}) + "\n";
      }
      add("polygons", group->polygons(), corner);
      add("textured polygons", group->texturedPolygons(), textured_corner);
      add("strips", group->triangleStrips(), corner);
      add("textured strips", group->texturedTriangleStrips(), textured_corner);
    }
  }
  return shapes;
}

void ExpectSameBodies(const BaModelData& a, const BaModelData& b) {
  ASSERT_EQ(a.bodies().count(), b.bodies().count());
  for (const BaMDBody* body : a.bodies()) {
    const BaMDBody* other = b.bodyByName(body->name());
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(body->parentName(), other->parentName());
    EXPECT_TRUE(!body->hasId() || body->id() == other->id());
    BtCoordSystem systems[2];
    a.getCoordSystem(*body, &systems[0]);
    b.getCoordSystem(*other, &systems[1]);
    EXPECT_EQ(systems[0].origin(), systems[1].origin());
    for (int i = 0; i < 9; ++i) {
      EXPECT_NEAR(systems[0].matrix()(i / 3, i % 3), systems[1].matrix()(i / 3, i % 3), 1e-6);
    }
  }
}

template <class Section>
std::string PrintAll(const BtList<Section*>& sections) {
  std::string text;
  for (const Section* section : sections) text += Print(*section);
  return text;
}

TEST(BaModelDataRandom, DocumentsComeBack) {
  constexpr unsigned kRounds = 400;
  for (unsigned seed = 0; seed < kRounds && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const External external = seed % 8 == 1   ? External::kBodies
                              : seed % 8 == 2 ? External::kMaterials
                                              : External::kNone;
    const std::string text = RandomDocument(seed, external).make();
    const Document data(text.substr(kDocumentHeader.size()));
    ASSERT_EQ(Print(data), text);
    if (external != External::kNone) continue;  // a model needs it all
    const FilledDocument again(ExtractedModel{data});
    EXPECT_EQ(TakePrinted(), "");
    EXPECT_EQ(again.combineVertexNormals(), data.combineVertexNormals());
    EXPECT_EQ(again.lengthUnits(), data.lengthUnits());
    EXPECT_EQ(again.angleUnits(), data.angleUnits());
    EXPECT_EQ(PrintAll(again.materials()), PrintAll(data.materials()));
    EXPECT_EQ(PrintAll(again.sliderGroups()), PrintAll(data.sliderGroups()));
    ExpectSameBodies(data, again);
    EXPECT_EQ(Shapes(again), Shapes(data));
  }
}

}  // namespace

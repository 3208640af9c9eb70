#include "fbxfacts.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <string_view>

#include "Ba/bamaterialattr.h"
#include "Bt/btexcept.h"
#include "Bt/bthash.h"
#include "bttextfile.h"
#include "fbxrecordreader.h"
#include "fbxslotelements.h"

namespace {

constexpr std::size_t kNone = FbxRecordFile::kNone;
constexpr int kFirstIdVersion = 7000;  // objects are known by id from here on, before by name

// What is connected to an object. Others may have it besides, but only one of them as its own.
struct Child {
  std::size_t object;
  bool is_own;
};

struct Object {
  std::size_t record;
  std::string_view class_name;  // "Model"
  std::string_view name;
  std::string_view kind;  // "LimbNode"
  bool is_connected = false;
  std::size_t parent = kNone;   // kNone for the scene
  std::string_view property;    // of the parent, that it is connected to
  std::vector<Child> children;  // in the order of their connections
  // What it is connected to besides, and by which property.
  std::vector<std::pair<std::size_t, std::string_view>> targets;
};

class FileGatherer {
 public:
  FileGatherer(const FbxRecordFile& records, FbxFacts* facts) : _file(records), _facts(facts) {}
  bool gather();

 private:
  [[nodiscard]] bool _hasIds() const { return _file.version() >= kFirstIdVersion; }
  [[nodiscard]] std::string _keyOf(const FbxReadValue& value) const;
  void _gatherHeader();
  void _gatherSceneInfo(std::size_t scene_info);
  void _gatherObjects();
  void _connect();
  void _gatherNodes();
  void _gatherNode(std::size_t object, int parent, int depth);
  bool _gatherMesh(const Object& model);
  void _gatherDeformers(const Object& owner, FbxMeshFacts* mesh) const;
  void _gatherDeformerPart(const Object& part, FbxMeshFacts* mesh) const;
  void _gatherTakes();
  void _gatherStack(const Object& stack, FbxTakeFacts* take) const;
  void _gatherCurves(const Object& curve_node, FbxTakeFacts* take) const;
  // Calls visit(index) for each child of this name.
  template <class Visit>
  void _forEachNamed(std::size_t parent, std::string_view name, Visit visit) const {
    _file.forEachChild(parent, [&](std::size_t i) {
      if (_file[i].name == name) visit(i);
    });
  }
  [[nodiscard]] std::string_view _textIn(std::size_t record) const {
    return _file.value(record, 0).bytes;
  }
  void _gatherTransform(std::size_t transform, const std::string& node, FbxTakeFacts* take) const;
  void _gatherChannels(std::size_t take_record, FbxTakeFacts* take) const;
  void _gatherChannel(std::size_t channel, const std::string& name, FbxTakeFacts* take) const;
  void _gatherMaterial(const Object& object);
  void _gatherTexture(const Object& object);
  bool _gatherUses();
  bool _gatherUsesOfMesh(const Object& model);
  [[nodiscard]] std::vector<std::size_t> _childrenOf(const Object& object,
                                                     std::string_view class_name) const;
  void _gatherVideo(const Object& object);
  void _gatherInfoObject(const Object& object) { _gatherSceneInfo(object.record); }
  void _gatherPose(const Object& object);
  [[nodiscard]] std::string_view _textOf(std::size_t parent, std::string_view name) const {
    return _file.value(_file.child(parent, name), 0).bytes;
  }
  // The numbers of a property, none where it is not written.
  [[nodiscard]] std::vector<double> _property(std::size_t object, std::string_view name) const;
  [[nodiscard]] Point _vector(std::size_t object, std::string_view name) const;

  const FbxRecordFile& _file;
  FbxFacts* _facts;
  std::vector<Object> _objects;
  BtHashMap<std::string, std::size_t> _by_key;
  std::map<std::size_t, std::set<std::string>> _uses;  // of textures
};

// The different pairs of what stands at one place. A list of one number has it at all places.
std::set<std::pair<double, double>> PairsOf(const std::vector<double>& a,
                                            const std::vector<double>& b) {
  std::set<std::pair<double, double>> pairs;
  if (a.empty() || b.empty()) return pairs;
  for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
    pairs.emplace(a[std::min(i, a.size() - 1)], b[std::min(i, b.size() - 1)]);
  }
  return pairs;
}

bool IsIndexOf(const std::vector<std::size_t>& list, double number) {
  return number >= 0 && number < static_cast<double>(list.size());
}

std::string_view NameOf(std::string_view text) { return text.substr(0, text.find('\0')); }

bool FileGatherer::gather() {
  struct Gatherer {
    std::string_view class_name;
    void (FileGatherer::*gather)(const Object& object);
  };
  static constexpr Gatherer kGatherers[] = {
      {"Material", &FileGatherer::_gatherMaterial}, {"Texture", &FileGatherer::_gatherTexture},
      {"Video", &FileGatherer::_gatherVideo},       {"SceneInfo", &FileGatherer::_gatherInfoObject},
      {"Pose", &FileGatherer::_gatherPose},
  };
  _facts->version = _file.version();
  _gatherHeader();
  _gatherObjects();
  _connect();
  _gatherNodes();
  _gatherTakes();
  if (!_gatherUses()) return false;
  for (const Object& object : _objects) {
    if (object.class_name == "Model" && object.kind == "Mesh" && !_gatherMesh(object)) return false;
    for (const auto& [class_name, gather] : kGatherers) {
      if (object.class_name == class_name) (this->*gather)(object);
    }
  }
  return true;
}

void FileGatherer::_gatherPose(const Object& object) {
  _file.forEachChild(object.record, [this](std::size_t i) {
    if (_file[i].name == "PoseNode") ++_facts->pose_nodes;
  });
}

std::string FileGatherer::_keyOf(const FbxReadValue& value) const {
  return _hasIds() ? std::to_string(value.integer) : std::string(value.bytes);
}

void FileGatherer::_gatherHeader() {
  _facts->creator = _textOf(kNone, "Creator");
  _facts->created = _textOf(kNone, "CreationTime");
  const std::size_t header = _file.child(kNone, "FBXHeaderExtension");
  if (header == kNone) return;
  if (const std::size_t info = _file.child(header, "SceneInfo"); info != kNone) {
    _gatherSceneInfo(info);
  }
}

void FileGatherer::_gatherSceneInfo(std::size_t scene_info) {
  const std::size_t data = _file.child(scene_info, "MetaData");
  if (data == kNone) return;
  for (const char* name : {"Title", "Subject", "Author", "Keywords", "Revision", "Comment"}) {
    const std::string_view text = _textOf(data, name);
    if (!text.empty()) _facts->info.emplace_back(name, text);
  }
}

void FileGatherer::_gatherObjects() {
  const std::size_t objects = _file.child(kNone, "Objects");
  if (objects == kNone) return;
  _file.forEachChild(objects, [this](std::size_t i) {
    const std::size_t name_at = _hasIds() ? 1 : 0;
    Object object = {i,
                     _file[i].name,
                     NameOf(_file.value(i, name_at).bytes),
                     _file.value(i, name_at + 1).bytes,
                     false,
                     kNone,
                     {},
                     {},
                     {}};
    const std::string kind = object.kind.empty() ? "" : " " + std::string(object.kind);
    ++_facts->objects[std::string(object.class_name) + kind];
    _by_key.try_emplace(_keyOf(_file.value(i, 0)), _objects.size());
    _objects.push_back(std::move(object));
  });
}

// Each object keeps the first parent that it is connected to, the scene too, so what comes out is
// a tree. Materials are connected to all meshes that they cover; clusters and display layers, to
// which nodes are connected besides, only refer to them.
void FileGatherer::_connect() {
  const std::size_t connections = _file.child(kNone, "Connections");
  if (connections == kNone) return;
  _file.forEachChild(connections, [this](std::size_t i) {
    const auto child = _by_key.find(_keyOf(_file.value(i, 1)));
    const auto parent = _by_key.find(_keyOf(_file.value(i, 2)));
    if (child == _by_key.end()) return;
    Object& object = _objects[child->second];
    const std::string_view property = _file.value(i, 3).bytes;
    const bool is_referred_to = object.class_name == "Model" && parent != _by_key.end() &&
                                _objects[parent->second].class_name != "Model";
    const bool is_first = !object.is_connected && !is_referred_to;
    if (is_first) object.is_connected = true;
    if (parent == _by_key.end()) return;
    _objects[parent->second].children.push_back({child->second, is_first});
    if (is_first) {
      object.parent = parent->second;
      object.property = property;
    } else {
      object.targets.emplace_back(parent->second, property);
    }
  });
}

void FileGatherer::_gatherNodes() {
  struct Waiting {
    std::size_t object;
    int parent;
    int depth;
  };
  std::vector<Waiting> waiting;
  for (std::size_t i = _objects.size(); i-- > 0;) {
    if (_objects[i].class_name == "Model" && _objects[i].parent == kNone) {
      waiting.push_back({i, -1, 0});
    }
  }
  while (!waiting.empty()) {
    const Waiting next = waiting.back();
    waiting.pop_back();
    _gatherNode(next.object, next.parent, next.depth);
    const int index = static_cast<int>(_facts->nodes.size()) - 1;
    const auto& children = _objects[next.object].children;
    for (std::size_t i = children.size(); i-- > 0;) {
      if (!children[i].is_own || _objects[children[i].object].class_name != "Model") continue;
      waiting.push_back({children[i].object, index, next.depth + 1});
    }
  }
}

void FileGatherer::_gatherNode(std::size_t object, int parent, int depth) {
  constexpr const char* kOrders[] = {"XYZ", "XZY", "YZX", "YXZ", "ZXY", "ZYX"};
  const std::size_t record = _objects[object].record;
  FbxNodeFacts node;
  node.record = record;
  node.name = _objects[object].name;
  node.kind = _objects[object].kind;
  node.parent = parent;
  node.depth = depth;
  node.translation = _vector(record, "Lcl Translation");
  node.pre_rotation = _vector(record, "PreRotation");
  node.rotation = _vector(record, "Lcl Rotation");
  if (_property(record, "Lcl Scaling").size() >= 3) node.scaling = _vector(record, "Lcl Scaling");
  const std::vector<double> order = _property(record, "RotationOrder");
  const double number = order.empty() ? 0 : order[0];
  node.rotation_order = number >= 0 && number < 6 ? kOrders[static_cast<int>(number)] : "other";
  _facts->nodes.push_back(std::move(node));
}

bool FileGatherer::_gatherMesh(const Object& model) {
  FbxMeshFacts mesh;
  mesh.name = model.name;
  const Object* geometry = &model;  // of the older family, which keeps it in the node
  for (const Child& child : model.children) {
    const Object& object = _objects[child.object];
    if (object.class_name == "Geometry" && child.is_own) geometry = &object;
    if (object.class_name == "Material") mesh.records.materials.emplace_back(object.name);
  }
  mesh.materials = static_cast<int>(mesh.records.materials.size());
  mesh.records.geometry = geometry->record;
  std::vector<double> numbers;
  if (!_file.numbers(_file.child(geometry->record, "Vertices"), &numbers)) return false;
  mesh.vertices = numbers.size() / 3;
  for (std::size_t i = 0; i + 2 < numbers.size(); i += 3) {
    mesh.box.add(Point{numbers[i], numbers[i + 1], numbers[i + 2]});
  }
  numbers.clear();
  if (!_file.numbers(_file.child(geometry->record, "PolygonVertexIndex"), &numbers)) return false;
  mesh.corners = numbers.size();
  mesh.polygons = static_cast<std::uint64_t>(
      std::count_if(numbers.begin(), numbers.end(), [](double index) { return index < 0; }));
  _file.forEachChild(geometry->record, [&](std::size_t i) {
    if (_file[i].name == "Shape") {
      mesh.records.shapes.emplace_back(NameOf(_file.value(i, 0).bytes), i);
    }
  });
  _gatherDeformers(*geometry, &mesh);
  for (const auto& shape : mesh.records.shapes) mesh.shapes.push_back(shape.first);
  _facts->meshes.push_back(std::move(mesh));
  return true;
}

void FileGatherer::_gatherDeformers(const Object& owner, FbxMeshFacts* mesh) const {
  for (const Child& deformer : owner.children) {
    if (!deformer.is_own || _objects[deformer.object].class_name != "Deformer") continue;
    for (const Child& part : _objects[deformer.object].children) {
      if (part.is_own) _gatherDeformerPart(_objects[part.object], mesh);
    }
  }
}

void FileGatherer::_gatherDeformerPart(const Object& part, FbxMeshFacts* mesh) const {
  const auto connected = [this, &part](std::string_view class_name) -> const Object* {
    for (const Child& child : part.children) {
      const Object& object = _objects[child.object];
      if (object.class_name == class_name && (child.is_own || class_name == "Model")) {
        return &object;
      }
    }
    return nullptr;
  };
  if (part.kind == "Cluster") {
    const Object* bone = connected("Model");
    ++mesh->clusters;
    mesh->weights += _file.numberCount(_file.child(part.record, "Weights"));
    mesh->records.clusters.push_back({std::string(bone == nullptr ? "" : bone->name), part.record});
  } else if (part.kind == "BlendShapeChannel") {
    const Object* shape = connected("Geometry");
    mesh->records.shapes.emplace_back(part.name, shape == nullptr ? kNone : shape->record);
  }
}

// Both families list the takes and when they are; the newer one keeps curves with the objects.
void FileGatherer::_gatherTakes() {
  const std::size_t takes = _file.child(kNone, "Takes");
  if (takes == kNone) return;
  _file.forEachChild(takes, [this](std::size_t i) {
    if (_file[i].name != "Take") return;
    FbxTakeFacts take;
    take.name = _file.value(i, 0).bytes;
    const std::size_t time = _file.child(i, "LocalTime");
    take.start = _file.value(time, 0).integer;
    take.stop = _file.value(time, 1).integer;
    _gatherChannels(i, &take);
    _facts->takes.push_back(std::move(take));
  });
  BtHashMap<std::string_view, std::size_t> by_name;
  for (std::size_t i = 0; i < _facts->takes.size(); ++i) {
    by_name.try_emplace(_facts->takes[i].name, i);
  }
  for (const Object& object : _objects) {
    if (object.class_name != "AnimationStack") continue;
    const auto take = by_name.find(object.name);
    if (take != by_name.end()) _gatherStack(object, &_facts->takes[take->second]);
  }
}

void FileGatherer::_gatherStack(const Object& stack, FbxTakeFacts* take) const {
  for (const Child& layer : stack.children) {
    if (!layer.is_own) continue;
    for (const Child& curve_node : _objects[layer.object].children) {
      if (curve_node.is_own) _gatherCurves(_objects[curve_node.object], take);
    }
  }
}

void FileGatherer::_gatherCurves(const Object& curve_node, FbxTakeFacts* take) const {
  if (curve_node.targets.empty()) return;
  const auto& [target, property] = curve_node.targets.front();
  const std::string name =
      std::string(_objects[target].name).append(" ").append(std::string(property));
  for (const Child& child : curve_node.children) {
    const Object& object = _objects[child.object];
    if (!child.is_own || object.class_name != "AnimationCurve") continue;
    const std::string_view axis =
        object.property.substr(std::min<std::size_t>(object.property.size(), 2));  // "d|X"
    FbxCurveFacts curve;
    curve.name = axis == property ? name : name + " " + std::string(axis);
    curve.times = _file.child(object.record, "KeyTime");
    curve.values = _file.child(object.record, "KeyValueFloat");
    take->curves.push_back(std::move(curve));
  }
}

// The curves of the older family: those of transforms stand below one channel, those of shapes
// beside it.
void FileGatherer::_gatherChannels(std::size_t take_record, FbxTakeFacts* take) const {
  _forEachNamed(take_record, "Model", [&](std::size_t model) {
    const std::string node(NameOf(_textIn(model)));
    _forEachNamed(model, "Channel", [&](std::size_t channel) {
      if (_textIn(channel) == "Transform") {
        _gatherTransform(channel, node, take);
      } else {
        _gatherChannel(channel, std::string(_textIn(channel)) + " DeformPercent", take);
      }
    });
  });
}

void FileGatherer::_gatherTransform(std::size_t transform, const std::string& node,
                                    FbxTakeFacts* take) const {
  _forEachNamed(transform, "Channel", [&](std::size_t channel) {
    const bool moves = _textIn(channel) == "T";
    const std::string name = node + (moves ? " Lcl Translation " : " Lcl Rotation ");
    _forEachNamed(channel, "Channel", [&](std::size_t axis) {
      _gatherChannel(axis, name + std::string(_textIn(axis)), take);
    });
  });
}

void FileGatherer::_gatherChannel(std::size_t channel, const std::string& name,
                                  FbxTakeFacts* take) const {
  const std::size_t keys = _file.child(channel, "Key");
  take->curves.push_back(
      {name, _file.value(_file.child(channel, "Default"), 0).number, keys, keys});
}

void FileGatherer::_gatherMaterial(const Object& object) {
  FbxMaterialFacts material;
  material.name = object.name;
  const auto add = [&](const char* name) {
    const std::vector<double> values = _property(object.record, name);
    if (!values.empty()) material.properties.emplace_back(name, values);
  };
  for (const Ba_MatAttrInfo& attribute : kBaMatAttrs) {
    if (attribute.fbx_property != nullptr) add(attribute.fbx_property);
  }
  for (const char* name : {"TransparencyFactor", "ReflectionFactor"}) add(name);
  _facts->materials.push_back(std::move(material));
}

void FileGatherer::_gatherTexture(const Object& object) {
  FbxTextureFacts texture;
  texture.name = object.name;
  texture.file = _textOf(object.record, "FileName");
  if (object.parent != kNone) texture.target = _objects[object.parent].name;
  texture.property = object.property;
  texture.uses = _uses[static_cast<std::size_t>(&object - _objects.data())];
  _facts->textures.push_back(std::move(texture));
}

// The newer family connects textures to materials.
bool FileGatherer::_gatherUses() {
  for (std::size_t i = 0; i < _objects.size(); ++i) {
    const Object& object = _objects[i];
    const bool is_mesh = object.class_name == "Model" && object.kind == "Mesh";
    if (is_mesh && !_hasIds() && !_gatherUsesOfMesh(object)) return false;
    if (object.class_name != "Texture") continue;
    const auto add = [&](std::size_t target, std::string_view property) {
      if (target == kNone || _objects[target].class_name != "Material") return;
      _uses[i].insert(std::string(_objects[target].name).append(" ").append(property));
    };
    add(object.parent, object.property);
    for (const auto& [target, property] : object.targets) add(target, property);
  }
  return true;
}

std::vector<std::size_t> FileGatherer::_childrenOf(const Object& object,
                                                   std::string_view class_name) const {
  std::vector<std::size_t> children;
  for (const Child& child : object.children) {
    if (_objects[child.object].class_name == class_name) children.push_back(child.object);
  }
  return children;
}

// The older family connects textures to meshes, whose polygons number them and the materials.
bool FileGatherer::_gatherUsesOfMesh(const Object& model) {
  const std::vector<std::size_t> textures = _childrenOf(model, "Texture");
  if (textures.empty()) return true;
  const std::vector<std::size_t> materials = _childrenOf(model, "Material");
  const auto read = [&](std::string_view element, std::string_view list,
                        std::vector<double>* numbers) {
    const std::size_t layer = _file.child(model.record, element);
    return layer == kNone || _file.numbers(_file.child(layer, list), numbers);
  };
  std::vector<double> of_polygons;
  if (!read("LayerElementMaterial", "Materials", &of_polygons)) return false;
  for (const FbxSlotElement& slot : kFbxSlotElements) {
    std::vector<double> shown;
    if (!read(slot.element, "TextureId", &shown)) return false;
    for (const auto& [texture, material] : PairsOf(shown, of_polygons)) {
      if (!IsIndexOf(textures, texture) || !IsIndexOf(materials, material)) continue;
      const Object& shows = _objects[materials[static_cast<std::size_t>(material)]];
      _uses[textures[static_cast<std::size_t>(texture)]].insert(
          std::string(shows.name).append(" ").append(slot.slot));
    }
  }
  return true;
}

void FileGatherer::_gatherVideo(const Object& object) {
  FbxVideoFacts video;
  video.name = object.name;
  video.file = _textOf(object.record, "Filename");
  const std::string_view content = _textOf(object.record, "Content");
  video.embedded_bytes = content.size();
  video.hash = std::hash<std::string_view>{}(content);
  _facts->videos.push_back(std::move(video));
}

std::vector<double> FileGatherer::_property(std::size_t object, std::string_view name) const {
  std::vector<double> values;
  std::size_t properties = _file.child(object, "Properties70");
  if (properties == kNone) properties = _file.child(object, "Properties60");
  if (properties == kNone) return values;
  _file.forEachChild(properties, [&](std::size_t i) {
    if (!values.empty() || _file.value(i, 0).bytes != name) return;
    FbxValueCursor cursor(_file[i].values);
    FbxReadValue value;
    while (cursor.next(&value)) {
      if (value.code != 'S' && value.code != 'R') values.push_back(value.number);
    }
  });
  return values;
}

Point FileGatherer::_vector(std::size_t object, std::string_view name) const {
  const std::vector<double> values = _property(object, name);
  if (values.size() < 3) return {};
  return {values[0], values[1], values[2]};
}

// The whole text of a file; false after a recorded error.
bool ReadBytes(const std::string& file_name, std::string* bytes) {
  BtInputFile file(file_name.c_str());
  if (!file.isOpen()) return BtFail("Unable to open '%s'.", file_name.c_str());
  bytes->assign(std::istreambuf_iterator<char>(file.stream()), {});
  if (file.close()) return true;
  return BtFail("Unable to read '%s'.", file_name.c_str());
}

}  // namespace

bool ReadFbxContents(const std::string& file, FbxContents* contents) {
  std::string bytes;
  if (!ReadBytes(file, &bytes)) return false;
  contents->facts.file = file;
  contents->facts.bytes = bytes.size();
  return contents->records.read(std::move(bytes)) &&
         FileGatherer(contents->records, &contents->facts).gather();
}

bool ReadFbxFacts(const std::string& file, FbxFacts* facts) {
  FbxContents contents;
  if (!ReadFbxContents(file, &contents)) return false;
  *facts = std::move(contents.facts);
  return true;
}

bool GatherFbxFacts(std::string bytes, FbxFacts* facts) {
  facts->bytes = bytes.size();
  FbxRecordFile records;
  return records.read(std::move(bytes)) && FileGatherer(records, facts).gather();
}

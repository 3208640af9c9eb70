#include "fbxfacts.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "Ba/bamaterialattr.h"
#include "Bt/btexcept.h"
#include "Bt/bthash.h"
#include "bttextfile.h"
#include "fbxrecordreader.h"

namespace {

constexpr std::size_t kNone = FbxRecordFile::kNone;
constexpr int kFirstIdVersion = 7000;  // objects are known by id from here on, before by name

struct Object {
  std::size_t record;
  std::string_view class_name;  // "Model"
  std::string_view name;
  std::string_view kind;  // "LimbNode"
  std::size_t parent = kNone;
  std::string_view property;          // of the parent, that it is connected to
  std::vector<std::size_t> children;  // in the order of their connections
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
  void _gatherMaterial(const Object& object);
  void _gatherTexture(const Object& object);
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
};

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
                     kNone,
                     {},
                     {}};
    const std::string kind = object.kind.empty() ? "" : " " + std::string(object.kind);
    ++_facts->objects[std::string(object.class_name) + kind];
    _by_key.try_emplace(_keyOf(_file.value(i, 0)), _objects.size());
    _objects.push_back(std::move(object));
  });
}

// Each object keeps the first parent that it is connected to, so what comes out is a tree. Nodes
// stand under nodes: clusters and display layers, to which they are connected as well, only refer
// to them, and the root, which has the first word for a node at the top, is no object.
void FileGatherer::_connect() {
  const std::size_t connections = _file.child(kNone, "Connections");
  if (connections == kNone) return;
  _file.forEachChild(connections, [this](std::size_t i) {
    const auto child = _by_key.find(_keyOf(_file.value(i, 1)));
    const auto parent = _by_key.find(_keyOf(_file.value(i, 2)));
    if (child == _by_key.end() || parent == _by_key.end()) return;
    Object& object = _objects[child->second];
    if (object.parent != kNone) return;
    if (object.class_name == "Model" && _objects[parent->second].class_name != "Model") return;
    object.parent = parent->second;
    object.property = _file.value(i, 3).bytes;
    _objects[parent->second].children.push_back(child->second);
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
      if (_objects[children[i]].class_name != "Model") continue;
      waiting.push_back({children[i], index, next.depth + 1});
    }
  }
}

void FileGatherer::_gatherNode(std::size_t object, int parent, int depth) {
  constexpr const char* kOrders[] = {"XYZ", "XZY", "YZX", "YXZ", "ZXY", "ZYX"};
  const std::size_t record = _objects[object].record;
  FbxNodeFacts node;
  node.name = _objects[object].name;
  node.kind = _objects[object].kind;
  node.parent = parent;
  node.depth = depth;
  node.translation = _vector(record, "Lcl Translation");
  node.pre_rotation = _vector(record, "PreRotation");
  const std::vector<double> order = _property(record, "RotationOrder");
  const double number = order.empty() ? 0 : order[0];
  node.rotation_order = number >= 0 && number < 6 ? kOrders[static_cast<int>(number)] : "other";
  _facts->nodes.push_back(std::move(node));
}

bool FileGatherer::_gatherMesh(const Object& model) {
  FbxMeshFacts mesh;
  mesh.name = model.name;
  const Object* geometry = &model;  // of the older family, which keeps it in the node
  for (const std::size_t child : model.children) {
    if (_objects[child].class_name == "Geometry") geometry = &_objects[child];
    if (_objects[child].class_name == "Material") ++mesh.materials;
  }
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
    if (_file[i].name == "Shape") mesh.shapes.emplace_back(NameOf(_file.value(i, 0).bytes));
  });
  _gatherDeformers(*geometry, &mesh);
  _facts->meshes.push_back(std::move(mesh));
  return true;
}

void FileGatherer::_gatherDeformers(const Object& owner, FbxMeshFacts* mesh) const {
  for (const std::size_t i : owner.children) {
    if (_objects[i].class_name != "Deformer") continue;
    for (const std::size_t k : _objects[i].children) {
      if (_objects[k].kind == "Cluster") {
        ++mesh->clusters;
        mesh->weights += _file.numberCount(_file.child(_objects[k].record, "Weights"));
      } else if (_objects[k].kind == "BlendShapeChannel") {
        mesh->shapes.emplace_back(_objects[k].name);
      }
    }
  }
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
  _facts->textures.push_back(std::move(texture));
}

void FileGatherer::_gatherVideo(const Object& object) {
  FbxVideoFacts video;
  video.name = object.name;
  video.file = _textOf(object.record, "Filename");
  video.embedded_bytes = _textOf(object.record, "Content").size();
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

bool ReadFbxFacts(const std::string& file, FbxFacts* facts) {
  std::string bytes;
  if (!ReadBytes(file, &bytes)) return false;
  facts->file = file;
  return GatherFbxFacts(std::move(bytes), facts);
}

bool GatherFbxFacts(std::string bytes, FbxFacts* facts) {
  facts->bytes = bytes.size();
  FbxRecordFile records;
  return records.read(std::move(bytes)) && FileGatherer(records, facts).gather();
}

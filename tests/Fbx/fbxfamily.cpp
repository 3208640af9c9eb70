#include "fbxfamily.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

std::string Named(const std::string& name, const std::string& type) {
  return name + std::string("\0\1", 2) + type;
}

std::string Family::key(const FbxValue& value) const {
  return has_ids ? std::to_string(value.integer) : value.bytes;
}

std::string Family::root() const { return has_ids ? "0" : Named("Scene", "Model"); }

std::string Family::name(const FbxRecord& object) const { return object.text(has_ids ? 1 : 0); }

std::string Family::subtype(const FbxRecord& object) const { return object.text(has_ids ? 2 : 1); }

std::vector<double> Family::property(const FbxRecord& object, const std::string& wanted) const {
  const FbxRecord& list = object.child(has_ids ? "Properties70" : "Properties60");
  for (const FbxRecord& row : list.children) {
    if (row.text(0) == wanted) return row.numbers();
  }
  return {};
}

const FbxRecord& Family::object(const FbxFile& file, const std::string& wanted) const {
  for (const FbxRecord& record : file.main.child("Objects").children) {
    if (record.name != "GlobalSettings" && name(record) == wanted) return record;
  }
  ADD_FAILURE() << "no object " << wanted;
  return file.main;
}

std::multimap<std::string, std::string> Family::connections(const FbxFile& file) const {
  std::multimap<std::string, std::string> pairs;
  for (const FbxRecord& record : file.main.child("Connections").children) {
    pairs.emplace(key(record.values.at(1)), key(record.values.at(2)));
  }
  return pairs;
}

void ExpectSoundObjects(const Family& family, const FbxFile& file) {
  std::map<std::string, std::int64_t> counts;
  std::set<std::string> keys = {family.root()};
  for (const FbxRecord& object : file.main.child("Objects").children) {
    ++counts[object.name];
    if (object.name == "GlobalSettings" || object.name == "SceneInfo") continue;
    EXPECT_TRUE(keys.insert(family.key(object.values.at(0))).second) << family.name(object);
  }
  if (family.has_ids) counts["GlobalSettings"] = 1;
  const FbxRecord& definitions = file.main.child("Definitions");
  std::map<std::string, std::int64_t> defined;
  std::int64_t sum = 0;
  for (const FbxRecord* type : definitions.all("ObjectType")) {
    sum += defined[type->text()] = type->child("Count").integer();
  }
  EXPECT_EQ(defined, counts);
  EXPECT_EQ(definitions.child("Count").integer(), sum);

  std::set<std::string> connected = {family.root()};
  for (const auto& [child, parent] : family.connections(file)) {
    EXPECT_TRUE(keys.contains(child) && keys.contains(parent)) << child << " > " << parent;
    connected.insert(child);
  }
  for (const FbxRecord* pose : file.main.child("Objects").all("Pose")) {
    const auto nodes = pose->all("PoseNode");
    EXPECT_EQ(pose->child("NbPoseNodes").integer(), std::ssize(nodes));
    for (const FbxRecord* node : nodes) {
      EXPECT_TRUE(keys.contains(family.key(node->child("Node").values.at(0))));
    }
    connected.insert(family.key(pose->values.at(0)));
  }
  EXPECT_EQ(connected, keys);  // nothing lies about
}

namespace {

using Globals = std::map<std::string, KFbxXMatrix>;  // by key

KFbxXMatrix LocalFromProperties(const Family& family, const FbxRecord& model) {
  const auto vector = [&](const char* name) {
    const auto n = family.property(model, name);
    return n.empty() ? KFbxVector4(0, 0, 0) : KFbxVector4(n[0], n[1], n[2]);
  };
  const auto order = family.property(model, "RotationOrder");
  return KFbxXMatrix::Translation(vector("Lcl Translation")) *
         KFbxXMatrix::Rotation(vector("PreRotation")) *
         KFbxXMatrix::Rotation(vector("Lcl Rotation"),
                               static_cast<EFbxRotationOrder>(order.empty() ? 0 : order[0]));
}

// From the properties of the file's models alone. Parents stand before their children.
Globals GlobalsFromProperties(const Family& family, const FbxFile& file) {
  const auto connections = family.connections(file);
  Globals globals = {{family.root(), KFbxXMatrix()}};
  for (const FbxRecord* model : file.main.child("Objects").all("Model")) {
    const std::string key = family.key(model->values.at(0));
    const auto [first, last] = connections.equal_range(key);
    const auto parent =
        std::find_if(first, last, [&](const auto& pair) { return globals.contains(pair.second); });
    globals.emplace(key, globals.at(parent->second) * LocalFromProperties(family, *model));
  }
  return globals;
}

KFbxXMatrix MatrixOf(const std::vector<double>& values) {
  KFbxXMatrix matrix;
  for (int i = 0; i < 16; ++i) matrix.Set(i / 4, i % 4, values.at(static_cast<std::size_t>(i)));
  return matrix;
}

// The clusters and skins of a file, with what they are connected to.
class SkinCheck {
 public:
  SkinCheck(const Family& family, const FbxFile& file)
      : _family(family),
        _connections(family.connections(file)),
        _globals(GlobalsFromProperties(family, file)) {
    for (const auto& [child, parent] : _connections) {
      if (_globals.contains(child)) _models_under.emplace(parent, child);
    }
  }

  void check(const FbxRecord& cluster) {
    const std::string key = _family.key(cluster.values.at(0));
    const std::string skin = _connections.find(key)->second;
    ASSERT_EQ(_models_under.count(key), 1U);
    const KFbxXMatrix link = MatrixOf(cluster.child("TransformLink").numbers());
    ExpectNear(_globals.at(_models_under.find(key)->second),
               cluster.child("TransformLink").numbers());
    const auto mesh = (link * MatrixOf(cluster.child("Transform").numbers())).Values();
    ExpectNear(_globals.at(_meshOf(skin)), {mesh.begin(), mesh.end()});
    const std::vector<double> points = cluster.child("Indexes").numbers();
    const std::vector<double> weights = cluster.child("Weights").numbers();
    ASSERT_EQ(points.size(), weights.size());
    for (std::size_t i = 0; i < points.size(); ++i) _sums[skin][points[i]] += weights[i];
  }

  void checkSums() const {
    for (const auto& [skin, sums] : _sums) {
      for (const auto& [point, sum] : sums) EXPECT_NEAR(sum, 1, 1e-6) << skin << " " << point;
      EXPECT_EQ(sums.rbegin()->first, static_cast<double>(sums.size() - 1)) << "points left out";
    }
  }

  [[nodiscard]] const Globals& globals() const { return _globals; }

 private:
  // Older files hang the skin on the model, newer ones on its geometry.
  [[nodiscard]] std::string _meshOf(const std::string& skin) const {
    const std::string owner = _connections.find(skin)->second;
    return _globals.contains(owner) ? owner : _connections.find(owner)->second;
  }

  const Family& _family;
  std::multimap<std::string, std::string> _connections;
  std::multimap<std::string, std::string> _models_under;
  Globals _globals;
  std::map<std::string, std::map<double, double>> _sums;  // of weights, by skin and point
};

}  // namespace

int ExpectAgreeingTransforms(const Family& family, const FbxFile& file) {
  SkinCheck skins(family, file);
  for (const FbxRecord* pose : file.main.child("Objects").all("Pose")) {
    for (const FbxRecord* node : pose->all("PoseNode")) {
      const auto key = family.key(node->child("Node").values.at(0));
      ExpectNear(skins.globals().at(key), node->child("Matrix").numbers());
    }
  }
  int clusters = 0;
  for (const FbxRecord* deformer : file.main.child("Objects").all("Deformer")) {
    if (family.subtype(*deformer) != "Cluster") continue;
    skins.check(*deformer);
    ++clusters;
  }
  skins.checkSums();
  return clusters;
}

void ExpectNear(const KFbxXMatrix& a, const std::vector<double>& b) {
  ASSERT_EQ(b.size(), 16U);
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_NEAR(a.Values()[i], b[i], 1e-9 * std::max(1.0, std::fabs(b[i]))) << i;
  }
}

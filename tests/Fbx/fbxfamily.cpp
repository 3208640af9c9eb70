#include "fbxfamily.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

std::string Named(const std::string& name, const std::string& type) {
  return name + std::string("\0\1", 2) + type;
}

std::string Family::key(const FbxRecord& record, std::size_t i) const {
  return has_ids ? std::to_string(record.integer(i)) : record.text(i);
}

std::string Family::root() const { return has_ids ? "0" : Named("Scene", "Model"); }
std::string Family::name(const FbxRecord& object) const { return object.text(has_ids ? 1 : 0); }
std::string Family::subtype(const FbxRecord& object) const { return object.text(has_ids ? 2 : 1); }

std::vector<double> Family::property(const FbxRecord& object, const std::string& wanted) const {
  const FbxRecord& list = object.child(has_ids ? "Properties70" : "Properties60");
  for (const FbxRecord& row : list.children) {
    if (row.text(0) == wanted) return row.numbers;
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
    pairs.emplace(key(record, 1), key(record, 2));
  }
  return pairs;
}

void ExpectSoundObjects(const Family& family, const FbxFile& file) {
  std::map<std::string, std::int64_t> counts;
  std::set<std::string> keys = {family.root()};
  for (const FbxRecord& object : file.main.child("Objects").children) {
    // Clusters and channels are counted apart from what they belong to.
    const bool is_part = object.name == "Deformer" && family.name(object).ends_with("SubDeformer");
    ++counts[is_part ? "SubDeformer" : object.name];
    if (object.name == "GlobalSettings" || object.name == "SceneInfo") continue;
    EXPECT_TRUE(keys.insert(family.key(object)).second) << family.name(object);
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
      EXPECT_TRUE(keys.contains(family.key(node->child("Node"))));
    }
    connected.insert(family.key(*pose));
  }
  for (const char* top : {"AnimationStack", "CollectionExclusive"}) {
    for (const FbxRecord* object : file.main.child("Objects").all(top)) {
      connected.insert(family.key(*object));
    }
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
    const std::string key = family.key(*model);
    const auto [first, last] = connections.equal_range(key);
    const auto parent =
        std::find_if(first, last, [&](const auto& pair) { return globals.contains(pair.second); });
    globals.emplace(key, globals.at(parent->second) * LocalFromProperties(family, *model));
  }
  return globals;
}

KFbxXMatrix MatrixOf(const std::vector<double>& values) {
  KFbxXMatrix matrix;
  for (int i = 0; i < 12; ++i) {
    const int place = i / 3 * 4 + i % 3;
    matrix.Set(i / 3, i % 3, values.at(static_cast<std::size_t>(place)));
  }
  return matrix;
}

}  // namespace

int ExpectAgreeingTransforms(const Family& family, const FbxFile& file) {
  const FbxRecord& objects = file.main.child("Objects");
  const auto connections = family.connections(file);
  const Globals globals = GlobalsFromProperties(family, file);
  for (const FbxRecord* pose : objects.all("Pose")) {
    for (const FbxRecord* node : pose->all("PoseNode")) {
      ExpectNear(globals.at(family.key(node->child("Node"))), node->child("Matrix").numbers);
    }
  }
  std::map<std::string, std::vector<KFbxXMatrix>> models_under;
  for (const auto& [child, parent] : connections) {
    if (globals.contains(child)) models_under[parent].push_back(globals.at(child));
  }
  int clusters = 0;
  std::map<std::string, std::map<double, double>> sums;  // of weights, by skin and point
  for (const FbxRecord* cluster : objects.all("Deformer")) {
    if (family.subtype(*cluster) != "Cluster") continue;
    ++clusters;
    const std::string key = family.key(*cluster);
    const std::vector<double>& link = cluster->child("TransformLink").numbers;
    EXPECT_EQ(models_under[key].size(), 1U);
    ExpectNear(models_under[key].at(0), link);
    // Older files hang the skin on the model, newer ones on its geometry.
    const std::string skin = connections.find(key)->second;
    const std::string owner = connections.find(skin)->second;
    const std::string mesh = globals.contains(owner) ? owner : connections.find(owner)->second;
    const auto placed = (MatrixOf(link) * MatrixOf(cluster->child("Transform").numbers)).Values();
    ExpectNear(globals.at(mesh), {placed.begin(), placed.end()});
    const std::vector<double>& points = cluster->child("Indexes").numbers;
    const std::vector<double>& weights = cluster->child("Weights").numbers;
    EXPECT_EQ(points.size(), weights.size());
    for (std::size_t i = 0; i < points.size(); ++i) sums[skin][points[i]] += weights.at(i);
  }
  for (const auto& [skin, sums_of_points] : sums) {
    for (const auto& [point, sum] : sums_of_points) EXPECT_NEAR(sum, 1, 1e-6) << skin << point;
    EXPECT_EQ(sums_of_points.rbegin()->first, static_cast<double>(sums_of_points.size() - 1))
        << "points left out";
  }
  return clusters;
}

void ExpectNear(const KFbxXMatrix& a, const std::vector<double>& b) {
  ASSERT_EQ(b.size(), 16U);
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_NEAR(a.Values()[i], b[i], 1e-9 * std::max(1.0, std::fabs(b[i]))) << i;
  }
}

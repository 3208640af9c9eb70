// Edits in random order on random models: the model holds together after each one, and what is
// written comes back.

#include <algorithm>
#include <set>

#include "Ba/modeltexts.h"
#include "Bt/btgeoobj.h"

namespace {

// A model and its edits, the same ones for the same seed.
class RandomEdits {
 public:
  explicit RandomEdits(unsigned seed) : _random(seed) {
    addMaterial();
    addBody();
  }
  [[nodiscard]] const BaModel& model() const { return _model; }
  void edit() {
    using E = RandomEdits;
    static constexpr void (E::*kEdits[])() = {
        &E::addBody,          &E::createBody,         &E::changeBodyId,
        &E::changeBodyIds,    &E::swapBodyIds,        &E::removeBody,
        &E::triangulateBody,  &E::addMaterial,        &E::removeUnusedMaterials,
        &E::addBone,          &E::removeBones,        &E::addSliderGroups,
        &E::addPolygon,       &E::addTexturedPolygon, &E::addTMesh,
        &E::addTexturedTMesh, &E::addFlexiblePolygon, &E::addMuscle,
        &E::addLights};
    (this->*kEdits[_below(static_cast<int>(std::size(kEdits)))])();
  }

 private:
  int _below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(_random); }
  [[nodiscard]] std::vector<int> _bodyIds(int lowest) const {
    std::vector<int> ids;
    for (const auto& body : _model.bodies()) {
      if (body != nullptr && body->id() >= lowest) ids.push_back(body->id());
    }
    return ids;
  }
  int _bodyId(int lowest = 1) {
    const std::vector<int> ids = _bodyIds(lowest);
    return ids.empty() ? 0 : ids[static_cast<std::size_t>(_below(static_cast<int>(ids.size())))];
  }
  BaBody* _body() { return _model.findBody(_bodyId()); }
  int _freeId() {
    int id = 1 + _below(60);
    while (_model.findBody(id) != nullptr) ++id;
    return id;
  }
  int _materialId() { return _model.materials()[_below(_model.materials().count())]->id(); }
  BtStr _newName() { return BtFormat("n%d", _n_names++); }
  // A quarter turn and a short offset: products of a few are exact as text, too.
  Bt4X4FloatMat _transform() {
    Bt4X4FloatMat matrix;
    matrix(0, 0) = matrix(1, 1) = 0;
    matrix(0, 1) = 1;
    matrix(1, 0) = -1;
    matrix(3, _below(3)) = static_cast<float>(_below(64)) / 8;
    return matrix;
  }
  std::string _ids() { return std::to_string(_bodyId()) + " " + std::to_string(_materialId()); }
  // What follows the ids of a polygon or mesh: corners with `before` in front, some with effects.
  std::string _corners(const std::string& between, const std::string& before) {
    const int n = 3 + _below(6);
    std::string text = " " + std::to_string(n) + between;
    for (int i = 0; i < n; ++i) {
      text += before + std::to_string(i) + " " + std::to_string(i * i % 7) + " 0.5 ";
      if (_below(3) == 0) text += "2 0.25 ";
      for (int k = _below(3); k > 0; --k) text += "3 0.125 " + std::to_string(_bodyId()) + " ";
      text += _below(9) == 0 ? "1 1 2 3 4 5 6 -1 " : "-1 ";
    }
    return text;
  }

  void addBody() {
    BaBody body;
    body.setId(_freeId());
    body.setName(_newName());
    body.setParentId(_bodyId(0));
    body.setTransform(_transform());
    _model.addBody(body);
  }
  void createBody() {
    Bt_GeoObj shape;
    for (const float i : {0.0F, 1.0F, 2.0F, 3.0F}) shape.addVertex({i, 1, i * i});
    shape.addTriangle(0, 1, 2);
    shape.addStrip(std::array{3, 2, 1, 0});
    _model.createBody(_freeId(), _bodyId(0), _newName(), _transform(), _materialId(), shape);
  }
  void changeBodyId() { _model.changeBodyId(_bodyId(), _freeId()); }
  void swapBodyIds() { _model.swapBodyIds(_bodyId(), _bodyId()); }
  void changeBodyIds() {
    const std::vector<int> old_ids = _bodyIds(1);
    std::set<int> ids(old_ids.begin(), old_ids.end());
    for (int k = _below(4); k > 0; --k) ids.insert(_freeId());
    std::vector<int> new_ids(ids.begin(), ids.end());
    std::shuffle(new_ids.begin(), new_ids.end(), _random);
    BtMap<int, int> changes;
    for (std::size_t i = 0; i < old_ids.size(); ++i) changes.insert(old_ids[i], new_ids[i]);
    _model.changeBodyIds(changes);
  }
  void removeBody() {
    if (_bodyIds(1).size() > 3) _model.removeBody(_body());
  }
  void triangulateBody() { _model.triangulateBody(_body()); }
  void addMaterial() {
    BaMaterial material;
    material.setId(100 + _n_names);
    material.setName(_newName());
    material.addDiffuseAttribute()->setRGB(0.5F, 0.25F, 1);
    _model.addMaterial(material);
  }
  void removeUnusedMaterials() {
    _model.removeUnusedMaterials(_model.flexiblePolygons().empty());
    if (_model.materials().empty()) addMaterial();
  }
  void addBone() { _model.addBone(Scanned<BaBone>(_ids() + " 0 0 0 1 1 1")); }
  void removeBones() {
    if (_below(8) != 0) return;
    _model.removeBones();
    EXPECT_TRUE(_model.bones().empty());
  }
  void addSliderGroups() {
    BaMDSliderGroup group;
    group.setName(BtFormat("g%d", _below(4)));
    group.addSlider(BtFormat("s%d", _below(4)));
    _model.addSliderGroups({&group});
  }
  void addPolygon() {
    auto polygon = Scanned<BaPolygon>(_ids() + _corners(" ", ""));
    if (_model.sliderGroups().count() > 0) {
      auto blend = std::make_unique<BaVertexBlendEffect>();
      blend->slider_group = _model.sliderGroups()[0]->name();
      blend->slider_name = _model.sliderGroups()[0]->sliders().last();
      polygon.vertices()[0].effects().add(std::move(blend));
    }
    _model.addBodyPolygon(polygon.bodyId(), polygon);
  }
  void addTexturedPolygon() {
    auto polygon = Scanned<BaTexturedPolygon>(_ids() + _corners(" ", "0.5 0.25 "));
    polygon.setSFlag(_below(2));
    _model.addBodyTexturedPolygon(polygon.bodyId(), polygon);
  }
  void addTMesh() {
    const auto mesh = Scanned<BaTMesh>(_ids() + _corners(" ", "0 "));
    _model.addBodyTMesh(mesh.bodyId(), mesh);
  }
  void addTexturedTMesh() {
    const auto mesh = Scanned<BaTexturedTMesh>(_ids() + _corners(" ", "0.5 0.25 1 "));
    _model.addBodyTexturedTMesh(mesh.bodyId(), mesh);
  }
  void addFlexiblePolygon() {
    const std::string other = " " + std::to_string(_bodyId()) + " ";
    const auto polygon = Scanned<BaFlexiblePolygon>(_ids() + _corners(other, "1 "));
    _model.addBodyFlexiblePolygon(polygon.bodyId(), polygon);
  }
  void addMuscle() {
    std::string ids;
    for (int k = _below(4); k > 0; --k) ids += std::to_string(_bodyId()) + " ";
    _model.addMuscle(Scanned<BaMuscle>(std::to_string(_materialId()) + " muscle\n" + ids + "\n"));
  }
  void addLights() {
    BaLight light;
    light.setId(_n_names++);
    _model.addLight(light);
    BaLightingModel lighting_model;
    lighting_model.setId(_n_names++);
    _model.addLightingModel(lighting_model);
  }

  BaModel _model;
  std::mt19937 _random;
  int _n_names = 0;
};

TEST(BaModelEdits, KeepModelsWholeInAnyOrder) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    RandomEdits edits(seed);
    for (int step = 0; step < 200; ++step) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
      edits.edit();
      BtStr fault;
      ASSERT_TRUE(edits.model().checkInvariants(&fault)) << fault;
      if (step % 20 != 19) continue;
      BaModel again;
      const std::string text = Print(edits.model());
      ASSERT_EQ(ScanInto(&again, text), "");
      ASSERT_TRUE(again.checkInvariants(&fault)) << fault;
      ASSERT_EQ(Print(again), text);
    }
  }
}

}  // namespace

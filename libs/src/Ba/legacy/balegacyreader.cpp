// The reader of legacy text: a sequence of records, each a letter and what belongs to it.

#include <iostream>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include "Ba/bamodel.h"
#include "Bt/btexcept.h"
#include "Bt/btscan.h"
#include "balegacytext.h"
#include "btreading.h"

namespace {

// After this many records the user is asked whether to go on.
constexpr int kRecordsPerQuestion = 40;
// An error shows this much of the object before it.
constexpr int kShownLines = 5;

// The errors of one kind of element. The undefined ones take the id.
struct ElementTexts {
  const char* unallocated;
  const char* unreadable;
  const char* undefined_body;
  const char* undefined_material;
};

constexpr ElementTexts kPolygonTexts = {"Unable to polygon data.", "Unable to read polygon data.",
                                        "Polygon has an undefined body id (%d).",
                                        "Polygon has an undefined material id (%d)."};
constexpr ElementTexts kTexturedPolygonTexts = {
    "Unable to textured polygon data.", "Unable to read textured polygon data.",
    "Textured Polygon has an undefined body id (%d).",
    "Textured Polygon has an undefined material id (%d)."};
constexpr ElementTexts kFlexiblePolygonTexts = {
    "Unable to allocate flexible polygon data.", "Unable to read flexible polygon data.",
    "Flexible Polygon has an undefined body id (%d).",
    "Flexible Polygon has an undefined material id (%d)."};
constexpr ElementTexts kTMeshTexts = {"Unable to triangle mesh data.",
                                      "Unable to read triangle mesh data.",
                                      "Triangle mesh has an undefined body id (%d).",
                                      "Triangle mesh has an undefined material id (%d)."};
constexpr ElementTexts kTexturedTMeshTexts = {
    "Unable to textured triangle mesh data.", "Unable to read textured triangle mesh data.",
    "Textured triangle mesh has an undefined body id (%d).",
    "Textured triangle mesh has an undefined material id (%d)."};

// A new object, in the arena where that takes its kind; null after a recorded error.
template <class T>
std::unique_ptr<T> Allocate(BtArena* arena, const char* failure) {
  try {
    if constexpr (std::is_base_of_v<BaVertexElement, T>) {
      return BaVertexElement::makeIn<T>(arena);
    } else {
      return std::make_unique<T>();
    }
  } catch (const std::bad_alloc&) {
    BtFail("Memory allocation error.");
    BtFail("%s", failure);
    return nullptr;
  }
}

class Reader {
 public:
  Reader(BaModel* model, std::istream& is) : _model(*model), _in(is), _reading(is) {
    _in.setArena(model->arena());
  }
  // Reads all records into the model; false after a recorded error.
  bool run();

 private:
  // One kind of record. Files older than `since` must not hold it: `unsupported` takes their
  // version. `print_last` writes the object that the record read last made.
  struct Record {
    char letter;
    bool (Reader::*read)();
    void (Reader::*print_last)(std::ostream& os) const;
    double since = 0;
    const char* unsupported = nullptr;
  };
  static const Record _records[];

  bool _nextLetter(char* letter);
  static const Record* _find(char letter);
  bool _read(const Record& record);
  void _report();

  bool _skipComment();
  bool _readBody();
  bool _readMaterial();
  bool _readLightingModel();
  bool _readLight();
  bool _readBone();
  bool _readPolygon();
  bool _readTexturedPolygon();
  bool _readFlexiblePolygon();
  bool _readTMesh();
  bool _readTexturedTMesh();
  bool _readMuscle();

  // Reads an object that refers to nothing; null after recorded errors.
  template <class T>
  std::unique_ptr<T> _readObject(const char* unallocated, const char* unreadable);
  // Reads an element and makes sure that its body and its material exist; null after recorded
  // errors.
  template <class T>
  std::unique_ptr<T> _readElement(const ElementTexts& texts);
  // Hands an object that was read to the model; false when there is none.
  template <class T>
  bool _add(std::unique_ptr<T> object);
  // False after a recorded error: a flex2 effect of the polygon names no body.
  [[nodiscard]] bool _checkFlex2(const BaPolygon& polygon) const;

  void _printNothing(std::ostream& /*os*/) const {}
  void _printHighestBody(std::ostream& os) const { _highest_body->printOn(os); }
  template <auto kCollection>
  void _printLastOf(std::ostream& os) const {
    (_model.*kCollection)().last()->printOn(os);
  }

  BaModel& _model;
  BtScanner _in;
  BtStreamReading _reading;
  bool _s_flag = false;  // the record is prefixed with S
  const BaBody* _highest_body = nullptr;
  const BaMaterial* _last_material = nullptr;  // of the element read last
  const Record* _last_record = nullptr;
};

constexpr Reader::Record Reader::_records[] = {
    {'P', &Reader::_readTexturedPolygon, &Reader::_printLastOf<&BaModel::texturedPolygons>, 1.1,
     "The datafile version (%.2f) does not supporttextured polygons.  "
     "Support for textured polygons beganwith version 1.10."},
    {'F', &Reader::_readPolygon, &Reader::_printLastOf<&BaModel::polygons>},
    {'X', &Reader::_readBody, &Reader::_printHighestBody},
    {'M', &Reader::_readMaterial, &Reader::_printLastOf<&BaModel::materials>},
    {'G', &Reader::_readLightingModel, &Reader::_printLastOf<&BaModel::lightingModels>},
    {'I', &Reader::_readLight, &Reader::_printLastOf<&BaModel::lights>},
    {'B', &Reader::_readBone, &Reader::_printLastOf<&BaModel::bones>},
    {'f', &Reader::_readFlexiblePolygon, &Reader::_printLastOf<&BaModel::flexiblePolygons>},
    {'T', &Reader::_readTMesh, &Reader::_printLastOf<&BaModel::tMeshes>, 1.2,
     "The datafile version (%.2f) does not supporttriangle meshes.  "
     "Support for triangle meshes beganwith version 1.20."},
    {'t', &Reader::_readTexturedTMesh, &Reader::_printLastOf<&BaModel::texturedTMeshes>, 1.2,
     "The datafile version (%.2f) does not supporttextured triangle meshes.  "
     "Support for triangle meshes beganwith version 1.20."},
    {'m', &Reader::_readMuscle, &Reader::_printLastOf<&BaModel::muscles>},
    {'#', &Reader::_skipComment, &Reader::_printNothing},
};

bool Reader::run() {
  int n_records = 0;
  char letter = 0;
  while (_nextLetter(&letter)) {
    _reading.beginRecord(1);
    if (letter == 'V') {
      std::cerr << "Unsupported Obj type 'V'" << std::endl;
      continue;
    }
    const Record* const record = _find(letter);
    if (record == nullptr) theExceptObj.set("Unknown object type '%c'.", letter);
    if (record == nullptr || !_read(*record)) {
      _report();
      return false;
    }
    _last_record = record;
    ++n_records;
    if (n_records % kRecordsPerQuestion == 0 && theExceptObj.checkCancel()) return false;
  }
  if (_in.stream().eof() && !_in.stream().bad()) return true;
  return BtFail("Error reading file.");
}

bool Reader::_nextLetter(char* letter) {
  _s_flag = false;
  if (!_in.readChar(letter)) return false;
  while (*letter == 'S') {
    _s_flag = true;
    if (!_in.readChar(letter)) return false;
  }
  return true;
}

const Reader::Record* Reader::_find(char letter) {
  for (const Record& record : _records) {
    if (record.letter == letter) return &record;
  }
  return nullptr;
}

bool Reader::_read(const Record& record) {
  const double version = static_cast<double>(_model.version());
  if (version >= record.since) return (this->*record.read)();
  return BtFail(record.unsupported, version);
}

void Reader::_report() {
  if (_last_record == nullptr) {
    BtFail("Unable to read first object from file.");
    return;
  }
  BtExcept* const error = theExceptObj.release();
  std::ostringstream os;
  (this->*_last_record->print_last)(os);
  const std::unique_ptr<BtExcept> dropped(theExceptObj.release());
  theExceptObj.restore(error);

  const BtStr text(std::string_view(os.view()));
  BtStr shown = text;
  int end = 0;
  if (text.findNth('\n', kShownLines, &end) && end + 1 < text.length()) {
    shown = text.left(end + 1) + "(subsequent lines omitted)\n";
  }
  theExceptObj.set(BtStr("\nThe last successfully read object was:\n") + shown);
}

template <class T>
std::unique_ptr<T> Reader::_readObject(const char* unallocated, const char* unreadable) {
  std::unique_ptr<T> object = Allocate<T>(_in.arena(), unallocated);
  if (object != nullptr && !object->scanFrom(_in)) {
    BtFail("%s", unreadable);
    object.reset();
  }
  return object;
}

template <class T>
std::unique_ptr<T> Reader::_readElement(const ElementTexts& texts) {
  std::unique_ptr<T> element = _readObject<T>(texts.unallocated, texts.unreadable);
  if (element == nullptr) return nullptr;
  if (_model.findBody(element->bodyId()) == nullptr) {
    BtFail(texts.undefined_body, element->bodyId());
    return nullptr;
  }
  const int material_id = element->materialId();
  if (_last_material == nullptr || _last_material->id() != material_id) {
    _last_material = _model.materialById(material_id);
  }
  if (_last_material == nullptr) {
    BtFail(BtCode("material-missing"), texts.undefined_material, material_id);
    return nullptr;
  }
  return element;
}

template <class T>
bool Reader::_add(std::unique_ptr<T> object) {
  if (object == nullptr) return false;
  _model.load(std::move(object));
  return true;
}

bool Reader::_skipComment() {
  Ba_SkipLine(_in, kBaLineLimit);
  return true;
}

bool Reader::_readBody() {
  constexpr const char* kFailure = "Unable to read body data.";
  auto body = _readObject<BaBody>(kFailure, kFailure);
  if (body == nullptr) return false;
  if (body->id() < 0 || body->id() > BaModel::kMaxBodyId) {
    BtFail(BtCode("body-id-range"), "Invalid body id %d.", body->id());
    return BtFail(kFailure);
  }
  if (_model.findBody(body->id()) != nullptr)
    return BtFail(BtCode("body-id-duplicate"), "Duplicate body id %d.", body->id());
  const BaBody* const added = _model.load(std::move(body));
  if (_highest_body == nullptr || added->id() > _highest_body->id()) _highest_body = added;
  return true;
}

bool Reader::_readMaterial() {
  constexpr const char* kFailure = "Unable to read material data.";
  auto material = Allocate<BaMaterial>(_in.arena(), kFailure);
  if (material == nullptr) return false;
  material->setVersion(_model.version());
  if (!material->scanFrom(_in)) return BtFail(kFailure);
  if (_model.materialById(material->id()) != nullptr) {
    return BtFail("Duplicate material id %d.", material->id());
  }
  _model.load(std::move(material));
  return true;
}

bool Reader::_readLightingModel() {
  constexpr const char* kFailure = "Unable to read lighting model data.";
  return _add(_readObject<BaLightingModel>(kFailure, kFailure));
}

bool Reader::_readLight() {
  constexpr const char* kFailure = "Unable to read light data.";
  return _add(_readObject<BaLight>(kFailure, kFailure));
}

bool Reader::_readBone() {
  constexpr const char* kFailure = "Unable to read bone data.";
  auto bone = _readObject<BaBone>(kFailure, kFailure);
  if (bone == nullptr) return false;
  if (_model.findBody(bone->bodyId()) == nullptr) {
    return BtFail("Bone has an unspecified body id (%d).", bone->bodyId());
  }
  if (_model.materialById(bone->materialId()) == nullptr) {
    return BtFail(BtCode("material-missing"),
                  "Bone of body id (%d) uses an unspecified material id (%d).", bone->bodyId(),
                  bone->materialId());
  }
  _model.load(std::move(bone));
  return true;
}

bool Reader::_readPolygon() {
  auto polygon = _readElement<BaPolygon>(kPolygonTexts);
  if (polygon == nullptr || !_checkFlex2(*polygon)) return false;
  _model.load(std::move(polygon));
  return true;
}

bool Reader::_checkFlex2(const BaPolygon& polygon) const {
  for (const BaVertex& vertex : polygon.vertices()) {
    for (auto* effect = vertex.effects().first(); effect != nullptr; effect = effect->next()) {
      if (effect->type() != BaFlex2Effect) continue;
      const int id = static_cast<const BaVertexFlex2Effect*>(effect)->body_id;
      if (_model.findBody(id) != nullptr) continue;
      return BtFail(BtCode("flex-target-undefined"),
                    "Polygon has a flex2 vertex effect that references an undefined body. (%d)",
                    id);
    }
  }
  return true;
}

bool Reader::_readTexturedPolygon() {
  auto polygon = _readElement<BaTexturedPolygon>(kTexturedPolygonTexts);
  if (polygon == nullptr) return false;
  polygon->setSFlag(_s_flag ? 1 : 0);
  _model.load(std::move(polygon));
  return true;
}

bool Reader::_readFlexiblePolygon() {
  return _add(_readElement<BaFlexiblePolygon>(kFlexiblePolygonTexts));
}

bool Reader::_readTMesh() { return _add(_readElement<BaTMesh>(kTMeshTexts)); }

bool Reader::_readTexturedTMesh() {
  return _add(_readElement<BaTexturedTMesh>(kTexturedTMeshTexts));
}

bool Reader::_readMuscle() {
  return _add(_readObject<BaMuscle>("Unable to muscle data.", "Unable to read muscle data."));
}

}  // namespace

void BaModel::rawScanFrom(std::istream& is) {
  beginLoad();
  if (!Reader(this, is).run() || !endLoad()) _clear();
}

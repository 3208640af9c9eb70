#include "modeledits.h"

#include <charconv>
#include <optional>

#include "Ba/bamodelcombine.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "bapicturefile.h"
#include "geometry.h"
#include "inputs.h"

namespace {

std::optional<int> IntegerOf(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

// FILE, OFFSET and SUFFIX of a model to add. A file name may hold commas where both follow.
struct Addition {
  std::string file;
  int offset = 0;
  std::string suffix;
};

bool ParseAddition(const std::string& text, Addition* addition) {
  addition->file = text;
  const std::size_t last = text.rfind(',');
  if (last == std::string::npos) return true;
  if (const auto offset = IntegerOf(std::string_view(text).substr(last + 1)); offset) {
    addition->file = text.substr(0, last);
    addition->offset = *offset;
    return true;
  }
  const std::size_t middle = last == 0 ? std::string::npos : text.rfind(',', last - 1);
  if (middle == std::string::npos)
    return BtFail("'%s' is not FILE[,OFFSET[,SUFFIX]].", text.c_str());
  const auto offset = IntegerOf(std::string_view(text).substr(middle + 1, last - middle - 1));
  if (!offset) return BtFail("'%s' is not FILE[,OFFSET[,SUFFIX]].", text.c_str());
  *addition = {text.substr(0, middle), *offset, text.substr(last + 1)};
  return true;
}

void WarnOf(long long count, const char* what) {
  if (count > 0) theExceptObj.setAsWarning("Left out: %s (%lld).", what, count);
}

// What a model holds of the kinds that combining may pass over.
struct Extras {
  int lights = 0;
  int lighting_models = 0;
  int muscles = 0;
  int flexible_polygons = 0;
  void add(const BaModel& model) {
    lights += model.lights().count();
    lighting_models += model.lightingModels().count();
    muscles += model.muscles().count();
    flexible_polygons += model.flexiblePolygons().size();
  }
};

// Adds one more model; false after a recorded error.
bool AddOne(const std::string& text, const std::string& out_file, const BaModel& base,
            BaModelCombine* combine, Extras* extras, SourceFiles* sources) {
  Addition addition;
  if (!ParseAddition(text, &addition)) return false;
  BaModel model;
  if (!ReadAddition(addition.file, &model)) return false;
  sources->add(model.sourceFiles());
  if (!(model.lengthUnits() == base.lengthUnits())) {
    theExceptObj.setAsWarning("The length unit of '%s' is another one.  Lengths are kept.",
                              addition.file.c_str());
  }
  MoveTextures(addition.file, out_file, &model);
  extras->add(model);
  return combine->add(model, addition.offset, BtStr(addition.suffix.c_str())) ||
         BtFail("Unable to add '%s'.", addition.file.c_str());
}

BaBody* FindNamed(const std::string& text, const BaModel& model) {
  BaBody* body = model.findBody(BtStr(text.c_str()));
  if (body == nullptr) {
    const auto id = IntegerOf(text);
    if (id) body = model.findBody(*id);
  }
  return body == nullptr || body->id() == 0 ? nullptr : body;
}

void MoveBody(int old_id, int new_id, BaModel* model) {
  if (old_id == new_id) return;
  if (model->findBody(new_id) == nullptr) {
    model->changeBodyId(old_id, new_id);
  } else {
    model->swapBodyIds(old_id, new_id);
  }
}

bool RenumberOne(const std::string& change, BaModel* model) {
  const std::size_t sign = change.find('=');
  const auto old_id = IntegerOf(std::string_view(change).substr(0, sign));
  const auto new_id = sign == std::string::npos
                          ? std::nullopt
                          : IntegerOf(std::string_view(change).substr(sign + 1));
  if (!old_id || !new_id) return BtFail("'%s' is not OLD=NEW.", change.c_str());
  if (*old_id < 1 || model->findBody(*old_id) == nullptr) {
    return BtFail("There is no body %d.", *old_id);
  }
  if (*new_id < 1 || *new_id > BaModel::kMaxBodyId) {
    return BtFail("Invalid body id %d.", *new_id);
  }
  if (*new_id != *old_id && model->findBody(*new_id) != nullptr) {
    return BtFail("There is a body %d already.", *new_id);
  }
  MoveBody(*old_id, *new_id, model);
  return true;
}

bool AllHaveFaces(const BaBody& body) {
  const auto has_face = [](const auto* polygon) { return polygon->numVertices() >= 3; };
  return std::all_of(body.polygons().begin(), body.polygons().end(), has_face) &&
         std::all_of(body.texturedPolygons().begin(), body.texturedPolygons().end(), has_face);
}

// The losses of legacy text.
void WarnOfLegacyLosses(const BaModel& model) {
  long long sliders = 0;
  for (const auto& group : model.sliderGroups()) sliders += group->sliders().count();
  WarnOf(sliders, "sliders, which have no form in legacy text");
  if (!(model.lengthUnits() == BaUnits{"INCHES", 1.0F})) {
    theExceptObj.setAsWarning("Left out: the length unit, which has no form in legacy text.");
  }
  if (!model.combineVertexNormals()) {
    theExceptObj.setAsWarning("Left out: that normals are flat, which has no form in legacy text.");
  }
  long long textures = 0;
  long long attributes = 0;
  for (const auto& material : model.materials()) {
    for (const BaTexture& texture : material->textures()) {
      const bool kept = &texture == &material->texture();
      textures += kept ? 0 : 1;
      const bool plain =
          texture.unit() == 0 && texture.sAttributes().isNull() && texture.tAttributes().isNull();
      attributes += kept && !plain ? 1 : 0;
    }
  }
  WarnOf(textures, "textures that are not the first decal of their material");
  WarnOf(attributes, "units and wrap attributes of textures, which have no form in legacy text");
}

// Those of documents that the library does not tell of itself.
void WarnOfDocumentLosses(const BaModel& model) {
  WarnOf(model.lights().count(), "lights, which have no form in a document");
  WarnOf(model.lightingModels().count(), "lighting models, which have no form in a document");
  WarnOf(model.muscles().count(), "muscles, which have no form in a document");
  long long flags = 0;
  for (const auto& material : model.materials()) flags += material->flag() ? 1 : 0;
  WarnOf(flags, "flags of materials, which have no form in a document");
  long long s_flags = 0;
  for (const auto& polygon : model.texturedPolygons()) s_flags += polygon->sFlag() != 0 ? 1 : 0;
  WarnOf(s_flags, "S flags of textured polygons, which have no form in a document");
  long long swaps = 0;
  const auto count_swaps = [&swaps](const auto& meshes) {
    for (const auto& mesh : meshes) {
      const BtDArray<int>& flags_of_mesh = mesh->swapFlags();
      swaps += std::count_if(flags_of_mesh.begin(), flags_of_mesh.end(),
                             [](int flag) { return flag != 0; });
    }
  };
  count_swaps(model.tMeshes());
  count_swaps(model.texturedTMeshes());
  WarnOf(swaps, "swap flags of strips, which have no form in a document");
  long long without_face = 0;
  for (const auto& polygon : model.polygons()) without_face += polygon->numVertices() < 2 ? 1 : 0;
  for (const auto& polygon : model.texturedPolygons()) {
    without_face += polygon->numVertices() < 2 ? 1 : 0;
  }
  WarnOf(without_face, "polygons of one vertex or none");
}

}  // namespace

bool AddModels(const std::vector<std::string>& additions, const std::string& out_file,
               std::unique_ptr<BaModel>* model, SourceFiles* sources) {
  if (additions.empty()) return true;
  auto combined = std::make_unique<BaModel>();
  combined->beginLoad();
  combined->setLengthUnits((*model)->lengthUnits());
  combined->setAngleUnits((*model)->angleUnits());
  combined->setCombineVertexNormals((*model)->combineVertexNormals());
  BaModelCombine combine(combined.get());
  Extras extras;
  extras.add(**model);
  if (!combine.add(**model, 0, "")) return false;
  for (const std::string& text : additions) {
    if (!AddOne(text, out_file, **model, &combine, &extras, sources)) return false;
  }
  if (!combined->endLoad()) return false;
  Extras kept;
  kept.add(*combined);
  WarnOf(extras.lights - kept.lights, "lights, which are not combined");
  WarnOf(extras.lighting_models - kept.lighting_models, "lighting models, which are not combined");
  WarnOf(extras.muscles - kept.muscles, "muscles, which are not combined");
  WarnOf(extras.flexible_polygons - kept.flexible_polygons,
         "flexible polygons, which are not combined");
  *model = std::move(combined);
  return true;
}

int OffsetOfAddition(const std::string& text) {
  Addition addition;
  return ParseAddition(text, &addition) ? addition.offset : 0;
}

bool RemoveBodies(const std::vector<std::string>& bodies, BaModel* model) {
  for (const std::string& text : bodies) {
    BaBody* body = FindNamed(text, *model);
    if (body == nullptr) return BtFail("There is no body '%s'.", text.c_str());
    if (!model->removeBody(body)) return false;
  }
  return true;
}

bool RenumberBodies(const std::vector<std::string>& changes, BaModel* model) {
  for (const std::string& change : changes) {
    if (change != "all") {
      if (!RenumberOne(change, model)) return false;
      continue;
    }
    int next_id = 0;
    for (const BaBody* body : BodiesInOrder(*model)) MoveBody(body->id(), ++next_id, model);
  }
  return true;
}

void Triangulate(BaModel* model) {
  for (int id = 0; id < model->bodies().size(); ++id) {
    BaBody* body = model->findBody(id);
    if (body == nullptr) continue;
    if (AllHaveFaces(*body)) {
      model->triangulateBody(body);
    } else {
      theExceptObj.setAsWarning(
          "Body \"%s\" has polygons of fewer than three corners.  It is not triangulated.",
          static_cast<const char*>(body->name()));
    }
  }
}

void MoveTextures(const std::string& from_file, const std::string& to_file, BaModel* model) {
  const BtStr from = BtFileDirectory(from_file.c_str());
  const BtStr to = BtFileDirectory(to_file.c_str());
  for (const auto& material : model->materials()) {
    const std::vector<BaTexture> textures = material->textures();
    bool first = true;
    for (BaTexture texture : textures) {
      texture.setFileName(BaPictureSeenFrom(to, texture.fileName(), from));
      if (first) {
        material->setTexture(texture);
      } else {
        material->addTexture(texture);
      }
      first = false;
    }
  }
}

void WarnOfLosses(const BaModel& model, bool legacy) {
  if (legacy) {
    WarnOfLegacyLosses(model);
  } else {
    WarnOfDocumentLosses(model);
  }
}

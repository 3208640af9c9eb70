#include "material.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "Ba/bamdmaterial.h"
#include "Ba/bamodeldata.h"
#include "Bt/btassert.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxsurfacephong.h"
#include "Fbx/kfbxtexture.h"
#include "bapicturefile.h"

namespace {

// Sets a colour. One that the model does not give stays as new materials have it; components that
// it does not give are 0.
void SetColor(const BtFloatArray& components, KFbxProperty<KFbxVector4>* color) {
  if (components.empty()) return;
  KFbxVector4 value(0.0, 0.0, 0.0);
  for (int i = 0; i < std::min(components.size(), 3); ++i) {
    value[i] = static_cast<double>(components[i]);
  }
  color->Set(value);
}

void SetOpacity(const BaMDMaterial& md_material, KFbxSurfacePhong* material) {
  const float alpha = std::clamp(md_material.alpha(), 0.0F, 1.0F);
  if (alpha != md_material.alpha()) {
    theExceptObj.setAsWarning("Material \"%s\" has an alpha of %g.  It is taken as %g.",
                              static_cast<const char*>(md_material.name()),
                              static_cast<double>(md_material.alpha()), static_cast<double>(alpha));
  }
  const double transparency = 1.0 - static_cast<double>(alpha);
  if (transparency == 0.0) return;
  material->TransparentColor.Set(KFbxVector4(1.0, 1.0, 1.0));
  material->TransparencyFactor.Set(transparency);
}

KFbxTexture::EWrapMode WrapMode(const BtStr& attributes) {
  return attributes == "CLAMP" ? KFbxTexture::eCLAMP : KFbxTexture::eREPEAT;
}

// Lets a texture drive its part of a material: pictures of the surroundings are seen as
// reflections. False when the part has a texture already.
bool Connect(KFbxTexture* texture, BaMDTexture_t type, KFbxSurfacePhong* material) {
  if (type == BaMDTexture_t::Decal2D) return material->Connect(texture, "DiffuseColor");
  material->ReflectionFactor.Set(1.0);
  return material->Connect(texture, "ReflectionColor");
}

// The same for every way to write the path of a file.
std::string FileKey(const BtStr& path) {
  std::error_code error;
  const std::filesystem::path canonical = std::filesystem::canonical(path.view(), error);
  return error ? std::string(path.view()) : canonical.string();
}

}  // namespace

SceneMaterials::SceneMaterials(KFbxScene* scene, const BaModelData& model_data,
                               const BtStr& directory)
    : _scene(scene), _model_data(model_data), _directory(directory) {}

KFbxSurfacePhong* SceneMaterials::material(const char* name) {
  const auto [entry, is_new] = _materials.try_emplace(name, nullptr);
  if (is_new) {
    const BaMDMaterial* md_material = _model_data.materialByName(name);
    BtAssert(md_material);
    entry->second = createMaterial(*md_material);
  }
  return entry->second;
}

KFbxSurfacePhong* SceneMaterials::createMaterial(const BaMDMaterial& md_material) {
  KFbxSurfacePhong* material = KFbxSurfacePhong::Create(_scene, md_material.name());
  SetColor(md_material.emission(), &material->EmissiveColor);
  SetColor(md_material.ambient(), &material->AmbientColor);
  SetColor(md_material.diffuse(), &material->DiffuseColor);
  SetColor(md_material.specular(), &material->SpecularColor);
  material->ShininessExponent.Set(static_cast<double>(md_material.shininess()));
  SetOpacity(md_material, material);
  for (const BaMDTexture* md_texture : md_material.textures()) {
    addTexture(material, *md_texture, md_material.name());
  }
  return material;
}

void SceneMaterials::addTexture(KFbxSurfacePhong* material, const BaMDTexture& md_texture,
                                const BtStr& material_name) {
  KFbxVideo* picture = video(md_texture.name(), material_name);
  KFbxTexture* texture = KFbxTexture::Create(_scene, picture->GetName());
  texture->SetFileName(picture->GetFileName());
  texture->SetRelativeFileName(picture->GetRelativeFileName());
  texture->SetWrapMode(WrapMode(md_texture.sAttributes()), WrapMode(md_texture.tAttributes()));
  texture->SetUVSet(kUvSet);
  texture->SetMedia(picture);
  if (!Connect(texture, md_texture.type(), material)) {
    BtWarn(BtCode("texture-second"),
           "Texture '%s' of material \"%s\" is left out: the material has another texture of its "
           "kind.",
           static_cast<const char*>(md_texture.name()), static_cast<const char*>(material_name));
  }
}

// The video of a texture's file. The names in the scene are those of the model, not the place where
// the picture was found, so that a file does not depend on where it was converted.
KFbxVideo* SceneMaterials::video(const BtStr& texture_name, const BtStr& material_name) {
  const BtStr path = BaFindPicture(_directory, texture_name);
  if (path.isNull()) {
    BtWarn(BtCode("texture-missing"),
           "Texture file '%s' of material \"%s\" cannot be read in '%s'.  It is not embedded.",
           static_cast<const char*>(texture_name), static_cast<const char*>(material_name),
           static_cast<const char*>(_directory));
  }
  std::string key = path.isNull() ? std::string(texture_name.view()) : FileKey(path);
  const auto [entry, is_new] = _videos.try_emplace(std::move(key), nullptr);
  if (is_new) {
    const BtStr file_name = path.isNull() ? texture_name : _picture_names.unique(texture_name);
    const BtStr base_name = BtFileBaseName(file_name);
    KFbxVideo* video = KFbxVideo::Create(_scene, base_name);
    video->SetFileName(file_name);
    video->SetRelativeFileName(IsRelativePicture(file_name) ? file_name : base_name);
    if (!path.isNull()) video->SetContentFile(path);
    entry->second = video;
  }
  return entry->second;
}

// Materials of models as materials of documents, and back.
#include <algorithm>
#include <array>

#include "baconvert.h"
#include "bamdsection.h"

namespace {

static_assert(static_cast<int>(BaMDTexture_t::Decal2D) == BaTexture::TEX_2D_DECAL &&
              static_cast<int>(BaMDTexture_t::CubeEnv) == BaTexture::TEX_CUBE_ENV &&
              static_cast<int>(BaMDTexture_t::Env2D) == BaTexture::TEX_2D_ENV);

struct ColourRow {
  Ba_MatAttr_t kind;
  const BtFloatArray& (BaMDMaterial::*get)() const;
  void (BaMDMaterial::*set)(const BtFloatArray&);
  Ba_MatAttr* (*add)(BaMaterial*);
};
constexpr ColourRow kColours[] = {
    {Ba_MatAttr_t::Emission, &BaMDMaterial::emission, &BaMDMaterial::setEmission,
     [](BaMaterial* material) -> Ba_MatAttr* { return material->addEmissionAttribute(); }},
    {Ba_MatAttr_t::Ambient, &BaMDMaterial::ambient, &BaMDMaterial::setAmbient,
     [](BaMaterial* material) -> Ba_MatAttr* { return material->addAmbientAttribute(); }},
    {Ba_MatAttr_t::Diffuse, &BaMDMaterial::diffuse, &BaMDMaterial::setDiffuse,
     [](BaMaterial* material) -> Ba_MatAttr* { return material->addDiffuseAttribute(); }},
    {Ba_MatAttr_t::Specular, &BaMDMaterial::specular, &BaMDMaterial::setSpecular,
     [](BaMaterial* material) -> Ba_MatAttr* { return material->addSpecularAttribute(); }},
};

std::unique_ptr<BaMDTexture> ToMDTexture(const BaTexture& texture) {
  auto md_texture = std::make_unique<BaMDTexture>();
  md_texture->setName(texture.fileName());
  md_texture->setType(static_cast<BaMDTexture_t>(texture.kind()));
  md_texture->setUnit(texture.unit());
  md_texture->setSAttributes(texture.sAttributes());
  md_texture->setTAttributes(texture.tAttributes());
  return md_texture;
}

BaTexture ToTexture(const BaMDTexture& md_tex) {
  BtAssert(static_cast<int>(md_tex.type()) < BaTexture::TEX_MAX_TYPES,
           "md_tex.type() < BtTexture::TEX_MAX_TYPES");
  BaTexture texture;
  texture.setFileName(md_tex.name());
  texture.setKind(static_cast<BaTexture::Kind>(md_tex.type()));
  texture.setUnit(md_tex.unit());
  texture.setSAttributes(md_tex.sAttributes());
  texture.setTAttributes(md_tex.tAttributes());
  return texture;
}

}  // namespace

std::unique_ptr<BaMDMaterial> BaToMDMaterial(const BaMaterial& material) {
  auto md_material = std::make_unique<BaMDMaterial>();
  for (const ColourRow& row : kColours) {
    const Ba_MatAttr* attribute = material.attribute(row.kind);
    if (attribute != nullptr) (md_material.get()->*row.set)(BaToArray(attribute->values()));
  }
  const Ba_MatAttr* shininess = material.attribute(Ba_MatAttr_t::Shininess);
  if (shininess != nullptr) md_material->setShininess(shininess->values().front());
  const Ba_MatAttr* alpha = material.attribute(Ba_MatAttr_t::Alpha);
  if (alpha != nullptr) md_material->setAlpha(alpha->values().front());
  for (const BaTexture& texture : material.textures()) {
    if (!texture.fileName().isNull()) md_material->addTexture(ToMDTexture(texture));
  }
  return md_material;
}

// A model has three components of a colour: missing ones are 0.
std::unique_ptr<BaMaterial> BaToMaterial(const BaMDMaterial& md_material, bool textures) {
  auto material = std::make_unique<BaMaterial>();
  for (const ColourRow& row : kColours) {
    const BtFloatArray& colour = (md_material.*row.get)();
    if (colour.empty()) continue;
    const std::span<float> values = row.add(material.get())->values();
    std::copy_n(colour.begin(), std::min(values.size(), static_cast<std::size_t>(colour.size())),
                values.begin());
  }
  material->addShininessAttribute()->setValue(md_material.shininess());
  material->addAlphaAttribute()->setValue(md_material.alpha());
  if (textures) {
    for (const BaMDTexture* md_tex : md_material.textures()) {
      material->addTexture(ToTexture(*md_tex));
    }
  }
  return material;
}

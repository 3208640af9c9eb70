// What both directions of the conversion need: names of bodies, materials with their textures.
#include "baconvert.h"

#include <algorithm>
#include <string>
#include <utility>

#include "bamdsection.h"

namespace {

static_assert(static_cast<int>(BaMDTexture_t::Decal2D) == BaTexture::TEX_2D_DECAL &&
              static_cast<int>(BaMDTexture_t::CubeEnv) == BaTexture::TEX_CUBE_ENV &&
              static_cast<int>(BaMDTexture_t::Env2D) == BaTexture::TEX_2D_ENV);

std::unique_ptr<BaMDTexture> ToMDTexture(const BaTexture& texture) {
  auto md_texture = std::make_unique<BaMDTexture>();
  md_texture->setName(texture.fileName());
  md_texture->setType(static_cast<BaMDTexture_t>(texture.kind()));
  md_texture->setFit(texture.fit());
  return md_texture;
}

BaTexture ToTexture(const BaMDTexture& md_tex) {
  BtAssert(static_cast<int>(md_tex.type()) < BaTexture::TEX_MAX_TYPES,
           "md_tex.type() < BtTexture::TEX_MAX_TYPES");
  BaTexture texture;
  texture.setFileName(md_tex.name());
  texture.setKind(static_cast<BaTexture::Kind>(md_tex.type()));
  texture.setFit(md_tex.fit());
  return texture;
}

}  // namespace

BtStr BaDocumentName(const BaBodyObj& body) {
  if (body.name().length() == 0) return BtFormat("body_%d", body.id());
  const auto is_foreign = [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
  };
  const std::string_view name = body.name().view();
  if (std::none_of(name.begin(), name.end(), is_foreign)) return body.name();
  std::string cleaned(name);
  std::replace_if(cleaned.begin(), cleaned.end(), is_foreign, '_');
  return BtStr(std::string_view(cleaned));
}

std::unique_ptr<BaMDMaterial> BaToMDMaterial(const BaMaterial& material) {
  auto md_material = std::make_unique<BaMDMaterial>();
  for (const std::unique_ptr<Ba_MatAttr>& attribute : material.attributes()) {
    md_material->setValues(attribute->kind(), BaToArray(std::as_const(*attribute).values()));
  }
  for (const BaTexture& texture : material.textures()) {
    if (!texture.fileName().isNull()) md_material->addTexture(ToMDTexture(texture));
  }
  return md_material;
}

// A model has three components of a colour: missing ones are 0.
std::unique_ptr<BaMaterial> BaToMaterial(const BaMDMaterial& md_material, bool textures) {
  auto material = std::make_unique<BaMaterial>();
  for (const Ba_MatAttrInfo& attribute : kBaMatAttrs) {
    const BtFloatArray& numbers = md_material.values(attribute.kind);
    if (numbers.empty()) continue;
    const std::span<float> values = material->addAttribute(attribute.kind)->values();
    std::copy_n(numbers.begin(), std::min(values.size(), static_cast<std::size_t>(numbers.size())),
                values.begin());
  }
  if (textures) {
    for (const BaMDTexture* md_tex : md_material.textures()) {
      material->addTexture(ToTexture(*md_tex));
    }
  }
  return material;
}

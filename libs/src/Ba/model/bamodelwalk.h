// Walks over everything of one sort in a model, whatever collection it stands in.
#pragma once

#include "Ba/bamodel.h"

// Calls `use(elements)` for each element collection of a model or of a body.
template <class Owner, class Use>
void Ba_ForEachCollection(const Owner& owner, Use use) {
  use(owner.bones());
  use(owner.tMeshes());
  use(owner.texturedTMeshes());
  use(owner.polygons());
  use(owner.texturedPolygons());
  use(owner.flexiblePolygons());
}

// Calls `use(element)` for each element of a model or of a body.
template <class Owner, class Use>
void Ba_ForEachElement(const Owner& owner, Use use) {
  Ba_ForEachCollection(owner, [&use](const auto& elements) {
    for (const auto& element : elements) use(*element);
  });
}

// Calls `use(element)` for everything in a model or on a body that has vertices.
template <class Owner, class Use>
void Ba_ForEachVertexElement(const Owner& owner, Use use) {
  Ba_ForEachCollection(owner, [&use](const auto& elements) {
    for (const auto& element : elements) {
      if constexpr (requires { element->vertices(); }) use(*element);
    }
  });
}

// Calls `use(object)` for everything in a model that refers to a material.
template <class Use>
void Ba_ForEachMaterialUser(const BaModel& model, Use use) {
  Ba_ForEachElement(model, use);
  for (const auto& muscle : model.muscles()) use(*muscle);
}

// Records one warning that names the bodies of a model whose post scale factor is not 1, or `only`
// this one: no format holds it.
void Ba_WarnOfPostScale(const BaModel& model, const BaBody* only = nullptr);

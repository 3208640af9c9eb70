// Pieces of the conversion between models and documents.
#pragma once

#include <functional>
#include <memory>

#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Ba/bamodeldatapolyset.h"

// The name of a body in a document: white space and control characters, which cannot stand there,
// become "_"; a body without a name is called after its id.
BtStr BaDocumentName(const BaBodyObj& body);

// The name of the material of an id, which must be in the model, in the document.
using BaMaterialNames = std::function<BtStr(int material_id)>;

// The vertex set of a poly set, with its effects.
std::unique_ptr<BaMDVertices> BaToMDVertices(const BaModel& model,
                                             const BaModelData_PolySet& poly_set);
// The geometry of a body over the vertex set of the poly set; both are null for a body that has
// bones only.
std::unique_ptr<BaMDGeometry> BaToMDGeometry(const BaBody& body,
                                             const BaModelData_PolySet* poly_set,
                                             const BtStr& vertices_name,
                                             const BaMaterialNames& material_names);

class BaSetVertices;

// Adds the content of a geometry to a model that is being built; false after a recorded error.
// `vertices` is null for a geometry without a vertex set; its indices are right.
using BaBodiesByName = BtNameMap<const BaBody*>;
bool BaExtractGeometry(const BaMDGeometry& geometry, BaSetVertices* vertices,
                       const BaBodiesByName& bodies, BaModel* model);

// Materials, with their textures and without an id or a name.
std::unique_ptr<BaMDMaterial> BaToMDMaterial(const BaMaterial& material);
std::unique_ptr<BaMaterial> BaToMaterial(const BaMDMaterial& md_material, bool textures);

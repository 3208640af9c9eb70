#include "Fbx/kfbxiopluginregistry.h"

#include <cstddef>
#include <iterator>

#include "Bt/btassert.h"

namespace {

constexpr const char* k71Versions[] = {"FBX201100", nullptr};
constexpr const char* k61Versions[] = {"FBX201000", "FBX200900", "FBX200611", nullptr};
constexpr const char* kNoVersions[] = {nullptr};

struct Format {
  const char* description;
  FbxFamily family;
  FbxKind kind;
  const char* const* versions;
};

constexpr Format kFormats[] = {
    {"FBX binary (*.fbx)", FbxFamily::e71, FbxKind::eBinary, k71Versions},
    {"FBX ascii (*.fbx)", FbxFamily::e71, FbxKind::eAscii, k71Versions},
    {"FBX encrypted (*.fbx)", FbxFamily::e71, FbxKind::eEncrypted, k71Versions},
    {"FBX 6.0 binary (*.fbx)", FbxFamily::e61, FbxKind::eBinary, k61Versions},
    {"FBX 6.0 ascii (*.fbx)", FbxFamily::e61, FbxKind::eAscii, k61Versions},
    {"FBX 6.0 encrypted (*.fbx)", FbxFamily::e61, FbxKind::eEncrypted, k61Versions},
    {"AutoCAD DXF (*.dxf)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Alias OBJ (*.obj)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Collada DAE (*.dae)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Biovision BVH (*.bvh)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Motion Analysis HTR (*.htr)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Motion Analysis TRC (*.trc)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Acclaim ASF (*.asf)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Acclaim AMC (*.amc)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Vicon C3D (*.c3d)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Adaptive Optics AOA (*.aoa)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
    {"Superfluo MCD (*.mcd)", FbxFamily::eNone, FbxKind::eOther, kNoVersions},
};

const Format& FormatAt(int index) {
  BtAssert(index >= 0 && index < static_cast<int>(std::size(kFormats)));
  return kFormats[static_cast<std::size_t>(index)];
}

}  // namespace

int KFbxIOPluginRegistry::GetWriterFormatCount() const {
  return static_cast<int>(std::size(kFormats));
}

const char* KFbxIOPluginRegistry::GetWriterFormatDescription(int format) const {
  return FormatAt(format).description;
}

bool KFbxIOPluginRegistry::WriterIsFBX(int format) const {
  return FormatAt(format).family != FbxFamily::eNone;
}

const char* const* KFbxIOPluginRegistry::GetWritableVersions(int format) const {
  return FormatAt(format).versions;
}

FbxFamily KFbxIOPluginRegistry::WriterFamily(int format) const { return FormatAt(format).family; }

FbxKind KFbxIOPluginRegistry::WriterKind(int format) const { return FormatAt(format).kind; }

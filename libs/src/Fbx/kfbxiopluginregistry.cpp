#include "Fbx/kfbxiopluginregistry.h"

#include <array>
#include <cstddef>
#include <iterator>

#include "Bt/btassert.h"
#include "fbxdialect.h"

namespace {

// The versions of a family with a null pointer behind them.
using Versions = std::array<const char*, std::size(kFbxDialects) + 1>;

constexpr Versions VersionsOf(const FbxFamily& family) {
  Versions versions = {};
  std::size_t count = 0;
  for (const FbxDialect& dialect : kFbxDialects) {
    if (dialect.family == &family) versions[count++] = dialect.version;
  }
  return versions;
}

constexpr Versions k71Versions = VersionsOf(kFbxFamily71);
constexpr Versions k61Versions = VersionsOf(kFbxFamily61);
constexpr Versions kNoVersions = {};

struct Format {
  const char* description;
  FbxKind kind;
  const Versions& versions;
};

constexpr Format kFormats[] = {
    {"FBX binary (*.fbx)", FbxKind::eBinary, k71Versions},
    {"FBX ascii (*.fbx)", FbxKind::eAscii, k71Versions},
    {"FBX encrypted (*.fbx)", FbxKind::eEncrypted, k71Versions},
    {"FBX 6.0 binary (*.fbx)", FbxKind::eBinary, k61Versions},
    {"FBX 6.0 ascii (*.fbx)", FbxKind::eAscii, k61Versions},
    {"FBX 6.0 encrypted (*.fbx)", FbxKind::eEncrypted, k61Versions},
    {"AutoCAD DXF (*.dxf)", FbxKind::eOther, kNoVersions},
    {"Alias OBJ (*.obj)", FbxKind::eOther, kNoVersions},
    {"Collada DAE (*.dae)", FbxKind::eOther, kNoVersions},
    {"Biovision BVH (*.bvh)", FbxKind::eOther, kNoVersions},
    {"Motion Analysis HTR (*.htr)", FbxKind::eOther, kNoVersions},
    {"Motion Analysis TRC (*.trc)", FbxKind::eOther, kNoVersions},
    {"Acclaim ASF (*.asf)", FbxKind::eOther, kNoVersions},
    {"Acclaim AMC (*.amc)", FbxKind::eOther, kNoVersions},
    {"Vicon C3D (*.c3d)", FbxKind::eOther, kNoVersions},
    {"Adaptive Optics AOA (*.aoa)", FbxKind::eOther, kNoVersions},
    {"Superfluo MCD (*.mcd)", FbxKind::eOther, kNoVersions},
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
  return FormatAt(format).kind != FbxKind::eOther;
}

const char* const* KFbxIOPluginRegistry::GetWritableVersions(int format) const {
  return FormatAt(format).versions.data();
}

FbxKind KFbxIOPluginRegistry::WriterKind(int format) const { return FormatAt(format).kind; }

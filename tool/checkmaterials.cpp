// The rules of "check" about names, materials and textures.
#include <cctype>

#include "Bt/btfile.h"
#include "Bt/bthash.h"
#include "bapicturefile.h"
#include "checkrules.h"
#include "picturefile.h"
#include "style.h"
#include "utf8.h"

namespace {

// Programs that read FBX files cut longer names, and then they may clash.
constexpr std::size_t kMaxNameLength = 63;

bool HasControl(std::string_view name) {
  return std::any_of(name.begin(), name.end(),
                     [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; });
}

void CheckName(const Place& place, Findings* findings) {
  const std::string& name = place.name;
  if (name.find("::") != std::string::npos) {
    findings->add(Kind("name-double-colon"), place, "the second colon becomes _");
  }
  if (HasControl(name)) findings->add(Kind("name-control"), place, "they become _");
  if (!IsUtf8(name)) findings->add(Kind("name-encoding"), place, "it is taken as Latin-1");
  if (name.size() > kMaxNameLength) {
    findings->add(Kind("name-long"), place, std::to_string(name.size()) + " bytes");
  }
}

// Names as readers that ignore case see them, blanks and what FBX does not hold replaced.
std::string Folded(std::string_view name) {
  std::string folded;
  for (const char c : name) {
    const bool foreign = static_cast<unsigned char>(c) <= ' ' || c == '\x7F' ||
                         (c == ':' && !folded.empty() && folded.back() == ':');
    folded += foreign ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return folded;
}

// Adds a name; tells of one that was there before.
void AddFolded(BtHashMap<std::string, std::string>* names, const std::string& name,
               const Place& place, Findings* findings) {
  const auto [entry, is_new] = names->try_emplace(Folded(name), name);
  if (is_new) return;
  findings->add(Kind("name-clash"), place, "there is " + entry->second + " as well");
}

void CheckNames(const CheckInput& input, Findings* findings) {
  BtHashMap<std::string, std::string> nodes;
  for (const BaBody* body : input.bodies) {
    const Place place = PlaceOf(*body);
    CheckName(place, findings);
    AddFolded(&nodes, place.name, place, findings);
  }
  // Meshes are called after their bodies.
  for (const BaBody* body : input.bodies) {
    if (body->hasPolygons())
      AddFolded(&nodes, Text(body->name()) + "_mesh", PlaceOf(*body), findings);
  }
  BtHashMap<std::string, std::string> materials;
  for (const auto& material : input.model.materials()) {
    CheckName(PlaceOf(*material), findings);
    AddFolded(&materials, Text(material->name()), PlaceOf(*material), findings);
  }
}

void CheckTexture(const BaTexture& texture, const BaMaterial& material, const BtStr& directory,
                  Findings* findings) {
  const BtStr& name = texture.fileName();
  if (name.isNull()) return;
  const BtStr path = BaFindPicture(directory, name);
  if (path.isNull()) {
    const BtStr beside =
        name.length() == 0 || BtFileIsAbsolutePath(name) ? name : BtFileJoin(directory, name);
    if (name.length() > 0 && BtFileExists(beside)) {
      findings->add(Kind("texture-unreadable"), PlaceOf(material),
                    Text(beside) + " is no file that can be read");
    } else {
      findings->add(Kind("texture-missing"), PlaceOf(material),
                    Text(name) + " is not in " + Text(directory));
    }
    return;
  }
  const PictureFile picture = ReadPictureFile(Text(path));
  if (!picture.readable) {
    findings->add(Kind("texture-unreadable"), PlaceOf(material), Text(path) + " cannot be read");
  } else if (picture.format.empty()) {
    findings->add(
        Kind("texture-no-picture"), PlaceOf(material),
        Text(path) + ", " + Counted(static_cast<long long>(picture.bytes), "byte", "bytes"));
  }
}

void CheckMaterials(const CheckInput& input, Findings* findings) {
  BtHashSet<int> used;
  for (const BaBody* body : input.bodies) {
    ForEachFace(*body, [&](const BaVertexElement& element, const std::vector<int>& /*corners*/) {
      used.insert(element.materialId());
    });
  }
  const BtStr directory = BtFileDirectory(input.model_file.c_str());
  for (const auto& material : input.model.materials()) {
    if (!used.contains(material->id())) {
      findings->add(Kind("material-unused"), PlaceOf(*material), "it is not converted");
      continue;
    }
    for (const BaTexture& texture : material->textures()) {
      CheckTexture(texture, *material, directory, findings);
    }
  }
}

constexpr CheckRule kMaterialRules[] = {CheckNames, CheckMaterials};

}  // namespace

std::span<const CheckRule> MaterialRules() { return kMaterialRules; }

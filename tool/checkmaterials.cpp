// The rules of "check" about names, materials and textures.
#include <cctype>
#include <filesystem>
#include <utility>

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
  if (entry->second == name && name == place.name && std::string_view(place.kind) == "body") {
    return findings->add(Kind("body-name-clash"), place, "");
  }
  findings->add(Kind("name-clash"), place, "there is " + entry->second + " as well");
}

void CheckNames(const CheckInput& input, Findings* findings) {
  BtHashMap<std::string, std::string> nodes;
  for (const BaBody* body : input.bodies) {
    const Place place = PlaceOf(*body);
    CheckName(place, findings);
    AddFolded(&nodes, place.name, place, findings);
  }
  // Meshes are called after their bodies. Those of bodies of one name go without saying.
  BtHashSet<std::string> meshes;
  for (const BaBody* body : input.bodies) {
    const std::string mesh = Text(body->name()) + "_mesh";
    if (!body->hasPolygons() || !meshes.insert(mesh).second) continue;
    AddFolded(&nodes, mesh, PlaceOf(*body), findings);
  }
  BtHashMap<std::string, std::string> materials;
  for (const auto& material : input.model.materials()) {
    CheckName(PlaceOf(*material), findings);
    AddFolded(&materials, Text(material->name()), PlaceOf(*material), findings);
  }
}

// The endings that pictures of a format may have.
constexpr std::pair<std::string_view, std::string_view> kEndings[] = {
    {"PNG", ".png"},        {"JPEG", ".jpg .jpeg .jpe .jfif"},
    {"GIF", ".gif"},        {"BMP", ".bmp .dib"},
    {"TIFF", ".tif .tiff"}, {"SGI", ".sgi .rgb .rgba .bw"},
    {"DDS", ".dds"},        {"TGA", ".tga"},
};

// Whether a file has the ending of a format, or of any where none is given.
bool HasEndingOf(const std::filesystem::path& path, std::string_view format) {
  const std::string ending = LowerCase(path.extension().string()) + " ";
  return std::ranges::any_of(kEndings, [&](const auto& row) {
    const bool is_it = format.empty() || row.first == format;
    return is_it && (std::string(row.second) + " ").find(ending) != std::string::npos;
  });
}

// The file of a folder for which is_it(path) holds, the first by name; empty for none.
template <class IsIt>
std::string FindFile(const std::filesystem::path& folder, IsIt is_it) {
  std::string found;
  std::error_code error;
  for (auto entry = std::filesystem::directory_iterator(folder, error);
       !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (is_it(entry->path()) && (found.empty() || name < found)) found = name;
  }
  return found;
}

// The name of a file that differs in capital letters only; empty where there is none.
std::string FindInOtherCase(const std::filesystem::path& wanted) {
  return FindFile(wanted.parent_path(), [&wanted](const std::filesystem::path& path) {
    return LowerCase(path.filename().string()) == LowerCase(wanted.filename().string());
  });
}

// A picture beside the model that has the name without its folder, its ending or its quotes; empty
// where there is none.
std::string FindBeside(const std::filesystem::path& folder, std::string name) {
  std::ranges::replace(name, '\\', '/');
  std::erase_if(name, [](char c) { return c == '"' || c == '\''; });
  const std::string stem = LowerCase(std::filesystem::path(name).stem().string());
  return FindFile(folder, [&stem](const std::filesystem::path& path) {
    return LowerCase(path.stem().string()) == stem && HasEndingOf(path, {});
  });
}

std::string MissingText(const std::string& name, const std::string& folder) {
  const bool is_absolute = name.starts_with('/');
  const std::string near = folder == "." ? "beside the model" : "in " + folder;
  const std::string text = name + " is not " + (is_absolute ? "there" : near);
  if (const std::string other = FindBeside(folder, name); !other.empty()) {
    return text + ", but " + other + " is" + (is_absolute ? " " + near : "");
  }
  const bool has_lost_slashes =
      name.size() > 2 && name[1] == ':' && name.find_first_of("/\\") == std::string::npos;
  return text + (has_lost_slashes ? "; in legacy text a backslash is written twice" : "");
}

void CheckMissingTexture(const BtStr& name, const BaMaterial& material, const BtStr& directory,
                         Findings* findings) {
  const Spot spot = {false, "NAME", Text(name)};
  const BtStr path = BtFileIsAbsolutePath(name) ? name : BtFileJoin(directory, name);
  if (BtFileExists(path)) {
    findings->add(Kind("texture-unreadable"), PlaceOf(material),
                  Text(path) + " is no file that can be read", 1, spot);
  } else if (const std::string other = FindInOtherCase(Text(path)); !other.empty()) {
    findings->add(Kind("texture-case"), PlaceOf(material), Text(name) + " is there as " + other, 1,
                  spot);
  } else {
    findings->add(Kind("texture-missing"), PlaceOf(material),
                  MissingText(Text(name), Text(directory)), 1, spot);
  }
}

void CheckTexture(const BaTexture& texture, const BaMaterial& material, const BtStr& directory,
                  Findings* findings) {
  const BtStr& name = texture.fileName();
  if (name.isNull() || name.length() == 0) return;
  const BtStr path = BaFindPicture(directory, name);
  if (path.isNull()) return CheckMissingTexture(name, material, directory, findings);
  const Spot spot = {false, "NAME", Text(name)};
  const PictureFile picture = ReadPictureFile(Text(path));
  if (!picture.readable) {
    findings->add(Kind("texture-unreadable"), PlaceOf(material), Text(path) + " cannot be read", 1,
                  spot);
  } else if (picture.format.empty()) {
    findings->add(
        Kind("texture-no-picture"), PlaceOf(material),
        Text(path) + ", " + Counted(static_cast<long long>(picture.bytes), "byte", "bytes"), 1,
        spot);
  } else if (!picture.whole) {
    findings->add(Kind("texture-cut"), PlaceOf(material), Text(path), 1, spot);
  } else if (!HasEndingOf(Text(path), picture.format)) {
    findings->add(Kind("texture-extension"), PlaceOf(material),
                  Text(path) + " is " + picture.format, 1, spot);
  }
}

void CheckAttributes(const BaMaterial& material, Findings* findings) {
  for (const auto& attribute : material.attributes()) {
    const auto& info = Ba_InfoOf(attribute->kind());
    const Spot spot = {false, std::string(info.key_word)};
    const auto values = std::as_const(*attribute).values();
    if (info.kind == Alpha && !values.empty() && values[0] == 0.0F) {
      findings->add(Kind("material-clear"), PlaceOf(material), "", 1, spot);
    }
    const auto odd = std::ranges::find_if(values, [](float v) { return v < 0 || v > 1; });
    if (info.kind == Shininess || odd == values.end()) continue;
    findings->add(Kind("colour-range"), PlaceOf(material),
                  std::string(info.name) + " holds " + Short(static_cast<double>(*odd)), 1, spot);
  }
}

// Polygons without coordinates whose material has a picture show one point of it.
template <class Elements>
void CountPlain(const Elements& elements, BtHashMap<int, int>* plain) {
  for (const auto& element : elements) ++(*plain)[element->materialId()];
}

void CheckMaterials(const CheckInput& input, Findings* findings) {
  BtHashSet<int> used;
  for (const BaBody* body : input.bodies) {
    ForEachFace(*body, [&](const BaVertexElement& element, const std::vector<int>& /*corners*/) {
      used.insert(element.materialId());
    });
  }
  BtHashSet<int> bones;
  for (const auto& bone : input.model.bones()) bones.insert(bone->materialId());
  BtHashMap<int, int> plain;
  CountPlain(input.model.polygons(), &plain);
  CountPlain(input.model.tMeshes(), &plain);
  const BtStr directory = BtFileDirectory(input.model_file.c_str());
  for (const auto& material : input.model.materials()) {
    // That bones are not converted is told once for all of them.
    if (!used.contains(material->id()) && bones.contains(material->id())) continue;
    if (!used.contains(material->id())) {
      findings->add(Kind("material-unused"), PlaceOf(*material), "it is not converted");
      continue;
    }
    CheckAttributes(*material, findings);
    for (const BaTexture& texture : material->textures()) {
      CheckTexture(texture, *material, directory, findings);
    }
    const int count = plain[material->id()];
    if (count == 0 || material->texture().fileName().isNull()) continue;
    findings->add(Kind("texture-idle"), PlaceOf(*material), Counted(count, "polygon", "polygons"),
                  count);
  }
}

constexpr CheckRule kMaterialRules[] = {CheckNames, CheckMaterials};

}  // namespace

std::span<const CheckRule> MaterialRules() { return kMaterialRules; }

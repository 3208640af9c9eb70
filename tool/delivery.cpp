#include "delivery.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>

#include "Bt/btexcept.h"
#include "deliverytable.h"
#include "style.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kModelEnd = ".mdl";
constexpr std::string_view kMappingEnd = ".dof";
constexpr std::array kKindEnds = {kModelEnd, kMappingEnd, std::string_view(".fbx")};
constexpr std::array<std::string_view, 3> kPackedEnds = {"", ".gz", ".z"};

// The name without its extension and that of a compression; nothing for another kind of file.
std::optional<std::string> StemOf(const std::string& name, std::string_view end) {
  const std::string lower = LowerCase(name);
  for (const std::string_view packed : kPackedEnds) {
    const std::string whole = std::string(end).append(packed);
    if (lower.size() > whole.size() && lower.ends_with(whole)) {
      return name.substr(0, name.size() - whole.size());
    }
  }
  return {};
}

// A path without the "./" of the working folder.
std::string PlainPath(const fs::path& path) {
  std::string text = path.string();
  while (text.starts_with("./")) text.erase(0, 2);
  return text;
}

// The files of a folder, by the names that they would have unpacked.
using NamedFiles = std::map<std::string, std::string>;

bool AddFile(const std::string& name, const fs::path& path, NamedFiles* files) {
  for (const std::string_view end : kKindEnds) {
    const auto stem = StemOf(name, end);
    if (!stem) continue;
    const auto [entry, is_new] =
        files->try_emplace(std::string(*stem).append(end), PlainPath(path));
    return is_new || BtFail("'%s' and '%s' have one name: take one of them away.",
                            entry->second.c_str(), PlainPath(path).c_str());
  }
  return true;
}

// The files below a folder. Hidden ones do not count, and links to folders are not followed.
bool FilesBelow(const std::string& folder, NamedFiles* files) {
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    if (entry->path().filename().string().starts_with('.')) {
      entry.disable_recursion_pending();
    } else if (!entry->is_directory(ignored) &&
               !AddFile(entry->path().lexically_relative(folder).string(), entry->path(), files)) {
      return false;
    }
  }
  return !error ||
         BtFail("Unable to read the folder '%s': %s.", folder.c_str(), error.message().c_str());
}

bool ReadFolder(const std::string& folder, Delivery* delivery) {
  NamedFiles files;
  if (!FilesBelow(folder, &files)) return false;
  for (const auto& [name, path] : files) {
    const auto mapping_stem = StemOf(name, kMappingEnd);
    if (mapping_stem && !files.contains(std::string(*mapping_stem).append(kModelEnd))) {
      delivery->lone_mappings.push_back(path);
    }
    const auto stem = StemOf(name, kModelEnd);
    if (!stem) continue;
    DeliveredCharacter& character = delivery->characters.emplace_back();
    character.name = *stem;
    character.model = path;
    const auto mapping = files.find(std::string(*stem).append(kMappingEnd));
    if (mapping != files.end()) character.dof = mapping->second;
  }
  return true;
}

// What a row of a table says; what is wrong with it, empty where nothing is.
std::string CharacterOf(const DeliveryRow& row, const fs::path& folder,
                        DeliveredCharacter* character) {
  if (row.model.empty()) return "Expecting a model.";
  character->model = PlainPath(folder / row.model);
  if (IsDelivery(character->model)) return "The model is a folder or a table.";
  if (!row.dof.empty()) character->dof = PlainPath(folder / row.dof);
  const std::string file = fs::path(row.model).filename();
  const std::string output =
      row.output.empty() ? StemOf(file, kModelEnd).value_or(file) + ".fbx" : row.output;
  const fs::path path(output);
  const bool is_within = path.is_relative() && std::ranges::find(path, "..") == path.end();
  if (!output.ends_with(".fbx") || path.filename() == ".fbx" || !is_within) {
    return "The output '" + output + "' must be a name that ends in .fbx, in or below the folder.";
  }
  character->name = output.substr(0, output.size() - std::string_view(".fbx").size());
  return ReadConversionOptions(row.options, character);
}

bool ReadTable(const std::string& file, Delivery* delivery) {
  std::vector<DeliveryRow> rows;
  if (!ReadDeliveryRows(file, &rows)) return false;
  std::map<std::string, int> lines;  // by name
  for (const DeliveryRow& row : rows) {
    DeliveredCharacter& character = delivery->characters.emplace_back();
    std::string fault = CharacterOf(row, fs::path(file).parent_path(), &character);
    const auto [other, is_new] = lines.try_emplace(character.name, row.line);
    if (fault.empty() && !is_new) {
      fault = "The output '" + character.name + ".fbx' is that of line " +
              std::to_string(other->second) + ", too.";
    }
    if (!fault.empty()) return BtFail("%s:%d: %s", file.c_str(), row.line, fault.c_str());
  }
  return true;
}

}  // namespace

bool IsDelivery(const std::string& path) {
  std::error_code ignored;
  return path.ends_with(".csv") || fs::is_directory(path, ignored);
}

bool ReadDelivery(const std::string& path, Delivery* delivery) {
  const bool read = path.ends_with(".csv") ? ReadTable(path, delivery) : ReadFolder(path, delivery);
  if (!read) return false;
  return !delivery->characters.empty() || BtFail("There are no models in '%s'.", path.c_str());
}

std::string LonelyText(const Delivery& delivery) {
  const auto line = [](const std::vector<std::string>& files, const char* one, const char* many) {
    constexpr std::size_t kShown = 3;
    if (files.empty()) return std::string();
    std::string text = Counted(static_cast<long long>(files.size()), one, many);
    for (std::size_t i = 0; i < std::min(files.size(), kShown); ++i) {
      text += (i == 0 ? ": " : ", ") + files[i];
    }
    if (files.size() > kShown) text += " and " + std::to_string(files.size() - kShown) + " more";
    return Styled(Style::Warning, text) + "\n";
  };
  std::vector<std::string> models;
  for (const DeliveredCharacter& character : delivery.characters) {
    if (character.dof.empty()) models.push_back(character.model);
  }
  return line(models, "model without a mapping, which is not converted",
              "models without a mapping, which are not converted") +
         line(delivery.lone_mappings, "mapping without a model", "mappings without a model");
}

namespace {

bool ReadFilesOfTable(const std::string& path, std::vector<DeliveredFile>* files) {
  Delivery delivery;
  if (!ReadDelivery(path, &delivery)) return false;
  for (const DeliveredCharacter& character : delivery.characters) {
    files->push_back({character.name + ".mdl", character.model});
    if (!character.dof.empty()) files->push_back({character.name + ".dof", character.dof});
  }
  return true;
}

}  // namespace

bool ReadDeliveredFiles(const std::string& path, std::vector<DeliveredFile>* files) {
  if (path.ends_with(".csv")) return ReadFilesOfTable(path, files);
  NamedFiles found;
  if (!FilesBelow(path, &found)) return false;
  for (const auto& [name, file] : found) files->push_back({name, file});
  return !files->empty() ||
         BtFail("There are no models, mappings or FBX files in '%s'.", path.c_str());
}

// Many characters at once: folders, and the tables that name what is in them.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct DeliveredCharacter {
  std::string name;  // within the delivery, without an extension
  std::string model;
  std::string dof;                   // empty for none
  std::vector<std::string> options;  // of its conversion, as kestrix takes them
  // What they say; nothing of a folder, for which the command line speaks.
  std::optional<double> scale_factor;
  bool mesh_per_body = false;
};

struct Delivery {
  std::vector<DeliveredCharacter> characters;
  std::vector<std::string> lone_mappings;  // of a folder, that have no model of their name
};

// A file of a folder that is compared with that of its name in another one.
struct DeliveredFile {
  std::string name;
  std::string path;
};

// True for a folder, and for a table by its name.
[[nodiscard]] bool IsDelivery(const std::string& path);
// The characters of a table in its order, or those of a folder and the folders in it by name:
// models with the mappings of their names, and models alone. No two have one name. False after a
// recorded error.
bool ReadDelivery(const std::string& path, Delivery* delivery);
// Which models and mappings have no partner, each in a line; empty where all have.
std::string LonelyText(const Delivery& delivery);
// The models, mappings and FBX files of a table or a folder by name. False after a recorded error.
bool ReadDeliveredFiles(const std::string& path, std::vector<DeliveredFile>* files);

#include "options.h"

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <iterator>

#include "version.h"

namespace {

bool Fail(const BtStr& message) {
  std::cerr << message << '\n';
  return false;
}

// A negative number is a file name, not an option.
bool IsOption(const char* argument) {
  float number = 0;
  return argument != nullptr && argument[0] == '-' && !BtStr(argument).floatValue(&number);
}

bool ReadScaleFactor(const char* value, Settings* settings) {
  // atof reads 0 from what is no number, and 0 is refused.
  settings->scale_factor = static_cast<float>(std::atof(value));  // NOLINT(cert-err34-c)
  if (settings->scale_factor > 0.0F && std::isfinite(settings->scale_factor)) return true;
  return Fail("Invalid value for -scale_factor.");
}

bool SetMeshPerBody(const char* /*value*/, Settings* settings) {
  settings->mesh_per_body = true;
  return true;
}

bool SetMbVersion(const char* value, Settings* settings) {
  settings->mb_version = value;
  return true;
}

constexpr OptionText kOptions[] = {
    {"-scale_factor", "factor", "2.54", nullptr, "multiplies all lengths"},
    {"-mesh_per_body", nullptr, nullptr, nullptr, "one mesh per body, not one per chain of bodies"},
    {"-mb_version", "version", "2011", "2011 2010 2009 2006 7.5",
     "MotionBuilder release to write for"},
};

// What each option does, in the order of the table.
using Apply = bool (*)(const char* value, Settings* settings);
constexpr Apply kApply[] = {ReadScaleFactor, SetMeshPerBody, SetMbVersion};
static_assert(std::size(kApply) == std::size(kOptions));

// Applies the option at `*index` and moves the index behind it and its value.
bool ApplyOption(int argc, char** argv, int* index, Settings* settings) {
  const BtStr name = argv[(*index)++];
  for (std::size_t i = 0; i < std::size(kOptions); ++i) {
    if (name != kOptions[i].name) continue;
    const char* value = nullptr;
    if (kOptions[i].value != nullptr) {
      if (*index >= argc || argv[*index] == nullptr) {
        return Fail("No value specified for " + name + ".");
      }
      value = argv[(*index)++];
    }
    return kApply[i](value, settings);
  }
  return Fail("Unexpected option \"" + name + "\".");
}

}  // namespace

std::span<const OptionText> OptionTexts() { return kOptions; }

bool ParseOptions(int argc, char** argv, Settings* settings) {
  int index = 1;
  while (index < argc && IsOption(argv[index])) {
    if (!ApplyOption(argc, argv, &index, settings)) return false;
  }
  const struct {
    BtStr* file_name;
    const char* missing;
  } positionals[] = {
      {&settings->model_file, "Expecting model file name."},
      {&settings->dof_file, "Expecting dof file name."},
      {&settings->fbx_file, "Expecting fbx file name."},
  };
  for (const auto& positional : positionals) {
    if (index >= argc) return Fail(positional.missing);
    *positional.file_name = argv[index++];
  }
  if (index < argc) return Fail("Unexpected parameter \"" + BtStr(argv[index]) + "\".");
  return true;
}

void PrintUsage(std::ostream& os) {
  os << "\n"
        "Usage:\n"
        "  kestrix [<options>] <input mdl> <input dof> <output fbx>\n"
        "\n"
        "Options:\n";
  for (const OptionText& option : kOptions) {
    os << "  " << option.name;
    if (option.value != nullptr) os << " <" << option.value << ">";
    if (option.default_value != nullptr) os << " (default: " << option.default_value << ")";
    os << "\n";
  }
  os << "\n"
        "Version:\n"
        "  "
     << kKestrixVersion
     << " (FBXSDK201103)\n"
        "\n"
        "Released:\n"
        "  March 29, 2012\n"
        "\n"
        "Copyright (c) 2012\n"
        "Vemra Studios\n"
        "All rights reserved.\n"
        "\n";
}

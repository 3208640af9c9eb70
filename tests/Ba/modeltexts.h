// What the tests of models and documents are made of: short files, and what comes of them.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "support/documenterrors.h"
#include "support/legacyerrors.h"
#include "support/testfolder.h"

inline const std::string kLegacyHeader = "Zov Graphic Model File\nv1.30\n";

// The records of a legacy file, and the section of a document.
inline std::string Body(int id, const std::string& name, int parent_id,
                        const std::string& matrix = "1 0 0\n0 1 0\n0 0 1\n0 0 0\n") {
  return "X\n" + name + "\n" + std::to_string(id) + "\nparent\n" + std::to_string(parent_id) +
         "\n" + matrix;
}
inline std::string Material(int id, const std::string& name) {
  return "M " + std::to_string(id) + " " + name + "\n3 0.5 0.25 1\n0\n";
}
inline std::string MaterialSection(const std::string& name, const std::string& content = "") {
  return "MATERIAL {\nNAME: " + name + "\n" + content + "}\n";
}

// A document's only body.
inline const std::string kDocumentBody = DocumentBody("a", "GLOBAL");

// The rows of a table that say "text => warnings => what is written of it".
struct Repair {
  std::string text, warnings, written;
};
inline std::vector<Repair> ReadRepairs(const std::string& name) {
  std::vector<Repair> repairs;
  for (const ErrorCase& c : ReadErrorCases(name)) {
    const std::size_t at = c.lines.find("=> ");
    repairs.push_back({c.text, c.lines.substr(0, at == 0 ? 0 : at - 1), c.lines.substr(at + 3)});
  }
  return repairs;
}

// Reads a file and answers the printed form of what was recorded.
inline std::string ScanInto(BaModel* model, const std::string& text) {
  std::istringstream is(text);
  model->scanFrom(is, ".");
  return TakePrinted();
}

// Reads the sections of a document.
inline bool Scan(const std::string& sections, BaModelData* data) {
  std::istringstream is(sections);
  return data->scan(is, ".", true);
}

// The model of a legacy file of these records, which may be poor ones: warnings are dropped.
class LegacyModel : public BaModel {
 public:
  explicit LegacyModel(const std::string& records) {
    const std::string printed = ScanInto(this, kLegacyHeader + records);
    EXPECT_FALSE(bodies().empty()) << printed;
  }
};

class Document : public BaModelData {
 public:
  explicit Document(const std::string& sections) {
    EXPECT_TRUE(Scan(sections, this)) << TakePrinted() << sections;
  }
};

// Sections that no reader lets pass.
inline void AddMDBody(BaModelData* data, const char* name, const char* parent_name) {
  auto body = std::make_unique<BaMDBody>();
  body->setName(name);
  body->setParentName(parent_name);
  data->addBody(std::move(body));
}
inline void AddMDGeometry(BaModelData* data, const char* body_name) {
  auto geometry = std::make_unique<BaMDGeometry>();
  geometry->setBodyName(body_name);
  data->addGeometry(std::move(geometry));
}

class ExtractedModel : public BaModel {
 public:
  explicit ExtractedModel(const BaModelData& data) {
    EXPECT_TRUE(data.extractTo(this)) << TakePrinted();
  }
};

class FilledDocument : public BaModelData {
 public:
  explicit FilledDocument(const BaModel& model) {
    EXPECT_TRUE(fillFrom(model, true)) << TakePrinted();
  }
};

template <class Object>
Object Scanned(const std::string& text) {
  std::istringstream is(text);
  Object object;
  EXPECT_TRUE(object.scanFrom(is)) << text;
  return object;
}

// What an object writes.
template <class Printable>
std::string Print(const Printable& printable) {
  std::ostringstream os;
  if constexpr (std::is_void_v<decltype(printable.printOn(os))>) {
    printable.printOn(os);
  } else {
    EXPECT_TRUE(printable.printOn(os)) << TakePrinted();
  }
  return os.str();
}

// A file of tests/data/models.
inline std::string ModelText(const std::string& name) {
  return ReadFile(KESTRIX_TEST_DATA "/models/" + name);
}
// The sections of a document there.
inline std::string DocumentText(const std::string& name) {
  return ModelText(name).substr(kDocumentHeader.size());
}

inline float RandomFloat(std::mt19937* random) {
  const float value = std::bit_cast<float>(static_cast<std::uint32_t>((*random)()));
  return std::isfinite(value) ? value : 0.0F;
}

// Takes so many characters and no more.
class FullDisk : public std::streambuf {
 public:
  explicit FullDisk(std::size_t room) : _room(room) {}

 protected:
  int overflow(int c) override {
    if (_room == 0) return std::char_traits<char>::eof();
    --_room;
    return c;
  }

 private:
  std::size_t _room;
};

// What is printed of disks that are full after no, one, two... characters of an object, without
// repetitions.
template <class Printable>
std::vector<std::string> PrintedOnFullDisks(const Printable& printable) {
  std::vector<std::string> printed;
  for (std::size_t room = 0, size = Print(printable).size(); room < size; ++room) {
    FullDisk disk(room);
    std::ostream os(&disk);
    (void)printable.printOn(os);
    const std::string error = TakePrinted();
    if (printed.empty() || printed.back() != error) printed.push_back(error);
  }
  return printed;
}

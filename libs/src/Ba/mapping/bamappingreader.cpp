// Reading a mapping file up to its sections: header, counts, body maps.
#include <algorithm>
#include <string>

#include "Ba/bamapping.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "bamappingtext.h"
#include "btincludechain.h"
#include "btreading.h"
#include "bttextfile.h"

namespace {

// The user is asked for a cancel after so many body maps.
constexpr int kMapsPerQuestion = 40;

// What of the first line counts.
constexpr int kMaxHeaderLine = 80;

// Reads the first line and compares its beginning; the rest of the line is read over only when
// the beginning is right, since a file of another kind may have no line end at all.
bool ReadHeaderLine(BtScanner* scanner) {
  std::string line;
  int c = scanner->get();
  if (c < 0) return BtFail("Error reading file.");
  for (; c >= 0 && c != '\n' && line.size() < kMaxHeaderLine; c = scanner->get()) {
    line += static_cast<char>(c);
  }
  if (!line.starts_with(kBaMappingHeader)) return BtFail("Invalid datafile header id.");
  while (c >= 0 && c != '\n') c = scanner->get();
  return true;
}

}  // namespace

bool BaUnlockedMapping::streamContainsMapping(std::istream& is) {
  BtScanner scanner(is);
  BtStreamReading reading(is);
  if (!ReadHeaderLine(&scanner)) return false;
  scanner.get();  // the "v"
  double version = 0;
  if (!scanner.readDouble(&version)) return BtFail("Unable to read datafile version number.");
  reading.beginRecord(0);
  if (version >= kBaMappingVersion && version < kBaMappingVersion + 1) return true;
  return BtFail(BtCode("version-unsupported"),
                "Unsupported datafile version %.2f.  Application uses version %.2f.", version,
                kBaMappingVersion);
}

bool BaUnlockedMapping::read(const BtStr& file, bool load_includes) {
  BtAssert(!file.isNull(), "!file.isNull()");
  Bt_IncludeChain chain("Mapping");
  const bool read = _readFile(file, load_includes, &chain);
  _source_files = chain.allFiles();
  return read;
}

bool BaUnlockedMapping::scanFrom(std::istream& is, bool load_includes, const BtStr& directory) {
  if (!_scanFrom(is, directory)) return false;
  Bt_IncludeChain chain("Mapping");
  const char* unnamed = "";
  return !load_includes || (chain.enter(unnamed) && _loadIncludes(&chain));
}

bool BaUnlockedMapping::_readFile(const BtStr& file, bool load_includes, Bt_IncludeChain* chain) {
  if (!chain->enter(file)) return false;
  bool opened = false;
  const BtFileReading reading(file);
  const bool read = _scanFile(file, &opened, chain) && (!load_includes || _loadIncludes(chain));
  chain->leave();
  if (opened && !read) {
    theExceptObj.set("Unable to read file '%s'.", static_cast<const char*>(file));
  }
  return read;
}

// The file is closed again on return: files that include each other must not all stay open.
bool BaUnlockedMapping::_scanFile(const BtStr& file, bool* opened, Bt_IncludeChain* chain) {
  BtInputFile input = chain->open(file);
  *opened = input.isOpen();
  if (!*opened) return BtFail("Unable to open file '%s'.", static_cast<const char*>(file));
  const bool scanned = _scanFrom(input.stream(), BtFileDirectory(file));
  return input.close() && scanned;
}

bool BaUnlockedMapping::_scanFrom(std::istream& is, const BtStr& directory) {
  if (!is.good()) return BtFail("Unable to open file.");
  if (!streamContainsMapping(is)) {
    BtFail("Unable to validate datafile header.");
    BtFail("Invalid datafile.");
    return BtFail("Unable to read file.");
  }
  clear();
  _directory = directory;
  if (!_scanContent(is)) return BtFail("Unable to read file.");
  _checkNumSysVars();
  return true;
}

bool BaUnlockedMapping::_scanContent(std::istream& is) {
  BtScanner scanner(is);
  const BtStreamReading reading(is);
  int num_bodies = 0;
  if (!scanner.readInt(&_num_sysvars)) return BtFail("Error reading number of variables\n");
  if (!scanner.readInt(&num_bodies) || num_bodies < 0) {
    return BtFail("Error reading number of bodies\n");
  }
  return _scanBodyMaps(is, num_bodies) && _scanSections(is);
}

bool BaUnlockedMapping::_scanBodyMaps(std::istream& is, int count) {
  BtScanner scanner(is);
  BtStreamReading reading(is);
  int last_body_id = 0;
  for (int i = 1; i <= count; ++i) {
    if (i % kMapsPerQuestion == 0 && theExceptObj.checkCancel()) return false;
    scanner.skipSpace();
    reading.beginRecord(0);
    std::unique_ptr<BaUnlockedBodyMap> body_map = BaUnlockedBodyMap::scanNewFrom(is);
    if (body_map == nullptr) {
      clear();
      return BtFail("Unable to read Body Map.  Last successfully read body map was for body %d.",
                    last_body_id);
    }
    last_body_id = body_map->bodyId();
    if (bodyMap(last_body_id) != nullptr) {
      return BtFail(BtCode("body-mapped-twice"),
                    "The mapping for body %d is specified multiple times.", last_body_id);
    }
    _addBodyMap(std::move(body_map), last_body_id);
  }
  return true;
}

void BaUnlockedMapping::_checkNumSysVars() {
  const int stated = _num_sysvars;
  _num_sysvars_stated = std::max(stated, 0);
  setHighestSysVar();
  if (_num_sysvars == stated) return;
  BtWarn(BtCode("variable-count"),
         "Mapping file specifies %d variables, but actually uses %d variables.", stated,
         _num_sysvars);
}

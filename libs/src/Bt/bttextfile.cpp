#include "bttextfile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>

#include "Bt/btcompfstream.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"
#include "btcompprogram.h"

namespace {

bool CloseCompressedInput(std::istream& is) { return static_cast<BtCompIFStream&>(is).close(); }

// The program that unpacks a file opens it by its name.
bool CheckKind(const char* file_name, BtFileKind kind) {
  struct stat info = {};
  if (kind == BtFileKind::Any || stat(file_name, &info) != 0 || S_ISREG(info.st_mode)) return true;
  return BtFail("'%s' is not a regular file.", file_name);
}

bool ClosePlainInput(std::istream& is) {
  if (!is.bad() || BtError()) return true;
  return BtFail("Unable to read from file.");
}

}  // namespace

BtStr BtTextFileName(const BtStr& file_name) {
  if (file_name.isNull() || !Bt_IsCompressedText(file_name)) return file_name;
  const BtStr text_name = file_name.notRight(Bt_CompExtension(file_name).length() + 1);
  // A file may be called ".gz" and nothing else.
  const bool is_name = text_name.length() > 0 && !text_name.view().ends_with('/');
  return is_name ? text_name : file_name;
}

BtInputFile::BtInputFile(const char* file_name, BtFileKind kind) {
  BtAssert(file_name != nullptr, "file_name");
  if (Bt_IsCompressedText(file_name)) {
    if (!CheckKind(file_name, kind)) return;
    auto is = std::make_unique<BtCompIFStream>(file_name);
    if (is->isOpen()) _is = std::move(is);
    _close = CloseCompressedInput;
  } else {
    auto is = std::make_unique<BtIFStream>(file_name, kind);
    if (is->isOpen()) _is = std::move(is);
    _close = ClosePlainInput;
  }
}

void BtInputFile::countWith(BtFileBuf::Counter counter) const {
  static_cast<BtFileBuf*>(_is->rdbuf())->countWith(std::move(counter));
}

bool BtInputFile::close() {
  const std::unique_ptr<std::istream> is = std::move(_is);
  return is == nullptr || _close(*is);
}

BtOutputFile::BtOutputFile(const BtStr& file_name) {
  BtAssert(!file_name.isNull(), "!file_name.isNull()");
  _compressed = Bt_IsCompressedText(file_name);
  if (!_compressed) {
    _openPlain(file_name);
    return;
  }
  auto os = std::make_unique<BtCompOFStream>(file_name);
  if (os->isOpen()) _os = std::move(os);
}

BtOutputFile::~BtOutputFile() {
  if (isOpen()) _os->setstate(std::ios::badbit);
}

void BtOutputFile::_openPlain(const BtStr& file_name) {
  if (!BtFileCheckOutput(file_name, BtFileOverwrite::Yes)) return;
  std::string name(file_name.view());
  switch (_replacement.open(name)) {
    case BtReplacement::Place::Beside:
      name = _replacement.path();
      [[fallthrough]];
    case BtReplacement::Place::Target: {
      auto os = std::make_unique<std::ofstream>(name, std::ios::binary);
      if (os->is_open()) _os = std::move(os);
      break;
    }
    default:
      break;
  }
  if (isOpen()) return;
  theExceptObj.set("%s", std::strerror(errno));
  theExceptObj.set("Couldn't create " + file_name);
}

bool BtOutputFile::close() {
  const std::unique_ptr<std::ostream> os = std::move(_os);
  if (os == nullptr) return true;
  return _compressed ? static_cast<BtCompOFStream&>(*os).close() : _closePlain(*os);
}

bool BtOutputFile::_closePlain(std::ostream& os) {
  static_cast<std::ofstream&>(os).close();
  if (!os.good()) {
    _replacement.discard();
    return false;
  }
  if (_replacement.descriptor() < 0 || _replacement.commit()) return true;
  theExceptObj.set("%s", std::strerror(errno));
  _replacement.discard();
  return false;
}

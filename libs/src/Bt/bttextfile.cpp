#include "bttextfile.h"

#include <utility>

#include "btcompifstream.h"
#include "btcompofstream.h"
#include "btcompprogram.h"
#include "btexcept.h"
#include "btfile.h"

namespace {

template <class Stream, class Base>
bool Close(Base& stream) {
  return static_cast<Stream&>(stream).close();
}

bool ClosePlainInput(std::istream& is) {
  if (!is.bad() || BtError()) return true;
  theExceptObj.set("Unable to read from file.");
  return false;
}

bool ClosePlainOutput(std::ostream& os) {
  static_cast<std::ofstream&>(os).close();
  return os.good();
}

}  // namespace

BtStr BtTextFileName(const BtStr& file_name) {
  if (file_name.isNull() || !Bt_IsCompressedText(file_name)) return file_name;
  return file_name.notRight(Bt_CompExtension(file_name).length() + 1);
}

BtInputFile::BtInputFile(const char* file_name) {
  if (Bt_IsCompressedText(file_name)) {
    auto is = std::make_unique<BtCompIFStream>(file_name);
    if (is->isOpen()) _is = std::move(is);
    _close = Close<BtCompIFStream, std::istream>;
  } else {
    auto is = std::make_unique<BtIFStream>(file_name);
    if (is->isOpen()) _is = std::move(is);
    _close = ClosePlainInput;
  }
}

bool BtInputFile::close() {
  const std::unique_ptr<std::istream> is = std::move(_is);
  return is == nullptr || _close(*is);
}

BtOutputFile::BtOutputFile(const BtStr& file_name) {
  if (Bt_IsCompressedText(file_name)) {
    auto os = std::make_unique<BtCompOFStream>(file_name);
    if (os->isOpen()) _os = std::move(os);
    _close = Close<BtCompOFStream, std::ostream>;
  } else {
    _os = BtFileOpenOutput(file_name, BtFileOverwrite::Yes);
    _close = ClosePlainOutput;
  }
}

bool BtOutputFile::close() {
  const std::unique_ptr<std::ostream> os = std::move(_os);
  return os == nullptr || _close(*os);
}

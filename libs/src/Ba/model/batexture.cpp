#include "Ba/batexture.h"

#include <ostream>
#include <string>
#include <string_view>

#include "Bt/btassert.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

// The number that ends the texture parameters.
constexpr int kNoMoreParameters = -1;

// Reads a text between two equal characters, in which a backslash makes the next character literal.
// The text is null when the line ends first. False where a character cannot be read.
bool ScanDelimited(BtScanner& in, BtStr* text) {
  char delimiter = 0;
  if (!in.readChar(&delimiter)) return BtFail("Unable to read character.");
  std::string characters;
  for (;;) {
    int c = in.get();
    const bool closing = c == static_cast<unsigned char>(delimiter);
    if (closing || c == '\n') {
      *text = closing ? BtStr(std::string_view(characters)) : BtStr();
      return true;
    }
    if (c == '\\') c = in.get();
    if (c == std::char_traits<char>::eof()) return BtFail("Unable to read character.");
    characters += static_cast<char>(c);
  }
}

// Writes a text so that ScanDelimited reads it back.
void PutDelimited(std::ostream& os, std::string_view text) {
  constexpr std::string_view kDelimiters = "\"'|^~";
  char delimiter = kDelimiters.front();
  for (const char candidate : kDelimiters) {
    if (text.find(candidate) == std::string_view::npos) {
      delimiter = candidate;
      break;
    }
  }
  os << delimiter;
  for (const char c : text) {
    if (c == delimiter || c == '\\' || c == '\n') os << '\\';
    os << c;
  }
  os << delimiter;
}

}  // namespace

bool BaTexture::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaTexture::scanFrom(BtScanner& in) {
  int type = 0;
  if (!in.readInt(&type)) return BtFail("Unable to read texture data type.");
  if (type == ExplicitImage) return BtFail("Explicit texture images not implemented.");
  if (type != FileName) return BtFail("Unknown texture image specification.");
  if (!_scanFileName(in)) return false;
  for (int parameter = 0; parameter != kNoMoreParameters;) {
    if (!in.readInt(&parameter)) return BtFail("Unable to read texture parameter type.");
  }
  return true;
}

bool BaTexture::_scanFileName(BtScanner& in) {
  BtStr name;
  // A name with a NUL character would be another name to the file system.
  if (!ScanDelimited(in, &name) || name.view().find('\0') != std::string_view::npos) {
    return BtFail("Unable to read texture file name.");
  }
  if (name.isNull()) return BtFail("Unterminated texture file name.");
  _file_name = name;
  return true;
}

void BaTexture::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!_file_name.isNull(), "!_file_name.isNull()");
  Ba_PutInt(os, _type);
  os << ' ';
  PutDelimited(os, _file_name.view());
  Ba_PutInt(os, kNoMoreParameters);
}

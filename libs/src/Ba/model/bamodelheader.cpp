#include "bamodelheader.h"

#include <istream>
#include <string_view>

#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "btreading.h"

namespace {

constexpr double kFirstVersion = 1.0;
constexpr double kLastVersion = 2.0;

// Reads the first line without its end, of either kind, into `line`; false when there is none or it
// is too long.
bool ScanFirstLine(std::istream& is, char (&buffer)[kBaLineLimit], std::string_view* line) {
  if (!is.getline(buffer, sizeof buffer)) return false;
  // The count includes the newline, which the last line of a file may lack.
  *line = std::string_view(buffer, static_cast<std::size_t>(is.gcount() - (is.eof() ? 0 : 1)));
  if (line->ends_with('\r')) line->remove_suffix(1);
  return true;
}

}  // namespace

bool BaScanModelHeaderNumber(std::istream& is, double* number) {
  const BtStreamReading reading(is);
  char buffer[kBaLineLimit];
  std::string_view line;
  if (!ScanFirstLine(is, buffer, &line)) return BtFail("Unable to read from file.");
  if (line != kBaModelFileId) return BtFail("Invalid datafile type.");
  BtScanner in(is);
  char v = 0;
  if (!in.readChar(&v)) return BtFail("Unable to read version identifier.");
  if (v != 'v') return BtFail("Version identifier not found.");
  return in.readDouble(number) || BtFail("Unable to read datafile version number.");
}

bool BaScanModelHeader(std::istream& is, float* version) {
  double number = 0;
  if (!BaScanModelHeaderNumber(is, &number)) return false;
  const BtStreamReading reading(is);
  if (number < kFirstVersion || number > kLastVersion) {
    // The text ends in "2f." without its percent sign; people and scripts know it so.
    return BtFail(
        BtCode("version-unsupported"),
        "Unsupported datafile version %.2f. Application supports versions %.2f through 2f.", number,
        kFirstVersion);
  }
  if (version != nullptr) *version = static_cast<float>(number);
  return true;
}

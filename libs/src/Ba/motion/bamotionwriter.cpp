// Writing motion to CSV files.
#include <charconv>
#include <ostream>
#include <string>
#include <string_view>

#include "Ba/bamotion.h"
#include "Bt/btexcept.h"
#include "btfloattext.h"
#include "bttextfile.h"

namespace {

// Characters that are gathered before they go to the stream.
constexpr std::size_t kPieceSize = std::size_t{64} * 1024;

// More than the shortest text of any number needs, and the same without an exponent.
constexpr std::size_t kMostDigits = 32;
constexpr std::size_t kMostPlaces = 1100;

void AppendTime(double time, std::string* text) {
  char digits[kMostDigits];
  text->append(digits, std::to_chars(digits, digits + kMostDigits, time).ptr);
}

// The same with so many decimals that readers see times which are not rounded.
void AppendExactTime(double time, std::string* text) {
  constexpr std::size_t kDecimals = 17;
  char digits[kMostPlaces];
  const std::string_view shortest(
      digits, static_cast<std::size_t>(
                  std::to_chars(digits, digits + kMostPlaces, time, std::chars_format::fixed).ptr -
                  digits));
  *text += shortest;
  const std::size_t point = shortest.find('.');
  const std::size_t decimals = point == shortest.npos ? 0 : shortest.size() - point - 1;
  if (point == shortest.npos) *text += '.';
  if (decimals < kDecimals) text->append(kDecimals - decimals, '0');
}

void AppendValue(float value, std::string* text) {
  char digits[kMostDigits];
  text->append(digits, BtFloatToChars(digits, digits + kMostDigits, value).ptr);
}

}  // namespace

void BaMotion::printOn(std::ostream& os) const {
  std::string text;
  for (const BtStr& comment : _comments) {
    text += "# ";
    text += comment.view();
    text += '\n';
  }
  text += "time";
  for (const int id : _sysvar_ids) text += ",v" + std::to_string(id);
  text += '\n';
  for (std::size_t frame = 0; frame < _times.size(); ++frame) {
    // Short texts of other times could be those of rounded times at a rate in use.
    const bool is_exact = frame == 0 && !(_is_even && BaIsKnownFrameRate(_rate));
    is_exact ? AppendExactTime(_times[frame], &text) : AppendTime(_times[frame], &text);
    for (const std::vector<float>& values : _values) {
      text += ',';
      AppendValue(values[frame], &text);
    }
    text += '\n';
    if (text.size() < kPieceSize) continue;
    os << text;
    text.clear();
  }
  os << text;
}

std::ostream& operator<<(std::ostream& os, const BaMotion& motion) {
  motion.printOn(os);
  return os;
}

bool BaMotion::save(const char* file) const {
  BtOutputFile output(file);
  if (output.isOpen()) {
    printOn(output.stream());
    if (output.close()) return true;
  }
  return BtFail("Unable to write file '%s'.", file);
}

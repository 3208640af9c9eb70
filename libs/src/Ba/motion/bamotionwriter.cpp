// Writing motion to CSV files.
#include <charconv>
#include <ostream>
#include <string>

#include "bamotion.h"
#include "btexcept.h"
#include "btfloattext.h"
#include "bttextfile.h"

namespace {

// Characters that are gathered before they go to the stream.
constexpr std::size_t kPieceSize = std::size_t{64} * 1024;

// More than the shortest text of any number needs.
constexpr std::size_t kMostDigits = 32;

void AppendTime(double time, std::string* text) {
  char digits[kMostDigits];
  text->append(digits, std::to_chars(digits, digits + kMostDigits, time).ptr);
}

// The same with so many decimals that readers see times which are not rounded.
void AppendExactTime(double time, std::string* text) {
  constexpr int kDecimals = 17;
  char digits[2 * kMostDigits];
  const auto result = std::to_chars(std::begin(digits), std::end(digits), time,
                                    std::chars_format::fixed, kDecimals);
  text->append(digits, result.ptr);
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
  theExceptObj.set("Unable to write file '%s'.", file);
  return false;
}

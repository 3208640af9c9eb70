#include "fbxcreationtime.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr FbxCode kSeed = {0x58, 0xAB, 0xA9, 0xF0, 0x6C, 0xA2, 0xD8, 0x3F,
                           0x4D, 0x47, 0x49, 0xA3, 0xB4, 0xB2, 0xE7, 0x3D};
constexpr FbxCode kKey = {0xE2, 0x4F, 0x7B, 0x5F, 0xCD, 0xE4, 0xC8, 0x6D,
                          0xDB, 0xD8, 0xFB, 0xD7, 0x40, 0x58, 0xC6, 0x78};

// The last second of the year 9999: later ones have no place in the text.
constexpr std::int64_t kLastSecond = 253402300799;

FbxCode Mix(const FbxCode& a, const FbxCode& b) {
  FbxCode out;
  std::uint8_t last = 0x40;
  for (std::size_t i = 0; i < out.size(); ++i) {
    last = static_cast<std::uint8_t>(a[i] ^ last ^ b[i]);
    out[i] = last;
  }
  return out;
}

// The 16 digits that stand for the instant in the codes.
FbxCode Digits(const FbxCreationTime& time) {
  const auto two = [](int value) { return static_cast<unsigned>(value) % 100U; };
  char text[32];
  std::snprintf(text, sizeof text, "%02u%02u%02u%02u%02u%04u%02u", two(time.second),
                two(time.month), two(time.hour), two(time.day), two(time.millisecond / 10),
                static_cast<unsigned>(time.year) % 10000U, two(time.minute));
  FbxCode digits;
  std::memcpy(digits.data(), text, digits.size());
  return digits;
}

}  // namespace

FbxCreationTime FbxCreationTime::Current() {
  const char* variable = std::getenv("SOURCE_DATE_EPOCH");
  const std::string_view text = variable == nullptr ? "" : variable;
  std::int64_t seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  const bool is_number = error == std::errc{} && end == text.data() + text.size();
  if (!is_number || seconds < 0 || seconds > kLastSecond) return {};

  using namespace std::chrono;
  const sys_seconds instant{std::chrono::seconds(seconds)};
  const sys_days day = floor<days>(instant);
  const year_month_day date(day);
  const hh_mm_ss clock(instant - day);
  FbxCreationTime time;
  time.year = static_cast<int>(date.year());
  time.month = static_cast<int>(static_cast<unsigned>(date.month()));
  time.day = static_cast<int>(static_cast<unsigned>(date.day()));
  time.hour = static_cast<int>(clock.hours().count());
  time.minute = static_cast<int>(clock.minutes().count());
  time.second = static_cast<int>(clock.seconds().count());
  return time;
}

std::string FbxCreationTime::text() const {
  char text[96];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d:%03d", year, month, day, hour,
                minute, second, millisecond);
  return text;
}

FbxCode FbxCreationTime::fileId() const { return Mix(kSeed, Digits(*this)); }

FbxCode FbxCreationTime::footerCode() const { return Mix(Mix(fileId(), kKey), Digits(*this)); }

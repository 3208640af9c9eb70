#include <charconv>
#include <string>

#include "Bt/btexcept.h"
#include "Bt/btparse.h"
#include "Bt/btscan.h"
#include "btdigits.h"
#include "btfloattext.h"

namespace {

bool IsNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

std::size_t IdentifierLength(std::string_view text) {
  if (text.empty() || !IsNameStart(text.front())) return 0;
  std::size_t length = 1;
  while (length < text.size() && (IsNameStart(text[length]) || Bt_IsDigit(text[length]))) ++length;
  return length;
}

void SkipSpace(std::string_view* text) {
  while (!text->empty() && BtIsSpace(text->front())) text->remove_prefix(1);
}

// Runs `read(&view)` on the text of `str` and removes from it what the reader consumed. The results
// must not be views of the text.
template <class Read>
bool ReadFront(BtStr* str, Read read) {
  std::string_view text = str->view();
  if (!read(&text)) return false;
  str->remove(0, str->length() - static_cast<int>(text.size()));
  return true;
}

// What is out of range is too large for an int, but may be too small for a double, where it is as
// good as 0. False where it is too large.
bool RoundToZero(std::string_view /*digits*/, const int* /*number*/) { return false; }
bool RoundToZero(std::string_view digits, double* number) {
  *number = BtStrToD(std::string(digits).c_str(), nullptr);
  return !std::isinf(*number);
}

// Parses the number at the front of `text`, a "+" allowed. It may not run into a letter, "_" or
// ".", so that 12abc or 1.2.3 is no number, but 12/7 begins with one.
template <class Number>
std::errc ParseNumber(std::string_view* text, Number* number) {
  std::string_view digits = *text;
  if (digits.starts_with('+') && !digits.starts_with("+-")) digits.remove_prefix(1);
  // "inf" and "nan" are words here.
  const std::size_t first = digits.starts_with('-') ? 1 : 0;
  if (first < digits.size() && IsNameStart(digits[first])) return std::errc::invalid_argument;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, *number);
  if (error == std::errc::invalid_argument) return error;
  if (stop != end && (IsNameStart(*stop) || *stop == '.')) return std::errc::invalid_argument;
  if (error == std::errc::result_out_of_range && !RoundToZero({digits.data(), stop}, number)) {
    return error;
  }
  text->remove_prefix(static_cast<std::size_t>(stop - text->data()));
  return {};
}

struct TimecodeRate {
  std::string_view name;
  double frames_per_second;
};
constexpr TimecodeRate kTimecodeRates[] = {
    {"23.976", 24000.0 / 1001}, {"24", 24}, {"25", 25},
    {"29.97", 30000.0 / 1001},  {"30", 30}, {"50", 50},
    {"59.94", 60000.0 / 1001},  {"60", 60},
};

}  // namespace

int BtIdentifierLength(const BtStr& str) { return static_cast<int>(IdentifierLength(str.view())); }

bool BtReadIdentifier(BtStr* str, BtStr* identifier) {
  return ReadFront(str, [identifier](std::string_view* text) {
    SkipSpace(text);
    if (text->empty()) return BtFail("Expecting identifier.");
    const std::size_t length = IdentifierLength(*text);
    if (length == 0) return BtFail("Invalid identifier.");
    *identifier = BtStr(text->substr(0, length));
    text->remove_prefix(length);
    return true;
  });
}

bool BtReadInt(std::string_view* text, int* value) {
  std::string_view rest = *text;
  SkipSpace(&rest);
  int number = 0;
  if (ParseNumber(&rest, &number) != std::errc()) return BtFail("Invalid integer value.");
  *value = number;
  *text = rest;
  return true;
}

bool BtReadInt(BtStr* str, int* value) {
  return ReadFront(str, [value](std::string_view* text) { return BtReadInt(text, value); });
}

bool BtReadBool(BtStr* str, bool* value) {
  return ReadFront(str, [value](std::string_view* text) {
    SkipSpace(text);
    const std::size_t length = IdentifierLength(*text);
    const BtStr word(text->substr(0, length));
    *value = word.iCmp("TRUE") == 0;
    if (!*value && word.iCmp("FALSE") != 0) return BtFail("Invalid boolean value.");
    text->remove_prefix(length);
    return true;
  });
}

bool BtReadFloat(std::string_view* text, float* value) {
  std::string_view rest = *text;
  SkipSpace(&rest);
  if (rest.empty()) return BtFail("No value given.");
  double number = 0;
  float read = 0;
  if (ParseNumber(&rest, &number) != std::errc() || !BtNarrow(number, &read)) {
    return BtFail("Invalid floating point value.");
  }
  *value = read;
  *text = rest;
  return true;
}

bool BtReadFloat(BtStr* str, float* value) {
  return ReadFront(str, [value](std::string_view* text) { return BtReadFloat(text, value); });
}

bool BtReadToken(std::string_view* text, std::string_view* token) {
  std::string_view rest = *text;
  SkipSpace(&rest);
  if (rest.empty()) return BtFail("Expecting token.");
  std::size_t length = 0;
  while (length < rest.size() && !BtIsSpace(rest[length])) ++length;
  *token = rest.substr(0, length);
  rest.remove_prefix(length);
  *text = rest;
  return true;
}

bool BtReadToken(BtStr* str, BtStr* token) {
  return ReadFront(str, [token](std::string_view* text) {
    std::string_view word;
    if (!BtReadToken(text, &word)) return false;
    *token = BtStr(word);
    return true;
  });
}

bool BtReadQuotedStr(BtStr* str, char quote, BtStr* dq_str) {
  return ReadFront(str, [quote, dq_str](std::string_view* text) {
    SkipSpace(text);
    if (!text->starts_with(quote)) return BtFail("'%c' expected.", quote);
    text->remove_prefix(1);
    const std::size_t length = text->find(quote);
    if (length == std::string_view::npos) return BtFail("No closing '%c' found.", quote);
    *dq_str = BtStr(text->substr(0, length));
    text->remove_prefix(length + 1);
    return true;
  });
}

bool BtReadDoubleQuotedStr(BtStr* str, BtStr* dq_str) { return BtReadQuotedStr(str, '"', dq_str); }

bool BtSkipChar(BtStr* str, char expected) {
  return ReadFront(str, [expected](std::string_view* text) {
    SkipSpace(text);
    if (!text->starts_with(expected)) return BtFail("'%c' expected.", expected);
    text->remove_prefix(1);
    return true;
  });
}

bool BtSkipExpectedStr(BtStr* str, const char* skip_str) {
  return ReadFront(str, [skip_str](std::string_view* text) {
    SkipSpace(text);
    if (!text->starts_with(skip_str)) return BtFail("'%s' expected.", skip_str);
    text->remove_prefix(std::string_view(skip_str).size());
    return true;
  });
}

bool BtReadVector3(BtStr* str, std::array<float, 3>* vector) {
  return ReadFront(str, [vector](std::string_view* text) {
    std::array<float, 3> read = {};
    for (std::size_t i = 0; i < read.size(); ++i) {
      if (!BtReadFloat(text, &read[i])) return BtFail("Invalid %c component", "XYZ"[i]);
    }
    *vector = read;
    return true;
  });
}

bool BtReadTimecodeRate(BtStr* str, double* frames_per_second) {
  return ReadFront(str, [frames_per_second](std::string_view* text) {
    SkipSpace(text);
    std::string_view name;
    if (!text->empty()) BtReadToken(text, &name);
    for (const TimecodeRate& rate : kTimecodeRates) {
      if (name == rate.name) {
        *frames_per_second = rate.frames_per_second;
        return true;
      }
    }
    return BtFail("Unsupported timecode rate.");
  });
}

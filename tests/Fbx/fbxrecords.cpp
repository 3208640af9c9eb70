#include "fbxrecords.h"

#include <gtest/gtest.h>
#include <libdeflate.h>

#include <cstring>
#include <map>
#include <stdexcept>

namespace {

constexpr std::size_t kSentinel = 13;

class Parser {
 public:
  explicit Parser(const std::string& bytes) : _bytes(bytes) {}

  void parse(FbxFile* file) {
    expect(take(23) == std::string("Kaydara FBX Binary  \0\x1A\0", 23), "header");
    file->version = static_cast<int>(number<std::uint32_t>());
    section(&file->main, file);
    if (_at < _bytes.size()) section(&file->extension, file);
    expect(_at == _bytes.size(), "bytes after the footer");
  }

 private:
  void expect(bool good, const std::string& what) const {
    if (!good) throw std::runtime_error(what + " at " + std::to_string(_at));
  }

  std::string take(std::size_t count) {
    expect(count <= _bytes.size() - _at, "end of file");
    _at += count;
    return _bytes.substr(_at - count, count);
  }

  template <class T>
  T number() {
    T value;
    std::memcpy(&value, take(sizeof value).data(), sizeof value);
    return value;
  }

  void zeros(std::size_t count, const std::string& what) {
    expect(take(count) == std::string(count, '\0'), what);
  }

  void section(FbxRecord* list, FbxFile* file) {
    const std::size_t start = _at;
    const bool is_main = file->main.children.empty();
    list->has_list = true;
    while (record(&list->children)) {
    }
    const std::string code = take(16);
    expect(is_main || code == file->footer_code, "footer code");
    file->footer_code = code;
    zeros(16 - _at % 16, "footer padding");
    const std::size_t length = _at - start;
    expect(number<std::uint32_t>() == (is_main ? 0 : length), "section length");
    expect(static_cast<int>(number<std::uint32_t>()) == file->version, "footer version");
    zeros(120, "footer zeros");
    expect(take(16) ==
               std::string("\xF8\x5A\x8C\x6A\xDE\xF5\xD9\x7E\xEC\xE9\x0C\xE3\x75\x8F\x29\x0B", 16),
           "footer end");
  }

  // False, and nothing is added, at the end of a list.
  bool record(std::vector<FbxRecord>* list) {
    const auto end = number<std::uint32_t>();
    if (end == 0) {
      zeros(kSentinel - 4, "sentinel");
      return false;
    }
    const auto count = number<std::uint32_t>();
    const auto length = number<std::uint32_t>();
    FbxRecord& added = list->emplace_back();
    added.name = take(number<std::uint8_t>());
    const std::size_t values_end = _at + length;
    for (std::uint32_t i = 0; i < count; ++i) added.values.push_back(value());
    expect(_at == values_end, "length of the values of " + added.name);
    added.has_list = end > values_end;
    // A list that the loop leaves has had its sentinel.
    if (added.has_list) {
      while (record(&added.children)) {
      }
    }
    expect(_at == end, "end of " + added.name);
    return true;
  }

  FbxValue value() {
    static const std::map<char, void (Parser::*)(FbxValue*)> kTypes = {
        {'C', &Parser::integer<std::uint8_t>},
        {'I', &Parser::integer<std::int32_t>},
        {'L', &Parser::integer<std::int64_t>},
        {'D', &Parser::real},
        {'S', &Parser::text},
        {'R', &Parser::text},
        {'i', &Parser::array<std::int32_t>},
        {'l', &Parser::array<std::int64_t>},
        {'f', &Parser::array<float>},
        {'d', &Parser::array<double>}};
    FbxValue value;
    value.code = take(1)[0];
    const auto type = kTypes.find(value.code);
    expect(type != kTypes.end(), std::string("value type ") + value.code);
    (this->*type->second)(&value);
    return value;
  }

  template <class T>
  void integer(FbxValue* value) {
    value->integer = number<T>();
    value->number = static_cast<double>(value->integer);
  }

  void real(FbxValue* value) { value->number = number<double>(); }

  void text(FbxValue* value) { value->bytes = take(number<std::uint32_t>()); }

  template <class T>
  void array(FbxValue* value) {
    const auto count = number<std::uint32_t>();
    const auto encoding = number<std::uint32_t>();
    std::string data = take(number<std::uint32_t>());
    value->compressed = encoding == 1;
    if (value->compressed) {
      std::string plain(count * sizeof(T), '\0');
      libdeflate_decompressor* decompressor = libdeflate_alloc_decompressor();
      const auto result = libdeflate_zlib_decompress(decompressor, data.data(), data.size(),
                                                     plain.data(), plain.size(), nullptr);
      libdeflate_free_decompressor(decompressor);
      expect(result == LIBDEFLATE_SUCCESS, "compressed array");
      data = plain;
    }
    expect(encoding <= 1 && data.size() == count * sizeof(T), "array size");
    for (std::size_t i = 0; i < count; ++i) {
      T number;
      std::memcpy(&number, data.data() + i * sizeof(T), sizeof number);
      value->numbers.push_back(static_cast<double>(number));
    }
  }

  const std::string& _bytes;
  std::size_t _at = 0;
};

}  // namespace

const FbxRecord& FbxRecord::child(std::string_view child_name) const {
  static const FbxRecord kNothing;
  for (const FbxRecord& record : children) {
    if (record.name == child_name) return record;
  }
  ADD_FAILURE() << "no record " << child_name << " in " << name;
  return kNothing;
}

std::vector<const FbxRecord*> FbxRecord::all(std::string_view child_name) const {
  std::vector<const FbxRecord*> found;
  for (const FbxRecord& record : children) {
    if (record.name == child_name) found.push_back(&record);
  }
  return found;
}

std::vector<double> FbxRecord::numbers() const {
  std::vector<double> numbers;
  for (const FbxValue& value : values) {
    if (std::string_view("CILD").find(value.code) != std::string_view::npos) {
      numbers.push_back(value.number);
    }
    numbers.insert(numbers.end(), value.numbers.begin(), value.numbers.end());
  }
  return numbers;
}

void FbxRecord::walk(const std::function<void(const FbxRecord&)>& visit) const {
  visit(*this);
  for (const FbxRecord& record : children) record.walk(visit);
}

FbxFile ParseFbx(const std::string& bytes) {
  FbxFile file;
  try {
    Parser(bytes).parse(&file);
  } catch (const std::exception& fault) {
    file.fault = fault.what();
  }
  return file;
}

#include "fbxrecordreader.h"

#include <libdeflate.h>

#include <cstring>
#include <memory>

#include "Bt/btexcept.h"
#include "fbxbinarylayout.h"

namespace {

constexpr int kFirstWideVersion = 7500;  // offsets of 64 bits from here on
// No deflate stream makes more than this of a byte.
constexpr std::uint64_t kMaxInflation = 1032;

// Types of values: their letters, the size of one, and what they are.
struct ValueType {
  char code;
  std::uint8_t size;
  bool real;
};
constexpr ValueType kNumberTypes[] = {
    {'B', 1, false}, {'C', 1, false}, {'Y', 2, false}, {'I', 4, false},
    {'L', 8, false}, {'F', 4, true},  {'D', 8, true},
};

// The type of a number or, by its small letter, of the elements of an array; null for others.
const ValueType* NumberType(char code) {
  for (const ValueType& type : kNumberTypes) {
    if (type.code == code || (type.code | 0x20) == code) return &type;
  }
  return nullptr;
}

template <class T>
T Load(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

std::int64_t LoadInteger(const ValueType& type, const char* bytes) {
  switch (type.size) {
    case 1:
      return Load<std::int8_t>(bytes);
    case 2:
      return Load<std::int16_t>(bytes);
    case 4:
      return Load<std::int32_t>(bytes);
    default:
      return Load<std::int64_t>(bytes);
  }
}

double LoadNumber(const ValueType& type, const char* bytes) {
  if (!type.real) return static_cast<double>(LoadInteger(type, bytes));
  if (type.size == sizeof(float)) return static_cast<double>(Load<float>(bytes));
  return Load<double>(bytes);
}

bool TakeInt(std::string_view* rest, std::uint32_t* number) {
  if (rest->size() < sizeof *number) return false;
  *number = Load<std::uint32_t>(rest->data());
  rest->remove_prefix(sizeof *number);
  return true;
}

bool TakeBytes(std::string_view* rest, std::size_t count, std::string_view* bytes) {
  if (rest->size() < count) return false;
  *bytes = rest->substr(0, count);
  rest->remove_prefix(count);
  return true;
}

// Takes one value off `rest`; false where the bytes are none.
bool TakeValue(std::string_view* rest, FbxReadValue* value) {
  *value = {};
  if (rest->empty()) return false;
  value->code = rest->front();
  rest->remove_prefix(1);
  std::uint32_t length = 0;
  if (value->code == 'S' || value->code == 'R') {
    return TakeInt(rest, &length) && TakeBytes(rest, length, &value->bytes);
  }
  const ValueType* type = NumberType(value->code);
  if (type == nullptr) return false;
  if (value->isArray()) {
    return TakeInt(rest, &value->count) && TakeInt(rest, &value->encoding) &&
           TakeInt(rest, &length) && TakeBytes(rest, length, &value->bytes);
  }
  std::string_view bytes;
  if (!TakeBytes(rest, type->size, &bytes)) return false;
  value->number = LoadNumber(*type, bytes.data());
  if (!type->real) value->integer = LoadInteger(*type, bytes.data());
  return true;
}

bool Inflate(std::string_view packed, std::string* plain) {
  const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor(
      libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  return decompressor != nullptr &&
         libdeflate_zlib_decompress(decompressor.get(), packed.data(), packed.size(), plain->data(),
                                    plain->size(), nullptr) == LIBDEFLATE_SUCCESS;
}

// Appends the elements of an array; false where its bytes are not what it says.
bool AppendArray(const FbxReadValue& value, std::vector<double>* numbers) {
  const ValueType& type = *NumberType(value.code);
  const std::uint64_t size = std::uint64_t{value.count} * type.size;
  std::string plain;
  std::string_view bytes = value.bytes;
  if (value.encoding == 1) {
    if (size > value.bytes.size() * kMaxInflation) return false;
    plain.resize(size);
    if (!Inflate(value.bytes, &plain)) return false;
    bytes = plain;
  }
  if (value.encoding > 1 || bytes.size() != size) return false;
  numbers->reserve(numbers->size() + value.count);
  for (std::size_t i = 0; i < size; i += type.size) {
    numbers->push_back(LoadNumber(type, bytes.data() + i));
  }
  return true;
}

}  // namespace

bool FbxValueCursor::next(FbxReadValue* value) {
  std::string_view rest = _rest;
  if (!TakeValue(&rest, value)) return false;
  _rest = rest;
  return true;
}

bool FbxRecordFile::_fail(const char* what, std::size_t at) {
  return BtFail("The file is damaged: %s at byte %zu.", what, at);
}

bool FbxRecordFile::read(std::string bytes) {
  _bytes = std::move(bytes);
  _records.clear();
  const std::string_view all = _bytes;
  if (!all.starts_with(kFbxMagic)) return BtFail("The file is no binary FBX file.");
  if (all.size() < kFbxMagic.size() + sizeof(std::uint32_t) || !all.ends_with(kFbxFooterMagic)) {
    return _fail("it is cut off", all.size());
  }
  _version = Load<std::int32_t>(all.data() + kFbxMagic.size());
  if (_version <= 0 || _version >= kFirstWideVersion) {
    return BtFail("Files of FBX version %d are not supported.", _version);
  }
  _at = kFbxMagic.size() + sizeof(std::uint32_t);
  if (_readRecords()) return true;
  _records.clear();
  return false;
}

bool FbxRecordFile::_readRecords() {
  std::vector<List> open;
  while (true) {
    Header header = {};
    if (!_readHeader(&header)) return false;
    if (header.end == 0) {
      if (open.empty()) return true;
      if (!_endList(header, &open)) return false;
    } else if (!_beginRecord(header, open.empty() ? _bytes.size() : open.back().end, &open)) {
      return false;
    }
  }
}

bool FbxRecordFile::_readHeader(Header* header) {
  if (_bytes.size() - _at < kFbxSentinelSize) return _fail("no record", _at);
  const char* bytes = _bytes.data() + _at;
  *header = {Load<std::uint32_t>(bytes), Load<std::uint32_t>(bytes + 4),
             Load<std::uint32_t>(bytes + 8)};
  return true;
}

bool FbxRecordFile::_beginRecord(const Header& header, std::size_t limit, std::vector<List>* open) {
  const std::size_t name_length = static_cast<unsigned char>(_bytes[_at + kFbxSentinelSize - 1]);
  const std::size_t values = _at + kFbxSentinelSize + name_length;
  const std::size_t values_end = values + header.length;
  if (header.end > limit || values_end > header.end) return _fail("a record without end", _at);
  const std::string_view all = _bytes;
  const Record record = {all.substr(_at + kFbxSentinelSize, name_length),
                         all.substr(values, header.length), header.count,
                         open->empty() ? kNone : open->back().record, _records.size() + 1};
  FbxValueCursor cursor(record.values);
  FbxReadValue value;
  std::uint32_t count = 0;
  while (cursor.next(&value)) ++count;
  if (!cursor.atEnd() || count != record.value_count) {
    return _fail("values of a record", values);
  }
  _records.push_back(record);
  _at = values_end;
  if (header.end > values_end) open->push_back({_records.size() - 1, header.end});
  return true;
}

bool FbxRecordFile::_endList(const Header& header, std::vector<List>* open) {
  _at += kFbxSentinelSize;
  if (_at != open->back().end || header.count != 0 || header.length != 0) {
    return _fail("the end of a list", _at);
  }
  _records[open->back().record].end = _records.size();
  open->pop_back();
  return true;
}

std::size_t FbxRecordFile::child(std::size_t parent, std::string_view name) const {
  const std::size_t end = parent == kNone ? _records.size() : _records[parent].end;
  for (std::size_t i = parent == kNone ? 0 : parent + 1; i < end; i = _records[i].end) {
    if (_records[i].name == name) return i;
  }
  return kNone;
}

FbxReadValue FbxRecordFile::value(std::size_t record, std::size_t i) const {
  FbxReadValue value;
  if (record == kNone) return value;
  FbxValueCursor cursor(_records[record].values);
  for (std::size_t passed = 0; cursor.next(&value); ++passed) {
    if (passed == i) return value;
  }
  return {};
}

bool FbxRecordFile::numbers(std::size_t record, std::vector<double>* numbers) const {
  if (record == kNone) return true;
  FbxValueCursor cursor(_records[record].values);
  FbxReadValue value;
  while (cursor.next(&value)) {
    if (value.isArray()) {
      if (AppendArray(value, numbers)) continue;
      return _fail("an array", static_cast<std::size_t>(value.bytes.data() - _bytes.data()));
    }
    if (value.code != 'S' && value.code != 'R') numbers->push_back(value.number);
  }
  return true;
}

std::uint64_t FbxRecordFile::numberCount(std::size_t record) const {
  std::uint64_t count = 0;
  if (record == kNone) return count;
  FbxValueCursor cursor(_records[record].values);
  FbxReadValue value;
  while (cursor.next(&value)) {
    if (value.isArray()) {
      count += value.count;
    } else if (value.code != 'S' && value.code != 'R') {
      ++count;
    }
  }
  return count;
}

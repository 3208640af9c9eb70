#include "fbxbinaryencoder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>

#include "Bt/btassert.h"
#include "Bt/btexcept.h"
#include "fbxbinarylayout.h"
#include "fbxoutputfile.h"
#include "fbxsourcefile.h"

namespace {

constexpr std::size_t kOffsetsSize = 12;  // end offset, value count, values' length: 32 bits each
constexpr std::size_t kFooterZeros = 120;
constexpr std::uint64_t kAlignment = 16;

constexpr std::size_t kMinCompressedSize = 1024;
constexpr std::uint32_t kPlain = 0;
constexpr std::uint32_t kZlib = 1;

constexpr std::size_t kCopySize = std::size_t{1} << 18;

}  // namespace

FbxBinaryEncoder::FbxBinaryEncoder(FbxOutputFile* file, std::int32_t version,
                                   const FbxCreationTime& creation_time)
    : _file(file), _version(version), _footer_code(creation_time.footerCode()) {
  _file->write(kFbxMagic.data(), kFbxMagic.size());
  _file->write(&_version, sizeof _version);
}

FbxBinaryEncoder::~FbxBinaryEncoder() = default;

bool FbxBinaryEncoder::ok() const { return _file->ok(); }

void FbxBinaryEncoder::begin(std::string_view name) {
  BtAssert(name.size() <= std::numeric_limits<std::uint8_t>::max());
  BtAssert(_open.empty() || _open.back().has_list);
  const std::uint64_t header = _file->position();
  _file->writeZeros(kOffsetsSize);
  const auto length = static_cast<std::uint8_t>(name.size());
  _file->write(&length, 1);
  _file->write(name.data(), name.size());
  _open.push_back({header, _file->position(), 0, 0, false});
}

void FbxBinaryEncoder::list() {
  _open.back().values_end = _file->position();
  _open.back().has_list = true;
}

void FbxBinaryEncoder::end() {
  OpenRecord record = _open.back();
  _open.pop_back();
  if (record.has_list) {
    _file->writeZeros(kFbxSentinelSize);
  } else {
    record.values_end = _file->position();
  }
  // The file refuses to become longer than these numbers can say.
  const std::uint32_t offsets[] = {static_cast<std::uint32_t>(_file->position()), record.count,
                                   static_cast<std::uint32_t>(record.values_end - record.values)};
  std::array<std::uint8_t, sizeof offsets> bytes;
  std::memcpy(bytes.data(), offsets, sizeof offsets);
  _file->patch(record.header, bytes);
}

void FbxBinaryEncoder::_beginValue(char code) {
  BtAssert(!_open.empty() && !_open.back().has_list);
  ++_open.back().count;
  _file->write(&code, 1);
}

template <class T>
void FbxBinaryEncoder::_addPlain(char code, T value) {
  _beginValue(code);
  _file->write(&value, sizeof value);
}

void FbxBinaryEncoder::add(char value) { _addPlain('C', value); }
void FbxBinaryEncoder::add(std::int32_t value) { _addPlain('I', value); }
void FbxBinaryEncoder::add(std::int64_t value) { _addPlain('L', value); }
void FbxBinaryEncoder::add(double value) { _addPlain('D', value); }

void FbxBinaryEncoder::_writeInt(std::uint64_t value) {
  // A length that has no place in 32 bits belongs to bytes that the file refuses.
  const auto number = static_cast<std::uint32_t>(value);
  _file->write(&number, sizeof number);
}

void FbxBinaryEncoder::_addBytes(char code, std::string_view bytes) {
  _beginValue(code);
  _writeInt(bytes.size());
  _file->write(bytes.data(), bytes.size());
}

void FbxBinaryEncoder::add(std::string_view text) { _addBytes('S', text); }

void FbxBinaryEncoder::add(const FbxObjectName& name) {
  constexpr std::string_view kSeparator("\0\1", 2);
  _beginValue('S');
  _writeInt(name.name.size() + kSeparator.size() + name.type.size());
  for (const std::string_view part : {name.name, kSeparator, name.type}) {
    _file->write(part.data(), part.size());
  }
}

void FbxBinaryEncoder::addRaw(std::span<const std::uint8_t> bytes) {
  _addBytes('R', {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void FbxBinaryEncoder::addFile(FbxSourceFile& file) {
  _beginValue('R');
  _writeInt(0);
  const std::uint64_t start = _file->position();
  const auto buffer = std::make_unique_for_overwrite<char[]>(kCopySize);
  std::ptrdiff_t count = 0;
  while (_file->ok() && (count = file.read({buffer.get(), kCopySize})) > 0) {
    _file->write(buffer.get(), static_cast<std::size_t>(count));
  }
  if (count < 0) {
    theExceptObj.set("Unable to read '%s': %s.", file.name().c_str(), file.reason());
    _file->abandon();
  }
  // The length is that of the bytes that came: the file may have changed since it was opened.
  _patchLength(start);
}

void FbxBinaryEncoder::add(std::span<const double> values) {
  if (_version < kFbxFirstArrayVersion) {
    _addEach('D', values);
  } else {
    _addArray('d', values);
  }
}

void FbxBinaryEncoder::add(std::span<const std::int32_t> values) {
  if (_version < kFbxFirstArrayVersion) {
    _addEach('I', values);
  } else {
    _addArray('i', values);
  }
}

void FbxBinaryEncoder::add(std::span<const std::int64_t> values) {
  if (_version < kFbxFirstArrayVersion) {
    _addEach('L', values);
  } else {
    _addArray('l', values);
  }
}

void FbxBinaryEncoder::add(std::span<const float> values) {
  if (_version < kFbxFirstArrayVersion) {
    _addEach('F', values);
  } else {
    _addArray('f', values);
  }
}

void FbxBinaryEncoder::addKeys(std::span<const std::int64_t> times, std::span<const float> values) {
  BtAssert(times.size() == values.size());
  BtAssert(!_open.empty() && !_open.back().has_list);
  constexpr std::size_t kPerBlock = 1024;
  constexpr std::size_t kStep = 3 + sizeof(std::int64_t) + sizeof(double) + 1;
  constexpr std::uint32_t kValuesOfKey = 3;
  std::array<char, kPerBlock * kStep> block;
  for (std::size_t done = 0; done < times.size() && _file->ok();) {
    const std::size_t end = std::min(done + kPerBlock, times.size());
    char* out = block.data();
    for (std::size_t i = done; i < end; ++i, out += kStep) {
      const double value = static_cast<double>(values[i]);
      out[0] = 'L';
      std::memcpy(out + 1, &times[i], sizeof times[i]);
      out[9] = 'D';
      std::memcpy(out + 10, &value, sizeof value);
      out[18] = 'C';
      out[19] = kFbxLinearKey;
    }
    _file->write(block.data(), (end - done) * kStep);
    _open.back().count += kValuesOfKey * static_cast<std::uint32_t>(end - done);
    done = end;
  }
}

template <class T>
void FbxBinaryEncoder::_addEach(char code, std::span<const T> values) {
  constexpr std::size_t kPerBlock = 1024;
  constexpr std::size_t kStep = 1 + sizeof(T);
  BtAssert(!_open.empty() && !_open.back().has_list);
  std::array<char, kPerBlock * kStep> block;
  for (std::size_t done = 0; done < values.size() && _file->ok();) {
    const auto part = values.subspan(done, std::min(kPerBlock, values.size() - done));
    char* out = block.data();
    for (const T& value : part) {
      *out = code;
      std::memcpy(out + 1, &value, sizeof value);
      out += kStep;
    }
    _file->write(block.data(), part.size() * kStep);
    _open.back().count += static_cast<std::uint32_t>(part.size());
    done += part.size();
  }
}

template <class T>
void FbxBinaryEncoder::_addArray(char code, std::span<const T> values) {
  _beginValue(code);
  _writeInt(values.size());
  const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(values.data()),
                                            values.size_bytes());
  const bool is_compressed = bytes.size() >= kMinCompressedSize;
  _writeInt(is_compressed ? kZlib : kPlain);
  _writeInt(bytes.size());
  if (!is_compressed) return _file->write(bytes.data(), bytes.size());
  const std::uint64_t start = _file->position();
  if constexpr (std::is_same_v<T, std::int64_t>) {
    _writeTimes(values);
  } else {
    _compressor.compress(bytes, _file);
  }
  _patchLength(start);
}

void FbxBinaryEncoder::_writeTimes(std::span<const std::int64_t> times) {
  if (!std::equal(times.begin(), times.end(), _times.begin(), _times.end())) {
    _times.assign(times.begin(), times.end());
    FbxOutputFile memory(FbxOutputFile::kNoLimit);
    memory.openMemory(&_packed_times);
    _compressor.compress({reinterpret_cast<const std::uint8_t*>(times.data()), times.size_bytes()},
                         &memory);
    if (!memory.commit()) return _file->abandon();
  }
  _file->write(_packed_times.data(), _packed_times.size());
}

// The bytes that were written from `start` on are a value: their number goes where it is expected,
// right before them.
void FbxBinaryEncoder::_patchLength(std::uint64_t start) {
  const auto length = static_cast<std::uint32_t>(_file->position() - start);
  std::array<std::uint8_t, sizeof length> bytes;
  std::memcpy(bytes.data(), &length, sizeof length);
  _file->patch(start - sizeof length, bytes);
}

void FbxBinaryEncoder::endSection() {
  BtAssert(_open.empty());
  _file->writeZeros(kFbxSentinelSize);
  _file->write(_footer_code.data(), _footer_code.size());
  // From 1 to 16 zeros: an aligned position gets a whole row.
  _file->writeZeros(static_cast<std::size_t>(kAlignment - _file->position() % kAlignment));
  _writeInt(_section_start == 0 ? 0 : _file->position() - _section_start);
  _file->write(&_version, sizeof _version);
  _file->writeZeros(kFooterZeros);
  _file->write(kFbxFooterMagic.data(), kFbxFooterMagic.size());
  _section_start = _file->position();
}

#include "yardsticks.h"

#include <fcntl.h>
#include <libdeflate.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>
#include <vector>

namespace {

// The text of a file, mapped; empty where that fails.
class MappedFile {
 public:
  explicit MappedFile(const std::string& file_name) {
    const int fd = open(file_name.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info = {};
    if (fd < 0 || fstat(fd, &info) != 0) return;
    const auto size = static_cast<std::size_t>(info.st_size);
    void* const start = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    close(fd);
    if (start != MAP_FAILED) _text = {static_cast<const char*>(start), size};
  }
  ~MappedFile() {
    if (!_text.empty()) munmap(const_cast<char*>(_text.data()), _text.size());
  }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  [[nodiscard]] std::string_view text() const { return _text; }

 private:
  std::string_view _text;
};

// Keeps a sum that is not used otherwise.
volatile double kept_sum;

bool BeginsNumber(char c) { return (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// Walks through the records of a file and adds up what their arrays would measure.
class ArraySizer {
 public:
  explicit ArraySizer(std::string_view file)
      : _file(file),
        _size(static_cast<double>(file.size())),
        _decompressor(libdeflate_alloc_decompressor(), libdeflate_free_decompressor) {}

  double run() {
    constexpr std::size_t kHeader = 27;
    _at = kHeader;
    while (_ok && _record()) {
    }
    return _ok ? _size : 0;
  }

 private:
  std::uint32_t _number() {
    std::uint32_t number = 0;
    if (_file.size() - _at < sizeof number) {
      _ok = false;
      return 0;
    }
    std::memcpy(&number, _file.data() + _at, sizeof number);
    _at += sizeof number;
    return number;
  }

  // False at the end of a list.
  bool _record() {
    const std::uint32_t end = _number();
    const std::uint32_t count = _number();
    const std::uint32_t length = _number();
    if (!_ok || end == 0) {
      ++_at;  // a name's length, of an empty record
      return false;
    }
    _at += 1 + static_cast<unsigned char>(_file[_at]);
    const std::size_t values_end = _at + length;
    // Arrays stand alone in their records.
    if (count == 1 && std::strchr("dfilb", _file[_at]) != nullptr) _array();
    _at = values_end;
    if (_at < end) {
      while (_ok && _record()) {
      }
    }
    _ok = _ok && _at == end;
    return _ok;
  }

  void _array() {
    const std::size_t width = std::strchr("dl", _file[_at]) != nullptr ? 8 : 4;
    ++_at;
    std::vector<unsigned char> values(width * _number());
    const bool compressed = _number() == 1;
    const std::uint32_t length = _number();
    if (!compressed) return;
    _ok = libdeflate_zlib_decompress(_decompressor.get(), _file.data() + _at, length, values.data(),
                                     values.size(), nullptr) == LIBDEFLATE_SUCCESS;
    uLongf size = compressBound(values.size());
    std::vector<unsigned char> again(size);
    constexpr int kLevel = 6;
    _ok = _ok && compress2(again.data(), &size, values.data(), values.size(), kLevel) == Z_OK;
    _size += static_cast<double>(size) - static_cast<double>(length);
  }

  std::string_view _file;
  std::size_t _at = 0;
  bool _ok = true;
  double _size;
  std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> _decompressor;
};

}  // namespace

bool FromCharsLoop(const std::string& file_name) {
  const MappedFile file(file_name);
  const char* p = file.text().data();
  const char* const end = p + file.text().size();
  double sum = 0;
  while (p < end) {
    double number = 0;
    if (BeginsNumber(*p)) {
      const std::from_chars_result result = std::from_chars(p, end, number);
      if (result.ec == std::errc()) {
        sum += number;
        p = result.ptr;
        continue;
      }
    }
    ++p;
  }
  kept_sum = sum;
  return !file.text().empty();
}

bool ExtractionLoop(const std::string& file_name) {
  std::ifstream is(file_name);
  double number = 0;
  double sum = 0;
  while (!is.eof() && !is.bad()) {
    if (is >> number) {
      sum += number;
    } else {
      is.clear(is.rdstate() & ~std::ios::failbit);
      is.ignore();
    }
  }
  kept_sum = sum;
  return is.eof();
}

double SizeWithZlib(const std::string& file_name) {
  const MappedFile file(file_name);
  return ArraySizer(file.text()).run();
}

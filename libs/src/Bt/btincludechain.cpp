#include "btincludechain.h"

#include <sys/stat.h>

#include <algorithm>

#include "Bt/btexcept.h"

namespace {

constexpr std::size_t kMaxDepth = 100;
// The texts of all included files together, unpacked, each counted as often as it is included and
// with a share for the work of opening it: a quarter of a million empty files, or one file of a
// quarter of a gigabyte.
constexpr long long kMaxIncludedBytes = 1LL << 28;
constexpr long long kBytesPerFile = 1024;

}  // namespace

bool Bt_IncludeChain::enter(const char* file_name) {
  struct stat info = {};
  BtFileId id = {};
  if (stat(file_name, &info) == 0) id = {info.st_dev, info.st_ino};
  if (info.st_ino != 0 && std::find(_files.begin(), _files.end(), id) != _files.end()) {
    return BtFail(BtCode("include-circle"), "%s file '%s' includes itself.", _kind, file_name);
  }
  if (_files.size() == kMaxDepth) {
    return BtFail("%s file '%s' is included more than %d levels deep.", _kind, file_name,
                  static_cast<int>(kMaxDepth));
  }
  if (!_files.empty()) {
    _included_bytes += kBytesPerFile;
    if (!_checkSize(_included_bytes + info.st_size)) return false;
  }
  _files.push_back(id);
  if (info.st_ino != 0) _all_files.emplace_back(file_name);
  return true;
}

BtInputFile Bt_IncludeChain::open(const char* file_name) {
  if (_files.size() < 2) return BtInputFile(file_name);
  BtInputFile file(file_name, BtFileKind::Regular);
  if (file.isOpen()) file.countWith([this](long long bytes) { return count(bytes); });
  return file;
}

bool Bt_IncludeChain::count(long long bytes) {
  if (_files.size() > 1) _included_bytes += bytes;
  return _checkSize(_included_bytes);
}

bool Bt_IncludeChain::_checkSize(long long bytes) {
  if (bytes <= kMaxIncludedBytes) return true;
  return BtFail("The files that are included come to more than %lld bytes.", kMaxIncludedBytes);
}

#include "btreplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

constexpr int kMaxLinks = 40;
constexpr mode_t kPermissions = 0777;

// What a chain of symbolic links ends at, whether that exists or not; empty, with errno set, for a
// chain without an end.
std::string FollowLinks(const std::string& path) {
  std::filesystem::path place = path;
  for (int i = 0; i < kMaxLinks; ++i) {
    std::error_code no_link;
    const std::filesystem::path next = std::filesystem::read_symlink(place, no_link);
    if (no_link) return place;
    place = place.parent_path() / next;  // an absolute one replaces the folder
  }
  errno = ELOOP;
  return {};
}

// The permissions that a new file gets.
mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

BtReplacement::Place BtReplacement::open(const std::string& target) {
  discard();
  _older.reset();
  struct stat older {};
  const bool exists = stat(target.c_str(), &older) == 0;
  if (!exists && errno != ENOENT) return Place::Failed;
  if (exists && S_ISDIR(older.st_mode)) {
    errno = EISDIR;
    return Place::Failed;
  }
  if (exists && !S_ISREG(older.st_mode)) return Place::Target;
  if (exists && faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) return Place::Failed;
  _path = FollowLinks(target);
  if (_path.empty()) return Place::Failed;
  if (exists) {
    // A file that is open but has no name any more can be reached through /proc only, not replaced.
    struct stat found {};
    if (lstat(_path.c_str(), &found) != 0 || found.st_ino != older.st_ino ||
        found.st_dev != older.st_dev) {
      return Place::Target;
    }
    _older = {older.st_mode & kPermissions, older.st_uid, older.st_gid};
  }
  return _createBeside() ? Place::Beside : Place::Failed;
}

bool BtReplacement::_createBeside() {
  const std::string folder = _path.substr(0, _path.rfind('/') + 1);
  for (int i = 0;; ++i) {
    const std::string name =
        folder + ".kestrix-" + std::to_string(getpid()) + "-" + std::to_string(i) + ".tmp";
    _fd = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (_fd >= 0) {
      _name = name;
      return true;
    }
    if (errno != EEXIST) return false;
  }
}

bool BtReplacement::commit() {
  // Only the superuser may give files away, and some file systems have no permissions: then the
  // file stays its writer's own.
  [[maybe_unused]] const int given = _older ? fchown(_fd, _older->owner, _older->group) : 0;
  [[maybe_unused]] const int opened = fchmod(_fd, _older ? _older->mode : NewFileMode());
  const int closed = close(_fd);
  _fd = -1;
  if (closed != 0 || rename(_name.c_str(), _path.c_str()) != 0) return false;
  _name.clear();
  return true;
}

void BtReplacement::discard() {
  if (_fd >= 0) close(_fd);
  _fd = -1;
  if (!_name.empty()) unlink(_name.c_str());
  _name.clear();
}

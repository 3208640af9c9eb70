#include "btreplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "btshelljob.h"

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

// A path that leads to an open file, whether that has a name or not.
std::string NameOfDescriptor(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

// Waits until the bytes have arrived: some file systems find out only then that there is no room.
bool Sync(int fd) {
  while (fsync(fd) != 0) {
    if (errno == EINVAL || errno == EROFS || errno == ENOSYS) break;  // nothing to wait for
    if (errno != EINTR) return false;
  }
  return true;
}

// While one lives, no signal ends the process.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &_before);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t _before{};
};

}  // namespace

BtReplacement::BtReplacement() = default;

BtReplacement::~BtReplacement() { discard(); }

BtReplacement::Place BtReplacement::open(const std::string& target, Bt_ShellJob* writer) {
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
  _target = FollowLinks(target);
  if (_target.empty()) return Place::Failed;
  if (exists) {
    // A file that is open but has no name any more can be reached through /proc only, not replaced.
    struct stat found {};
    if (lstat(_target.c_str(), &found) != 0 || found.st_ino != older.st_ino ||
        found.st_dev != older.st_dev) {
      return Place::Target;
    }
    _older = {older.st_mode & kPermissions, older.st_uid, older.st_gid};
  }
  return _createBeside(writer) ? Place::Beside : Place::Failed;
}

bool BtReplacement::_createBeside(Bt_ShellJob* writer) {
  if (writer == nullptr) {
    const std::string folder = _target.substr(0, _target.rfind('/') + 1);
    // A file without a name is gone with the process, however that ends.
    _fd = ::open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (_fd >= 0 && access(NameOfDescriptor(_fd).c_str(), F_OK) == 0) return true;
    // Not every file system has such files, and naming them later needs /proc.
    if (_fd >= 0) close(_fd);
  }
  if (writer == nullptr) {
    // Where there can be no other process, this one does without.
    _keeper = std::make_unique<Bt_ShellJob>();
    if (_keeper->startKeeper()) writer = _keeper.get();
  }
  return _takeFreshName([this, writer](const char* name) {
    struct stat older = {};
    if (lstat(name, &older) == 0) {
      errno = EEXIST;
      return false;
    }
    if (writer != nullptr) writer->keepFile(name);
    _fd = ::open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    return _fd >= 0;
  });
}

template <class Create>
bool BtReplacement::_takeFreshName(Create create) {
  const std::string folder = _target.substr(0, _target.rfind('/') + 1);
  for (int i = 0;; ++i) {
    // Kept before there is such a file: nothing that fails later must forget it.
    _name = folder + ".kestrix-" + std::to_string(getpid()) + "-" + std::to_string(i) + ".tmp";
    if (create(_name.c_str())) return true;
    const int error = errno;
    _name.clear();
    errno = error;
    if (errno != EEXIST) return false;
  }
}

std::string BtReplacement::path() const { return _name.empty() ? NameOfDescriptor(_fd) : _name; }

bool BtReplacement::commit() {
  // Only the superuser may give files away, and some file systems have no permissions: then the
  // file stays its writer's own.
  [[maybe_unused]] const int given = _older ? fchown(_fd, _older->owner, _older->group) : 0;
  [[maybe_unused]] const int opened = fchmod(_fd, _older ? _older->mode : NewFileMode());
  if (!Sync(_fd)) return false;
  const BlockedSignals none_between_naming_and_renaming;
  if (_name.empty() && !_takeFreshName([this](const char* name) {
        return linkat(AT_FDCWD, NameOfDescriptor(_fd).c_str(), AT_FDCWD, name, AT_SYMLINK_FOLLOW) ==
               0;
      })) {
    return false;
  }
  const int closed = close(_fd);
  _fd = -1;
  if (closed != 0 || rename(_name.c_str(), _target.c_str()) != 0) {
    const int error = errno;
    discard();
    errno = error;
    return false;
  }
  _name.clear();
  _keeper.reset();
  return true;
}

void BtReplacement::discard() {
  if (_fd >= 0) close(_fd);
  _fd = -1;
  if (!_name.empty()) unlink(_name.c_str());
  _name.clear();
  _keeper.reset();
}

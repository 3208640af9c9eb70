#include "Bt/btfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "Bt/btassert.h"
#include "Bt/btexcept.h"

namespace {

bool IsDirectory(const char* path) {
  struct stat info = {};
  return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

// `mode` as for access(), for the effective user.
bool HaveAccess(const char* path, int mode) {
  return faccessat(AT_FDCWD, path, mode, AT_EACCESS) == 0;
}

bool MayRun(const char* path) { return !IsDirectory(path) && HaveAccess(path, X_OK); }

bool CheckWriteExisting(const BtStr& path) {
  if (!IsDirectory(path)) {
    if (HaveAccess(path, W_OK)) return true;
    if (errno == EACCES || errno == EPERM) {
      return BtFail("Insufficient access to write to existing file.  Check permissions.");
    }
  }
  // A folder, a file of a read-only file system, a running program.
  return BtFail("File \"%s\" is unwritable.", static_cast<const char*>(path));
}

bool CheckWriteNew(const BtStr& path) {
  BtStr absolute = path;
  if (!BtFileIsAbsolutePath(path)) {
    std::error_code error;
    const std::filesystem::path workdir = std::filesystem::current_path(error);
    if (error) return BtFail("Cannot get current working directory in BtFileHaveWriteAccess().\n");
    absolute = BtFileAbsolutePath(path, workdir.c_str());
  }
  const BtStr parent = BtFileDirectory(absolute);
  if (!IsDirectory(parent)) {
    return BtFail("Parent directory \"%s\" does not exist.", static_cast<const char*>(parent));
  }
  if (HaveAccess(parent, W_OK | X_OK)) return true;
  return BtFail("Insufficient access to create file in \"%s\".  Check permissions.",
                static_cast<const char*>(parent));
}

// "dir/" with exactly one slash at the end.
BtStr WithSlash(const BtStr& dir) {
  BtAssert(dir.length() >= 1, "dir.length()>=1");
  return dir.view().ends_with('/') ? dir : dir + "/";
}

}  // namespace

bool BtFileIsAbsolutePath(const BtStr& path) {
  BtAssert(path.length() > 0, "path.length()>0");
  return path.view().starts_with('/');
}

BtStr BtFileAbsolutePath(const BtStr& path, const BtStr& workdir) {
  BtAssert(BtFileIsAbsolutePath(workdir), "BtFileIsAbsolutePath(workdir)");
  BtAssert(path.length() > 0, "path[0]!='\\0'");
  return BtFileIsAbsolutePath(path) ? path : WithSlash(workdir) + path;
}

BtStr BtFileJoin(const BtStr& dir, const BtStr& file) {
  BtAssert(file.length() >= 1, "file.length()>=1");
  return WithSlash(dir) + file;
}

BtStr BtFileJoin(const BtStr& dir, const BtStr& file, const BtStr& ext) {
  BtAssert(ext.length() >= 1, "ext.length()>=1");
  return BtFileJoin(dir, file) + "." + ext;
}

BtStr BtFileDirectory(const char* path) {
  const std::string_view text = path == nullptr ? "" : path;
  const std::size_t slash = text.rfind('/');
  if (slash == std::string_view::npos) return ".";
  return BtStr(text.substr(0, slash == 0 ? 1 : slash));
}

BtStr BtFileBaseName(const char* path) {
  if (path == nullptr || *path == '\0') return {};
  std::string_view text = path;
  if (text.ends_with('/') || text.ends_with('\\')) text.remove_suffix(1);
  std::size_t last = text.rfind('/');
  if (last == std::string_view::npos) last = text.rfind('\\');
  return BtStr(last == std::string_view::npos ? text : text.substr(last + 1));
}

BtStr BtFileSeenFrom(const BtStr& to, const BtStr& name, const BtStr& from) {
  namespace fs = std::filesystem;
  if (BtFileIsAbsolutePath(name) || to == from) return name;
  std::error_code error;
  const fs::path file = fs::absolute(fs::path(from.view()) / name.view(), error);
  const fs::path target = error ? fs::path() : fs::absolute(fs::path(to.view()), error);
  if (error) return name;
  const fs::path old_folder = fs::weakly_canonical(file.parent_path(), error);
  const fs::path folder = error ? fs::path() : fs::weakly_canonical(target, error);
  if (error) return BtStr(file.c_str());  // which is as good, in one place
  const fs::path real_file = (old_folder / file.filename()).lexically_normal();
  return BtStr(real_file.lexically_relative(folder).c_str());
}

bool BtFileFindId(const char* path, BtFileId* id) {
  struct stat info = {};
  if (path == nullptr || stat(path, &info) != 0) return false;
  *id = {info.st_dev, info.st_ino};
  return true;
}

bool BtFileExists(const char* path) {
  struct stat info = {};
  return path != nullptr && stat(path, &info) == 0;
}

bool BtFileCanExecute(const BtStr& path) {
  BtAssert(BtFileExists(path), "BtFileExists(path)");
  return MayRun(path);
}

bool BtFileHaveReadAccess(const BtStr& path) {
  struct stat info = {};
  if (stat(path, &info) != 0 && errno != EACCES) return BtFail("File does not exist.");
  if (S_ISDIR(info.st_mode)) return BtFail("File is a directory.");
  if (HaveAccess(path, R_OK)) return true;
  return BtFail("Insufficient access to read file.  Check permissions.");
}

bool BtFileHaveWriteAccess(const BtStr& path) {
  return BtFileExists(path) ? CheckWriteExisting(path) : CheckWriteNew(path);
}

std::unique_ptr<BtIFStream> BtFileOpenInput(const BtStr& path) {
  auto is = std::make_unique<BtIFStream>(path);
  if (is->isOpen()) return is;
  theExceptObj.set(IsDirectory(path) ? path + " is a directory." : "Couldn't open " + path);
  return nullptr;
}

bool BtFileCheckOutput(const BtStr& path, BtFileOverwrite overwrite) {
  const char* obstacle = nullptr;
  if (IsDirectory(path)) {
    obstacle = " is a directory.";
  } else if (BtFileExists(path) && overwrite == BtFileOverwrite::No) {
    obstacle = " already exists.";
  } else if (BtFileExists(path) && !HaveAccess(path, W_OK)) {
    obstacle = " is not writable.";
  }
  return obstacle == nullptr || BtFail(path + obstacle);
}

std::unique_ptr<std::ofstream> BtFileOpenOutput(const BtStr& path, BtFileOverwrite overwrite) {
  if (!BtFileCheckOutput(path, overwrite)) return nullptr;
  auto os = std::make_unique<std::ofstream>(path, std::ios::binary);
  if (os->is_open()) return os;
  theExceptObj.set("Couldn't create " + path);
  return nullptr;
}

BtStr BtFileFindCommand(const BtStr& command) {
  const auto runs = [](const BtStr& path) { return MayRun(path); };
  if (command.length() == 0) return {};
  if (command.view().find('/') != std::string_view::npos) return runs(command) ? command : BtStr();
  const char* const variable = std::getenv("PATH");
  if (variable == nullptr) return {};
  std::string_view folders = variable;
  for (;;) {
    const std::size_t length = folders.find(':');
    // An empty entry stands for the current folder.
    const BtStr folder(length == 0 || folders.empty() ? "." : folders.substr(0, length));
    BtStr path = BtFileJoin(folder, command);
    if (runs(path)) return path;
    if (length == std::string_view::npos) return {};
    folders.remove_prefix(length + 1);
  }
}

bool BtFileReadLink(const BtStr& link, BtStr* target) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::read_symlink(link.view(), error);
  if (error) return BtFail("Unable to read link " + link);
  *target = path.c_str();
  return true;
}

bool BtFileProgramPath(BtStr* path) { return BtFileReadLink("/proc/self/exe", path); }

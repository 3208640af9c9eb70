// What the system asks of the file system: paths, permissions, opening. Functions that answer bool
// for success record an error where they answer false; plain questions record nothing.
#pragma once

#include <sys/types.h>

#include <fstream>
#include <memory>

#include "Bt/btifstream.h"
#include "Bt/btstr.h"

// Paths. Unless it is said, nothing is looked up on disk, "." and ".." stand as they are.

[[nodiscard]] bool BtFileIsAbsolutePath(const BtStr& path);
// `path` itself when it is absolute, else the path joined to the absolute folder `workdir`.
[[nodiscard]] BtStr BtFileAbsolutePath(const BtStr& path, const BtStr& workdir);
// "dir/file" and "dir/file.ext"; no part may be empty. A slash that ends `dir` is not doubled.
[[nodiscard]] BtStr BtFileJoin(const BtStr& dir, const BtStr& file);
[[nodiscard]] BtStr BtFileJoin(const BtStr& dir, const BtStr& file, const BtStr& ext);
// The path up to its last "/": "." when there is none, "/" for "/x". Null counts as empty.
[[nodiscard]] BtStr BtFileDirectory(const char* path);
// The text behind the last "/" or, where there is no "/", behind the last "\", so that Windows
// paths work too; one "/" or "\" at the end is not counted. Null for a null or an empty path.
[[nodiscard]] BtStr BtFileBaseName(const char* path);

// The file that `name` means in folder `from`, as it is called in folder `to`; absolute names
// stand. Links to folders are looked up on disk, so that ".." leads where it says; a link to a file
// keeps its own name.
[[nodiscard]] BtStr BtFileSeenFrom(const BtStr& to, const BtStr& name, const BtStr& from);

// What a file is, under whatever name.
struct BtFileId {
  dev_t device;
  ino_t inode;
  bool operator==(const BtFileId& other) const = default;
};
// Links are followed. False, without a record, where there is no such file.
[[nodiscard]] bool BtFileFindId(const char* path, BtFileId* id);

// Questions and checks. Access is checked for the effective user.

[[nodiscard]] bool BtFileExists(const char* path);
// True for a file, but not a directory, that may be run. The path must exist.
[[nodiscard]] bool BtFileCanExecute(const BtStr& path);
// True when `path` can be read and is no directory.
bool BtFileHaveReadAccess(const BtStr& path);
// True when `path` can be written: an existing file, or a new one in an existing folder.
bool BtFileHaveWriteAccess(const BtStr& path);

// Opening. Null where that fails.

[[nodiscard]] std::unique_ptr<BtIFStream> BtFileOpenInput(const BtStr& path);
enum class BtFileOverwrite { Yes, No };
// True when nothing that is at `path` forbids writing a file there.
bool BtFileCheckOutput(const BtStr& path, BtFileOverwrite overwrite);
// Creates or, where `overwrite` allows it, empties the file.
[[nodiscard]] std::unique_ptr<std::ofstream> BtFileOpenOutput(const BtStr& path,
                                                              BtFileOverwrite overwrite);

// Programs.

// Looks `command` up as a shell does: in the folders of the environment variable PATH, or as it
// stands when it holds a "/". Answers its path; null, without a record, when it is not found.
[[nodiscard]] BtStr BtFileFindCommand(const BtStr& command);
// Where a symbolic link points to.
bool BtFileReadLink(const BtStr& link, BtStr* target);
// The path of the running program.
bool BtFileProgramPath(BtStr* path);

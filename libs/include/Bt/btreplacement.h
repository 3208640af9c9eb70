// BtReplacement: a new file that stands under another name beside its target until it is whole and
// takes the target's place then, so that a failure leaves an older file as it was.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

class BtReplacement {
 public:
  enum class Place {
    Failed,  // errno tells why
    Beside,  // the new file is there
    Target   // pipes, devices and files without a name are to be written as they are
  };

  BtReplacement() = default;
  ~BtReplacement() { discard(); }
  BtReplacement(const BtReplacement&) = delete;
  BtReplacement& operator=(const BtReplacement&) = delete;

  // Creates the new file, empty, where the target or what its links lead to is. An older file that
  // may not be written may not be replaced either.
  Place open(const std::string& target);
  // The new file, open for reading and writing, and its name; -1 and empty without one.
  [[nodiscard]] int descriptor() const { return _fd; }
  [[nodiscard]] const std::string& name() const { return _name; }
  // Puts the new file in its place, with the older file's permissions and, where this user may give
  // files away, owner. False, with errno set, when that fails.
  bool commit();
  // Removes the new file, unless it is in its place.
  void discard();

 private:
  struct Older {
    mode_t mode;
    uid_t owner;
    gid_t group;
  };

  bool _createBeside();

  std::string _path;  // of the target, links followed
  std::string _name;
  std::optional<Older> _older;
  int _fd = -1;
};

// BtReplacement: a new file beside its target, without a name where the file system can do that,
// else watched over by a process that removes it should this one die. It takes the target's place
// when it is whole, so that a failure leaves an older file as it was and nothing else.
#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>

class Bt_ShellJob;

class BtReplacement {
 public:
  enum class Place {
    Failed,  // errno tells why
    Beside,  // the new file is there
    Target   // pipes, devices and files without a name are to be written as they are
  };

  BtReplacement();
  ~BtReplacement();
  BtReplacement(const BtReplacement&) = delete;
  BtReplacement& operator=(const BtReplacement&) = delete;

  // Creates the new file, empty, where the target or what its links lead to is. An older file that
  // may not be written may not be replaced either. Where another program is to write the new file,
  // that has a name at once, and the program's job keeps it; else it gets one when it is whole, if
  // the file system can do that.
  Place open(const std::string& target, Bt_ShellJob* writer = nullptr);
  // The new file, open for reading and writing; -1 without one.
  [[nodiscard]] int descriptor() const { return _fd; }
  // A path that leads to the new file, in this process alone unless it has a name.
  [[nodiscard]] std::string path() const;
  // Puts the new file in its place when all of it has arrived, with the older file's permissions
  // and, where this user may give files away, owner. False, with errno set, when that fails.
  bool commit();
  // Removes the new file, unless it is in its place.
  void discard();

 private:
  struct Older {
    mode_t mode;
    uid_t owner;
    gid_t group;
  };

  bool _createBeside(Bt_ShellJob* writer);
  template <class Create>
  bool _takeFreshName(Create create);

  std::string _target;  // links followed
  std::string _name;    // the name that will be _target; empty where the file has none
  std::optional<Older> _older;
  int _fd = -1;
  std::unique_ptr<Bt_ShellJob> _keeper;  // of a file that has a name for another reason
};

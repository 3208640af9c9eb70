// Names as the file holds them: valid, and told apart where readers tell objects apart by name.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Bt/btflatmap.h"

// Text as UTF-8. Valid UTF-8 stays as it is; a byte that is none is taken as Latin-1.
std::string FbxText(std::string_view text);

// A name as UTF-8 that no reader mistakes: control characters, and a colon behind a colon, which
// would separate a class from a name, become "_".
std::string FbxCleanName(std::string_view name);

// The names of one kind of objects.
class FbxUniqueNames {
 public:
  // Makes room for so many names, before there is any.
  void makeRoom(std::size_t count) { _names.reserve(count); }
  [[nodiscard]] std::size_t count() const { return _names.size(); }
  // Names that their first bearers keep, to be told before the first make(). Telling one twice is
  // fine.
  void reserve(const std::string& name) { _names.try_emplace(name, kReserved); }
  // The name itself for its first bearer, for later ones the name and "_ncl1_1", "_ncl1_2" and so
  // on.
  std::string make(const std::string& name);

 private:
  static constexpr int kReserved = -1;
  // Each name with the number of the last suffix that was made for it, or kReserved while its
  // bearer is still to come.
  BtFlatMap<std::string, int> _names;
};

#include "btcompprogram.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>

#include "Bt/btassert.h"
#include "Bt/btexcept.h"
#include "Bt/btfile.h"

namespace {

constexpr const char* kPipeFolder = "/var/tmp";
constexpr int kMaxPipeLength = 80;
// Names that pipes of dead processes may have left taken.
constexpr int kMaxTakenNames = 100;

constexpr Bt_CompProgram kPrograms[] = {
    {"Z", true, "uncompress", "uncompress -c %s >%s &", "compress", "compress <%s >%s &", 2},
    {"gz", true, "gunzip", "gunzip -c %s >%s &", "gzip", "gzip -9 <%s >%s &", 0},
    {"jpeg", false, "djpeg", "djpeg -gsi %s >%s &", "cjpeg", "cjpeg -gsi <%s >%s &", 0},
};

}  // namespace

const Bt_CompProgram* Bt_FindCompProgram(const char* extension) {
  for (const Bt_CompProgram& program : kPrograms) {
    if (program.extension == extension) return &program;
  }
  theExceptObj.set("Unknown compression extension '%s'.", extension);
  return nullptr;
}

bool Bt_IsCompressedText(const char* file_name) {
  const BtStr extension = Bt_CompExtension(file_name);
  for (const Bt_CompProgram& program : kPrograms) {
    if (program.text && program.extension == extension.view()) return true;
  }
  return false;
}

BtStr Bt_CompExtension(const char* file_name) {
  std::string_view name = file_name;
  name.remove_prefix(name.rfind('/') + 1);  // npos + 1 is 0
  const std::size_t dot = name.rfind('.');
  return BtStr(dot == std::string_view::npos ? "" : name.substr(dot + 1));
}

BtStr Bt_ShellWord(const char* file_name) {
  std::string word = *file_name == '-' ? "'./" : "'";
  for (const char* c = file_name; *c != '\0'; ++c) {
    if (*c == '\'') {
      word += "'\\''";
    } else {
      word += *c;
    }
  }
  return BtStr(word + "'");
}

bool Bt_CreateNamedPipe(const char* format, const Bt_ShellJob& job, BtStr* path) {
  static std::atomic<int> stream_number = 0;
  BtStr name;
  int error = EEXIST;
  for (int i = 0; i < kMaxTakenNames && error == EEXIST; ++i) {
    name = BtFormat(format, kPipeFolder, ++stream_number, static_cast<int>(getpid()));
    BtAssert(name.length() <= kMaxPipeLength);
    if (BtFileExists(name)) continue;  // nothing that was there before is the job's to remove
    job.keepPipe(name);
    error = mkfifo(name, 0600) == 0 ? 0 : errno;
  }
  if (error == 0) {
    *path = name;
    return true;
  }
  theExceptObj.set("%s", std::strerror(error));
  return BtFail("Unable to create named pipe \"%s\".", static_cast<const char*>(name));
}

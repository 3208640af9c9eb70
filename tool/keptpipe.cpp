#include "keptpipe.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

#include "inputs.h"
#include "messages.h"

namespace {

// The number that a name stands for; -1 for none.
int DescriptorOf(std::string_view file) {
  if (file == "/dev/stdin") return STDIN_FILENO;
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!file.starts_with(folder)) continue;
    const std::string_view number = file.substr(folder.size());
    const char* const end = number.data() + number.size();
    int descriptor = -1;
    const auto result = std::from_chars(number.data(), end, descriptor);
    return result.ptr == end ? descriptor : -1;
  }
  return -1;
}

bool WriteAll(int to, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(to, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool CopyAll(int from, int to) {
  constexpr std::size_t kEnough = 64;  // bytes that tell the kind
  std::array<char, 65536> block = {};
  std::string start;
  for (;;) {
    const ssize_t size = read(from, block.data(), block.size());
    if (size < 0 && errno == EINTR) continue;
    const std::string_view bytes(block.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    if (size <= 0 || !WriteAll(to, bytes)) return size == 0;
    if (start.size() >= kEnough) continue;
    start += bytes;
    if (start.size() >= kEnough && KindOfText(start) == FileKind::Unknown) return true;
  }
}

// Half of what came must not be taken for all of it; a folder cannot be read.
void MakeUnreadable(int descriptor) {
  const int folder = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  dup2(folder, descriptor);
  close(folder);
}

}  // namespace

void KeepPipe(const std::string& file) {
  const int pipe = DescriptorOf(file);
  struct stat info = {};
  if (pipe < 0 || fstat(pipe, &info) != 0) return;
  if (!S_ISFIFO(info.st_mode) && !S_ISSOCK(info.st_mode)) return;
  const int copy = memfd_create("pipe", MFD_CLOEXEC);
  if (copy >= 0 && CopyAll(pipe, copy)) {
    dup2(copy, pipe);
  } else {
    Complain(file,
             std::string("What comes through it cannot be kept: ") + std::strerror(errno) + ".");
    MakeUnreadable(pipe);
  }
  if (copy >= 0) close(copy);
}

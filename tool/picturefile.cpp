#include "picturefile.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string_view>

namespace {

// Where a format says how large a picture is.
struct Format {
  const char* name;
  std::string_view start;  // the first bytes of each file
  int width_at;            // 0 where the size is not at a fixed place
  int height_at;
  int size;  // bytes of each of the two numbers
  bool big_endian;
};

constexpr Format kFormats[] = {
    {"PNG", {"\x89PNG\r\n\x1A\n", 8}, 16, 20, 4, true},
    {"GIF", {"GIF8", 4}, 6, 8, 2, false},
    {"BMP", {"BM", 2}, 18, 22, 4, false},
    {"DDS", {"DDS ", 4}, 16, 12, 4, false},
    {"SGI", {"\x01\xDA", 2}, 6, 8, 2, true},
    {"JPEG", {"\xFF\xD8\xFF", 3}, 0, 0, 0, true},
    {"TIFF", {"II*\0", 4}, 0, 0, 0, false},
    {"TIFF", {"MM\0*", 4}, 0, 0, 0, true},
};

constexpr std::size_t kHeaderSize = 65536;
constexpr std::size_t kTgaHeaderSize = 18;

unsigned ByteAt(std::string_view bytes, std::size_t i) {
  return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
}

int NumberAt(std::string_view bytes, std::size_t at, int size, bool big_endian) {
  unsigned number = 0;
  for (int i = 0; i < size; ++i) {
    const auto place = static_cast<std::size_t>(big_endian ? i : size - 1 - i);
    number = number << 8 | ByteAt(bytes, at + place);
  }
  return static_cast<int>(number & 0x7FFFFFFF);
}

// The frame header stands behind other segments, each with its length.
void ReadJpegSize(std::string_view bytes, PictureFile* picture) {
  std::size_t at = 2;
  while (at + 9 < bytes.size() && ByteAt(bytes, at) == 0xFF) {
    const unsigned marker = ByteAt(bytes, at + 1);
    const bool is_frame =
        marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (is_frame) {
      picture->height = NumberAt(bytes, at + 5, 2, true);
      picture->width = NumberAt(bytes, at + 7, 2, true);
      return;
    }
    at += 2 + static_cast<std::size_t>(NumberAt(bytes, at + 2, 2, true));
  }
}

// Files of this kind have no mark: the name decides, and the header must make sense.
bool IsTga(const std::string& path, std::string_view bytes) {
  std::string end = path.substr(path.size() - std::min<std::size_t>(path.size(), 4));
  std::transform(end.begin(), end.end(), end.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const unsigned kind = ByteAt(bytes, 2) & ~8U;
  return end == ".tga" && bytes.size() >= kTgaHeaderSize && kind >= 1 && kind <= 3;
}

void ReadHeader(const std::string& path, std::string_view bytes, PictureFile* picture) {
  for (const Format& format : kFormats) {
    if (!bytes.starts_with(format.start)) continue;
    picture->format = format.name;
    if (format.size > 0) {
      picture->width = NumberAt(bytes, static_cast<std::size_t>(format.width_at), format.size,
                                format.big_endian);
      picture->height = NumberAt(bytes, static_cast<std::size_t>(format.height_at), format.size,
                                 format.big_endian);
    } else if (picture->format == "JPEG") {
      ReadJpegSize(bytes, picture);
    }
    return;
  }
  if (!IsTga(path, bytes)) return;
  picture->format = "TGA";
  picture->width = NumberAt(bytes, 12, 2, false);
  picture->height = NumberAt(bytes, 14, 2, false);
}

// Something may stand behind the end.
bool HasEnd(std::string_view format, std::string_view last_bytes) {
  if (format == "PNG") return last_bytes.find("IEND") != std::string_view::npos;
  return format != "JPEG" || last_bytes.find("\xFF\xD9") != std::string_view::npos;
}

}  // namespace

PictureFile ReadPictureFile(const std::string& path) {
  PictureFile picture;
  if (path.empty()) return picture;
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file.tellg();
  if (!file || size < 0) return picture;
  std::string header(std::min<std::size_t>(static_cast<std::size_t>(size), kHeaderSize), '\0');
  file.seekg(0);
  if (!file.read(header.data(), static_cast<std::streamsize>(header.size()))) return picture;
  picture.readable = true;
  picture.bytes = static_cast<std::uint64_t>(size);
  ReadHeader(path, header, &picture);
  file.seekg(-static_cast<std::streamoff>(header.size()), std::ios::end);
  if (file.read(header.data(), static_cast<std::streamsize>(header.size()))) {
    picture.whole = HasEnd(picture.format, header);
  }
  return picture;
}

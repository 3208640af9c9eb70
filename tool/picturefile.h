// What the first bytes of a picture file tell.
#pragma once

#include <cstdint>
#include <string>

struct PictureFile {
  bool readable = false;
  std::uint64_t bytes = 0;
  std::string format;  // "PNG", "JPEG", "GIF", "BMP", "TIFF", "SGI", "DDS", "TGA"; empty for others
  bool whole = true;   // false where its end is missing, as far as that is known
  int width = 0;       // pixels; 0 where they are not known
  int height = 0;
};

// Reads the header of a picture; of an empty path nothing.
PictureFile ReadPictureFile(const std::string& path);

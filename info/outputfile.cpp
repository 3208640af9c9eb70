#include "outputfile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <streambuf>

#include "btexcept.h"
#include "bttextfile.h"
#include "fbxoutputfile.h"

namespace {

// Hands what is printed to the output file.
class Buffer : public std::streambuf {
 public:
  explicit Buffer(FbxOutputFile* file) : _file(file) {}

 protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    _file->write(text, static_cast<std::size_t>(count));
    return _file->ok() ? count : 0;
  }
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const char character = traits_type::to_char_type(c);
    return xsputn(&character, 1) == 1 ? c : traits_type::eof();
  }

 private:
  FbxOutputFile* _file;
};

bool WritePlain(const std::string& file, const std::function<void(std::ostream&)>& print) {
  FbxOutputFile output(FbxOutputFile::kNoLimit);
  if (!output.open(file)) return false;
  Buffer buffer(&output);
  std::ostream os(&buffer);
  print(os);
  if (BtError() || !output.ok()) {
    output.abandon();
    return false;
  }
  return output.commit();
}

// A fresh folder, removed with everything in it.
class Folder {
 public:
  Folder() : _path(std::filesystem::temp_directory_path() / "kestrix-info-XXXXXX") {
    _made = mkdtemp(_path.data()) != nullptr;
  }
  ~Folder() {
    std::error_code ignored;
    if (_made) std::filesystem::remove_all(_path, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  [[nodiscard]] bool made() const { return _made; }
  [[nodiscard]] const std::string& path() const { return _path; }

 private:
  std::string _path;
  bool _made = false;
};

// The compressing programs write where they are told to: elsewhere first.
bool WriteCompressed(const std::string& file, const std::function<void(std::ostream&)>& print) {
  const Folder folder;
  if (!folder.made()) {
    theExceptObj.set("Unable to create a temporary folder.");
    return false;
  }
  const std::string elsewhere =
      folder.path() + "/text" + std::filesystem::path(file).extension().string();
  BtOutputFile output{BtStr(elsewhere.c_str())};
  if (!output.isOpen()) return false;
  print(output.stream());
  if (!output.close() || BtError()) {
    if (!BtError()) theExceptObj.set("Unable to write '%s'.", file.c_str());
    return false;
  }
  std::ifstream compressed(elsewhere, std::ios::binary);
  return WritePlain(file, [&compressed](std::ostream& os) { os << compressed.rdbuf(); });
}

}  // namespace

bool WriteWholeFile(const std::string& file, const std::function<void(std::ostream&)>& print) {
  const BtStr name(file.c_str());
  return BtTextFileName(name) == name ? WritePlain(file, print) : WriteCompressed(file, print);
}

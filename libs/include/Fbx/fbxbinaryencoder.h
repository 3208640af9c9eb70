// FbxBinaryEncoder: records as binary FBX, file versions 7100 and 6100.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fbxcompressor.h"
#include "fbxcreationtime.h"
#include "fbxrecordsink.h"

class FbxOutputFile;

class FbxBinaryEncoder : public FbxRecordSink {
 public:
  // Begins the file. From version 7000 on a list of numbers is one array, below it is value by
  // value. File and encoder share the failure state: see FbxOutputFile.
  FbxBinaryEncoder(FbxOutputFile* file, std::int32_t version, const FbxCreationTime& creation_time);
  ~FbxBinaryEncoder() override;

  using FbxRecordSink::add;
  void begin(std::string_view name) override;
  void list() override;
  void end() override;
  void add(char value) override;
  void add(std::int32_t value) override;
  void add(std::int64_t value) override;
  void add(double value) override;
  void add(std::string_view text) override;
  void add(const FbxObjectName& name) override;
  void add(std::span<const double> values) override;
  void add(std::span<const std::int32_t> values) override;
  void add(std::span<const std::int64_t> values) override;
  void add(std::span<const float> values) override;
  void addKeys(std::span<const std::int64_t> times, std::span<const float> values) override;
  void addRaw(std::span<const std::uint8_t> bytes) override;
  void addFile(FbxSourceFile& file) override;
  void endSection() override;
  [[nodiscard]] bool isBinary() const override { return true; }
  [[nodiscard]] bool ok() const override;

 private:
  // A record whose end is still to come.
  struct OpenRecord {
    std::uint64_t header;      // where its offsets are to be put
    std::uint64_t values;      // where its values begin
    std::uint64_t values_end;  // and where they end, once that is known
    std::uint32_t count;       // of values
    bool has_list;
  };

  template <class T>
  void _addPlain(char code, T value);
  template <class T>
  void _addEach(char code, std::span<const T> values);
  template <class T>
  void _addArray(char code, std::span<const T> values);
  void _writeTimes(std::span<const std::int64_t> times);
  void _addBytes(char code, std::string_view bytes);
  void _beginValue(char code);
  void _patchLength(std::uint64_t start);
  void _writeInt(std::uint64_t value);

  FbxOutputFile* _file;
  std::int32_t _version;
  FbxCode _footer_code;
  std::uint64_t _section_start = 0;  // 0 for the first section
  std::vector<OpenRecord> _open;
  FbxCompressor _compressor;
  // The times that were compressed last, and what became of them: most curves share theirs.
  std::vector<std::int64_t> _times;
  std::string _packed_times;
};

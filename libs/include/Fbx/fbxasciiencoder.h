// FbxAsciiEncoder: records as text FBX, file versions 7100 and 6100. One record a line, children
// indented by tabs; a list of numbers takes a line for each point, polygon or single number.
#pragma once

#include <cstdint>
#include <vector>

#include "fbxrecordsink.h"

class FbxOutputFile;

class FbxAsciiEncoder : public FbxRecordSink {
 public:
  // Begins the file. From version 7000 on a list of numbers states its length, below it is a plain
  // sequence of values. File and encoder share the failure state: see FbxOutputFile.
  FbxAsciiEncoder(FbxOutputFile* file, std::int32_t version);

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
  // Bytes become base64.
  void addRaw(std::span<const std::uint8_t> bytes) override;
  void addFile(FbxSourceFile& file) override;
  void endSection() override {}
  [[nodiscard]] bool isBinary() const override { return false; }
  [[nodiscard]] bool ok() const override;

 private:
  struct OpenRecord {
    int row;  // how many numbers of a list stand in a line
    bool has_values;
    bool has_list;
  };

  void _write(std::string_view text);
  void _indent(std::size_t depth);
  void _beginValue(std::string_view separator = ",");
  void _beginText();
  void _beginRaw();
  void _writeEscaped(std::string_view text);
  void _writeBase64(std::span<const std::uint8_t> bytes);
  template <class T>
  void _writeNumber(T number);
  template <class T>
  void _addList(std::span<const T> values);

  FbxOutputFile* _file;
  std::int32_t _version;
  std::vector<OpenRecord> _open;
};

// FbxRecordSink: what documents write into and encoders implement. A file is a tree of records;
// each has a name, values and, where it has a list, child records. Records are told as they come,
// and nothing of the tree is kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

class FbxSourceFile;

// The name of an object with the class that it belongs to, such as "hips" and "Model".
struct FbxObjectName {
  std::string_view name;
  std::string_view type;
};

class FbxRecordSink {
 public:
  FbxRecordSink() = default;
  virtual ~FbxRecordSink() = default;
  FbxRecordSink(const FbxRecordSink&) = delete;
  FbxRecordSink& operator=(const FbxRecordSink&) = delete;

  // begin(), values, list() and child records if it has a list (which may be empty), end().
  virtual void begin(std::string_view name) = 0;
  virtual void list() = 0;
  virtual void end() = 0;

  virtual void add(char value) = 0;
  virtual void add(std::int32_t value) = 0;
  virtual void add(std::int64_t value) = 0;
  virtual void add(double value) = 0;
  virtual void add(std::string_view text) = 0;  // UTF-8
  virtual void add(const FbxObjectName& name) = 0;
  // Lists of numbers; the sink may compress them or write them one by one, as its family asks.
  virtual void add(std::span<const double> values) = 0;
  virtual void add(std::span<const std::int32_t> values) = 0;
  virtual void add(std::span<const std::int64_t> values) = 0;
  virtual void add(std::span<const float> values) = 0;
  // Keys of a curve as the older family has them, key by key: the time, the value, and the letter
  // of a change that goes evenly to the next key. There is a value for each time.
  virtual void addKeys(std::span<const std::int64_t> times, std::span<const float> values) = 0;
  virtual void addRaw(std::span<const std::uint8_t> bytes) = 0;
  // All bytes of the file from where it stands.
  virtual void addFile(FbxSourceFile& file) = 0;
  void add(bool) = delete;
  void add(const char* text) { add(std::string_view(text)); }

  // Ends the top-level records. A binary file of family 6.1 has a second section after the first.
  virtual void endSection() = 0;
  // Whether raw identification and a second section belong into the file.
  [[nodiscard]] virtual bool isBinary() const = 0;
  // False once writing has failed and more records are of no use.
  [[nodiscard]] virtual bool ok() const = 0;

  // A record without a list.
  template <class... Values>
  void leaf(std::string_view name, const Values&... values) {
    begin(name);
    (add(values), ...);
    end();
  }
  // A record whose children follow.
  template <class... Values>
  void open(std::string_view name, const Values&... values) {
    begin(name);
    (add(values), ...);
    list();
  }
};

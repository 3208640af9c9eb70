#include "fbxrecords.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/printed.h"

namespace {

constexpr std::size_t kFirstRecord = 27;
constexpr std::size_t kRecordHeader = 13;  // of a record, and as many zeros at the end of a list

template <class... Numbers>
std::string Words(Numbers... numbers) {
  const std::uint32_t words[] = {static_cast<std::uint32_t>(numbers)...};
  return {reinterpret_cast<const char*>(words), sizeof words};
}

// Where the header of a record says that it ends.
std::size_t EndOf(const FbxRecordFile::Record& record) {
  std::uint32_t end = 0;
  std::memcpy(&end, record.name.data() - kRecordHeader, sizeof end);
  return end;
}

// The record, and all below it; false for an array that cannot be unpacked.
bool Take(const FbxRecordFile& file, std::size_t index, FbxRecord* record) {
  const FbxRecordFile::Record& found = file[index];
  record->name = found.name;
  FbxReadValue value;
  for (FbxValueCursor cursor(found.values); cursor.next(&value);) record->values.push_back(value);
  const char* const start = file[0].name.data() - kFirstRecord - kRecordHeader;
  record->has_list = EndOf(found) > static_cast<std::size_t>(found.values.end() - start);
  bool good = file.numbers(index, &record->numbers);
  file.forEachChild(index, [&](std::size_t i) {
    good = Take(file, i, &record->children.emplace_back()) && good;
  });
  return good;
}

// Takes apart the section that begins at `start`; answers where it ends, 0 for one that is bad. The
// library's reader begins with the first: what stands before another one becomes a single record.
std::size_t TakeSection(std::string bytes, std::size_t start, FbxFile* file) {
  const std::string all = bytes;
  const bool is_first = start == kFirstRecord;
  if (!is_first) {
    const std::size_t length = start - kFirstRecord - kRecordHeader;
    const std::string record = Words(start, 1, length) + std::string("\0R", 2) + Words(length - 5);
    bytes.replace(kFirstRecord, record.size(), record);
  }
  const auto& reader = file->readers.emplace_back(std::make_shared<FbxRecordFile>());
  if (!reader->read(std::move(bytes)) || reader->records().empty()) return 0;
  file->version = reader->version();
  FbxRecord& list = is_first ? file->main : file->extension;
  std::size_t at = start;
  bool good = true;
  reader->forEachChild(FbxRecordFile::kNone, [&](std::size_t i) {
    at = EndOf((*reader)[i]);
    if (at > start) good = Take(*reader, i, &list.children.emplace_back()) && good;
  });
  if (!good) return 0;
  const std::size_t behind_code = at + kRecordHeader + 16;
  if (is_first) file->footer_code = all.substr(behind_code - 16, 16);
  const std::size_t padded = behind_code + 16 - behind_code % 16;
  const std::string footer = std::string(kRecordHeader, '\0') + file->footer_code +
                             std::string(padded - behind_code, '\0') +
                             Words(is_first ? 0 : padded - start, file->version) +
                             std::string(120, '\0') +
                             "\xF8\x5A\x8C\x6A\xDE\xF5\xD9\x7E\xEC\xE9\x0C\xE3\x75\x8F\x29\x0B";
  return all.compare(at, footer.size(), footer) == 0 ? at + footer.size() : 0;
}

}  // namespace

const FbxRecord& FbxRecord::child(std::string_view child_name) const {
  static const FbxRecord kNothing;
  const std::vector<const FbxRecord*> found = all(child_name);
  if (!found.empty()) return *found.front();
  ADD_FAILURE() << "no record " << child_name << " in " << name;
  return kNothing;
}

std::vector<const FbxRecord*> FbxRecord::all(std::string_view child_name) const {
  std::vector<const FbxRecord*> found;
  for (const FbxRecord& record : children) {
    if (record.name == child_name) found.push_back(&record);
  }
  return found;
}

void FbxRecord::walk(const std::function<void(const FbxRecord&)>& visit) const {
  visit(*this);
  for (const FbxRecord& record : children) record.walk(visit);
}

FbxFile ParseFbx(const std::string& bytes) {
  FbxFile file;
  std::size_t end = TakeSection(bytes, kFirstRecord, &file);
  if (end != 0 && end < bytes.size()) end = TakeSection(bytes, end, &file);
  if (end == 0 || end != bytes.size()) file.fault = "bytes that do not fit: " + TakePrinted();
  return file;
}

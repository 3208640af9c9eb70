// FBX files as the second program reads them: their records, every number in them, and what is told
// of the scene.
#include <string>
#include <vector>

#include "Bt/btexcept.h"
#include "fbxfacts.h"
#include "fbxrecordreader.h"
#include "fuzzing.h"

void FuzzOne(std::string_view input) {
  FbxRecordFile file;
  const bool read = file.read(std::string(input));
  BtAssert(read != BtError());
  if (!read) return;
  for (std::size_t i = 0; i < file.records().size(); ++i) {
    const FbxRecordFile::Record& record = file[i];
    BtAssert(i < record.end && record.end <= file.records().size());
    BtAssert(record.parent == FbxRecordFile::kNone ||
             (record.parent < i && record.end <= file[record.parent].end));
    std::vector<double> numbers;
    if (!file.numbers(i, &numbers)) return;
    BtAssert(numbers.size() == file.numberCount(i));
  }
  FbxFacts facts;
  BtAssert(GatherFbxFacts(std::string(input), &facts) != BtError());
  BtAssert(facts.bytes == input.size());
}

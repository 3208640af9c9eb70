#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "fbxasciiencoder.h"
#include "fbxbinaryencoder.h"
#include "fbxcompressor.h"
#include "fbxcreationtime.h"
#include "fbxoutputfile.h"
#include "fbxsourcefile.h"
#include "testscene.h"

namespace {

using Ints = std::vector<std::int32_t>;
using Doubles = std::vector<double>;
using IntSpan = std::span<const std::int32_t>;
using DoubleSpan = std::span<const double>;
using WriteRecords = std::function<void(FbxRecordSink*)>;

std::string Bytes(const FbxCode& code) { return {code.begin(), code.end()}; }

FbxCreationTime TimeOf(const std::string& text) {
  const auto number = [&](std::size_t at, std::size_t count) {
    return std::stoi(text.substr(at, count));
  };
  return {number(0, 4),  number(5, 2),  number(8, 2), number(11, 2),
          number(14, 2), number(17, 2), number(20, 3)};
}

// What an encoder makes of some records.
template <class Encoder, class... Options>
std::string EncodedBytes(const WriteRecords& write, const Options&... options) {
  std::string bytes;
  FbxOutputFile file;
  EXPECT_TRUE(file.openMemory(&bytes));
  Encoder encoder(&file, options...);
  write(&encoder);
  encoder.endSection();
  EXPECT_TRUE(file.commit());
  return bytes;
}

FbxFile Encoded(int version, const WriteRecords& write) {
  FbxFile file = ParseFbx(EncodedBytes<FbxBinaryEncoder>(write, version, FbxCreationTime()));
  EXPECT_EQ(file.fault, "");
  return file;
}

// Without the opening lines.
std::string EncodedText(int version, const WriteRecords& write) {
  const std::string text = EncodedBytes<FbxAsciiEncoder>(write, version);
  return text.substr(text.find("\n\n") + 2);
}

TEST(FbxCreationTime, FollowsTheEnvironmentWhereItIsANumber) {
  constexpr const char* kFixed = "1970-01-01 10:00:00:000";
  const std::pair<const char*, const char*> cases[] = {
      {"0", "1970-01-01 00:00:00:000"},
      {"1709210096", "2024-02-29 12:34:56:000"},
      {"253402300799", "9999-12-31 23:59:59:000"},
      {"253402300800", kFixed},
      {"-1", kFixed},
      {"12x", kFixed},
      {" 12", kFixed},
      {"", kFixed},
      {"99999999999999999999999", kFixed},
  };
  for (const auto& [variable, text] : cases) {
    setenv("SOURCE_DATE_EPOCH", variable, 1);
    EXPECT_EQ(FbxCreationTime::Current().text(), text);
  }
  unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_EQ(FbxCreationTime::Current().text(), kFixed);
}

// The parser itself, and the codes, against files of other programs.
TEST(FbxRecords, TakeApartFilesOfOtherPrograms) {
  const struct {
    const char* name;
    int version;
    bool has_extension, has_compressed;
    std::size_t picture;  // bytes of the first embedded one
  } cases[] = {
      {"max2009_cube_texture_6100_binary.fbx", 6100, true, false, 2487},
      {"maya_blend_shape_cube_7100_binary.fbx", 7100, false, false, 0},
      {"marvelous_quad_7200_binary.fbx", 7200, false, true, 14623},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string bytes = ReadFile(std::string(KESTRIX_TEST_DATA "/fbx/") + c.name);
    const FbxFile file = ParseFbx(bytes);
    ASSERT_EQ(file.fault, "");
    EXPECT_EQ(file.version, c.version);
    EXPECT_EQ(!file.extension.children.empty(), c.has_extension);
    const std::string created = file.main.child("CreationTime").text();
    const FbxCreationTime time = TimeOf(created);
    EXPECT_EQ(time.text(), created);
    EXPECT_EQ(file.main.child("FileId").text(), Bytes(time.fileId()));
    EXPECT_EQ(file.footer_code, Bytes(time.footerCode()));
    bool has_compressed = false;
    file.main.walk([&](const FbxRecord& record) {
      for (const FbxReadValue& value : record.values) has_compressed |= value.encoding == 1;
    });
    EXPECT_EQ(has_compressed, c.has_compressed);
    if (c.picture > 0) {
      const auto& video = file.main.child("Objects").child("Video");
      EXPECT_EQ(video.child("Content").text().size(), c.picture);
    }
    // Every cut leaves a file that is refused.
    for (const std::size_t cut : {bytes.size() - 1, bytes.size() / 2, std::size_t{40}}) {
      EXPECT_NE(ParseFbx(bytes.substr(0, cut)).fault, "");
    }
  }
}

TEST(FbxBinaryEncoder, AlignsTheFooterForEveryEnd) {
  for (const int version : {7100, 6100}) {
    for (std::size_t length = 0; length < 16; ++length) {
      const FbxFile file = Encoded(version, [&](FbxRecordSink* sink) {
        sink->leaf("Text", std::string(length, 'x'));
        sink->endSection();
        sink->leaf("Text", std::string(length * 3, 'y'));
      });
      EXPECT_EQ(file.extension.child("Text").text(), std::string(length * 3, 'y'));
    }
  }
}

TEST(FbxBinaryEncoder, KeepsEveryBit) {
  using Limits = std::numeric_limits<double>;
  const Doubles numbers = {0.1, -0.0, Limits::max(), Limits::denorm_min(), 1.0 / 3};
  for (const int version : {7100, 6100}) {
    const FbxFile file = Encoded(version, [&](FbxRecordSink* sink) {
      sink->open("Values", 'Y', INT32_MIN, INT64_MIN, Limits::lowest(), "a\"\xC3\xA9");
      sink->leaf("Name", FbxObjectName{"hips", "Model"});
      sink->leaf("Doubles", DoubleSpan(numbers));
      sink->leaf("None", DoubleSpan());
      sink->open("Empty");
      sink->end();
      sink->leaf("Leaf");
      sink->end();
    });
    const FbxRecord& values = file.main.child("Values");
    EXPECT_EQ(values.integer(0), 'Y');
    EXPECT_EQ(values.integer(1), INT32_MIN);
    EXPECT_EQ(values.integer(2), INT64_MIN);
    EXPECT_EQ(values.values[3].number, Limits::lowest());
    EXPECT_EQ(values.text(4), "a\"\xC3\xA9");
    EXPECT_EQ(values.child("Name").text(), std::string("hips\0\1Model", 11));
    EXPECT_EQ(values.child("Doubles").numbers, numbers);
    EXPECT_TRUE(values.child("None").numbers.empty());
    EXPECT_TRUE(values.child("Empty").has_list);
    EXPECT_FALSE(values.child("Leaf").has_list);
  }
}

// In one piece and in many.
TEST(FbxBinaryEncoder, CompressesLongArraysOfTheNewerFamilyOnly) {
  const struct {
    int version;
    std::size_t count;
    bool compressed;
  } cases[] = {{7100, 255, false},
               {7100, 256, true},
               {7100, 3000000, true},
               {6100, 256, false},
               {6100, 300000, false}};
  for (const auto& c : cases) {
    Ints numbers(c.count);
    std::iota(numbers.begin(), numbers.end(), -100);
    const FbxFile file =
        Encoded(c.version, [&](FbxRecordSink* sink) { sink->leaf("Numbers", IntSpan(numbers)); });
    const FbxRecord& record = file.main.child("Numbers");
    const bool is_array = c.version == 7100;
    EXPECT_EQ(record.values.size(), is_array ? 1 : c.count);
    EXPECT_EQ(record.values[0].code, is_array ? 'i' : 'I');
    EXPECT_EQ(record.values[0].encoding, c.compressed ? 1U : 0U);
    EXPECT_EQ(record.numbers, Doubles(numbers.begin(), numbers.end()));
  }
}

// The place of the state in memory decided about a match: a fault of the library below.
TEST(FbxCompressor, MakesTheSameBytesWhereverItsStateLies) {
  constexpr std::size_t kStep = 0x10000;  // the lower bits did not matter
  constexpr std::size_t kCount = 0x2000;  // all slots of a table of that size
  constexpr std::size_t kSize = kCount * kStep + sizeof(FbxCompressor);
  const auto unmap = [](char* memory) { munmap(memory, kSize); };
  const std::unique_ptr<char, decltype(unmap)> memory(static_cast<char*>(mmap(
      nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)));
  std::vector<std::uint8_t> array(1000);
  std::mt19937 random(7);
  for (std::uint8_t& byte : array) byte = static_cast<std::uint8_t>(random());
  std::copy_n(array.begin() + 2, 400, array.begin() + 500);

  std::string bytes;
  FbxOutputFile file;
  ASSERT_TRUE(file.openMemory(&bytes));
  for (std::size_t i = 0; i < kCount; ++i) {
    char* const place = memory.get() + i * kStep;
    std::construct_at(reinterpret_cast<FbxCompressor*>(place))->compress(array, &file);
    std::destroy_at(reinterpret_cast<FbxCompressor*>(place));
    madvise(place, sizeof(FbxCompressor), MADV_DONTNEED);
  }
  ASSERT_TRUE(file.commit());
  const std::string first = bytes.substr(0, bytes.size() / kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(bytes.compare(i * first.size(), first.size(), first), 0) << i;
  }
}

TEST(FbxBinaryEncoder, RefusesMoreThanOffsetsCanSay) {
  std::string bytes;
  FbxOutputFile file(5000000);
  ASSERT_TRUE(file.openMemory(&bytes));
  FbxBinaryEncoder encoder(&file, 6100, {});
  const Doubles numbers(100000);
  encoder.open("List");
  for (int i = 0; i < 10; ++i) encoder.leaf("Numbers", DoubleSpan(numbers));
  encoder.end();
  encoder.endSection();
  EXPECT_FALSE(encoder.ok());
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(TakeMessage(), "Unable to write '': an FBX file cannot be larger than 4 GiB.");
}

TEST(FbxAsciiEncoder, WritesARecordALine) {
  using Sink = FbxRecordSink;
  const Ints numbers = {1, -2, 3};
  const struct {
    WriteRecords write;
    const char* newer;
    const char* older = nullptr;  // null where it is the same
  } cases[] = {
      {[](Sink* s) { s->leaf("A", "t\"\n", 'Y', 1, std::int64_t{-5}, 0.1, "x"); },
       "A: \"t&quot;&lf;\",Y,1,-5,0.1, \"x\"\n"},
      {[](Sink* s) {
         s->leaf("A", FbxObjectName({"hips", "Model"}));
       },
       "A: \"Model::hips\"\n"},
      {[&](Sink* s) { s->leaf("A", IntSpan(numbers)); }, "A: *3 {\n\ta: 1,\n-2,\n3\n}\n",
       "A: 1,\n-2,\n3\n"},
      {[&](Sink* s) { s->leaf("UV", IntSpan(numbers)); }, "UV: *3 {\n\ta: 1,-2,\n3\n}\n",
       "UV: 1,-2,\n3\n"},
      {[&](Sink* s) { s->leaf("PolygonVertexIndex", IntSpan(numbers)); },
       "PolygonVertexIndex: *3 {\n\ta: 1,-2,\n3\n}\n", "PolygonVertexIndex: 1,-2,\n3\n"},
      {[](Sink* s) { s->leaf("A", DoubleSpan()); }, "A: *0 {\n\ta: \n}\n", "A: \n"},
      {[](Sink* s) {
         s->open("A");
         s->open("B", 1);
         s->leaf("C", 2.5);
         s->end();
         s->end();
       },
       "A:  {\n\tB: 1 {\n\t\tC: 2.5\n\t}\n}\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(EncodedText(7100, c.write), c.newer);
    EXPECT_EQ(EncodedText(6100, c.write), c.older == nullptr ? c.newer : c.older);
  }
}

TEST(FbxAsciiEncoder, WritesBytesAsBase64) {
  const TestFolder folder;
  // More than one block of the file, and both kinds of ends.
  const std::string block(3 << 16, '\0');
  const std::string zeros(4 << 16, 'A');
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},        {"f", "Zg=="},        {"fo", "Zm8="},
      {"foo", "Zm9v"}, {"\xFB\xFF", "+/8="}, {block + "fo", zeros + "Zm8="}};
  for (const auto& [bytes, text] : cases) {
    FbxSourceFile file;
    EXPECT_TRUE(file.open(folder.write("bytes", bytes)));
    const std::string found = EncodedText(7100, [&file](FbxRecordSink* sink) {
      sink->begin("Content");
      sink->addFile(file);
      sink->end();
    });
    EXPECT_TRUE(found == "Content: ,\n\t\"" + text + "\"\n") << bytes.substr(0, 10);
  }
}

}  // namespace

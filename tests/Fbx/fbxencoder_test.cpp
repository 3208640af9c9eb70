#include <gtest/gtest.h>
#include <libdeflate.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "btexcept.h"
#include "fbxbinaryencoder.h"
#include "fbxcreationtime.h"
#include "fbxoutputfile.h"
#include "fbxrecords.h"
#include "testscene.h"

namespace {

std::string Bytes(const FbxCode& code) { return {code.begin(), code.end()}; }

FbxCreationTime TimeOf(const std::string& text) {
  const auto number = [&](std::size_t at, std::size_t count) {
    return std::stoi(text.substr(at, count));
  };
  return {number(0, 4),  number(5, 2),  number(8, 2), number(11, 2),
          number(14, 2), number(17, 2), number(20, 3)};
}

// What a common compressor at its usual level makes of an array.
template <class T>
std::size_t UsualSize(const std::vector<T>& values) {
  constexpr int kUsualLevel = 6;
  const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor(
      libdeflate_alloc_compressor(kUsualLevel), libdeflate_free_compressor);
  std::string bytes(2 * values.size() * sizeof(T) + 1000, ' ');
  return libdeflate_zlib_compress(compressor.get(), values.data(), values.size() * sizeof(T),
                                  bytes.data(), bytes.size());
}

// What an encoder makes of some records.
std::string EncodedBytes(int version, const std::function<void(FbxRecordSink*)>& write) {
  std::string bytes;
  FbxOutputFile file;
  EXPECT_TRUE(file.openMemory(&bytes));
  FbxBinaryEncoder encoder(&file, version, {});
  write(&encoder);
  encoder.endSection();
  EXPECT_TRUE(file.commit());
  return bytes;
}

FbxFile Encoded(int version, const std::function<void(FbxRecordSink*)>& write) {
  FbxFile file = ParseFbx(EncodedBytes(version, write));
  EXPECT_EQ(file.fault, "");
  return file;
}

TEST(FbxCreationTime, FollowsTheEnvironmentWhereItIsANumber) {
  constexpr const char* kFixed = "1970-01-01 10:00:00:000";
  const struct {
    const char* variable;
    const char* text;
  } cases[] = {
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
  for (const auto& c : cases) {
    setenv("SOURCE_DATE_EPOCH", c.variable, 1);
    EXPECT_EQ(FbxCreationTime::Current().text(), c.text);
  }
  unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_EQ(FbxCreationTime::Current().text(), kFixed);
}

// The parser itself, and the codes, against files of other programs.
TEST(FbxRecords, TakeApartFilesOfOtherPrograms) {
  const struct {
    const char* name;
    int version;
    bool has_extension;
    bool has_compressed;
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
      for (const FbxValue& value : record.values) has_compressed |= value.compressed;
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
  const std::vector<double> numbers = {0.1, -0.0, Limits::max(), Limits::denorm_min(), 1.0 / 3};
  for (const int version : {7100, 6100}) {
    const FbxFile file = Encoded(version, [&](FbxRecordSink* sink) {
      sink->open("Values", 'Y', INT32_MIN, INT64_MIN, Limits::lowest(), "a\"\xC3\xA9");
      sink->leaf("Name", FbxObjectName{"hips", "Model"});
      sink->leaf("Doubles", std::span<const double>(numbers));
      sink->leaf("None", std::span<const double>());
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
    EXPECT_EQ(values.child("Doubles").numbers(), numbers);
    EXPECT_TRUE(values.child("None").numbers().empty());
    EXPECT_TRUE(values.child("Empty").has_list);
    EXPECT_FALSE(values.child("Leaf").has_list);
  }
}

TEST(FbxBinaryEncoder, CompressesLongArraysOfTheNewerFamilyOnly) {
  const struct {
    int version;
    std::size_t count;
    bool array;
    bool compressed;
  } cases[] = {{7100, 255, true, false},
               {7100, 256, true, true},
               {7100, 3000000, true, true},
               {6100, 256, false, false},
               {6100, 300000, false, false}};
  for (const auto& c : cases) {
    std::vector<std::int32_t> numbers(c.count);
    std::iota(numbers.begin(), numbers.end(), -100);
    const FbxFile file = Encoded(c.version, [&](FbxRecordSink* sink) {
      sink->leaf("Numbers", std::span<const std::int32_t>(numbers));
    });
    const FbxRecord& record = file.main.child("Numbers");
    EXPECT_EQ(record.values.size(), c.array ? 1 : c.count);
    EXPECT_EQ(record.values[0].code, c.array ? 'i' : 'I');
    EXPECT_EQ(record.values[0].compressed, c.compressed);
    EXPECT_EQ(record.numbers(), std::vector<double>(numbers.begin(), numbers.end()));
  }
}

// Both ways of compressing, in one piece and in many.
TEST(FbxCompressor, MakesFilesAboutAsSmallAsUsual) {
  std::mt19937 random(7);
  const struct {
    const char* what;
    std::function<double(int)> number;
  } cases[] = {
      {"random digits", [&](int) { return 1.0 + static_cast<double>(random()) / 4294967296.0; }},
      {"smooth", [](int i) { return static_cast<double>(static_cast<float>(i) * 0.1F); }},
      {"quads",
       [](int i) {
         const int vertex = i / 4 + i % 2 * 500;
         return static_cast<double>(i % 4 == 3 ? -vertex : vertex);
       }},
      {"one value", [](int) { return 3.0; }},
  };
  for (const auto& c : cases) {
    for (const int count : {300, 30000, 400000}) {
      SCOPED_TRACE(c.what + std::string(" ") + std::to_string(count));
      std::vector<double> reals(static_cast<std::size_t>(count));
      for (int i = 0; i < count; ++i) reals[static_cast<std::size_t>(i)] = c.number(i);
      std::vector<std::int32_t> indices(reals.begin(), reals.end());
      const std::string bytes = EncodedBytes(7100, [&](FbxRecordSink* sink) {
        sink->leaf("Reals", std::span<const double>(reals));
        sink->leaf("Indices", std::span<const std::int32_t>(indices));
      });
      const FbxFile file = ParseFbx(bytes);
      ASSERT_EQ(file.fault, "");
      EXPECT_EQ(file.main.child("Reals").numbers(), reals);
      EXPECT_EQ(file.main.child("Indices").numbers(),
                std::vector<double>(indices.begin(), indices.end()));
      const std::size_t usual = UsualSize(reals) + UsualSize(indices);
      EXPECT_LT(static_cast<double>(bytes.size()), 1.15 * static_cast<double>(usual) + 1000.0);
    }
  }
}

TEST(FbxBinaryEncoder, RefusesMoreThanOffsetsCanSay) {
  std::string bytes;
  FbxOutputFile file(5000000);
  ASSERT_TRUE(file.openMemory(&bytes));
  FbxBinaryEncoder encoder(&file, 6100, {});
  const std::vector<double> numbers(100000);
  encoder.open("List");
  for (int i = 0; i < 10; ++i) encoder.leaf("Numbers", std::span<const double>(numbers));
  encoder.end();
  encoder.endSection();
  EXPECT_FALSE(encoder.ok());
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(TakeMessage(), "Unable to write '': an FBX file cannot be larger than 4 GiB.");
}

}  // namespace

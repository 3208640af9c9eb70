#include "Bt/btparse.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Bt/btifstream.h"
#include "Bt/messages.h"
#include "Bt/piecesbuf.h"

namespace {

using namespace std::string_literals;

// All items of a document in one text: "key:[value] " or "key{value} ", then the error, if any.
std::string Items(std::istream& is) {
  std::string items;
  BtStr keyword;
  BtStr value;
  bool single_line = true;
  while (BtReadTaggedValue(is, &keyword, &value, &single_line)) {
    EXPECT_FALSE(BtError());
    if (keyword.isNull()) return items;
    EXPECT_FALSE(value.isNull());
    items += std::string(keyword.view()) + (single_line ? ":[" : "{") + std::string(value.view()) +
             (single_line ? "] " : "} ");
  }
  return items + "error: " + TakeMessages();
}

const struct {
  std::string text;
  std::string items;
  std::string printed = "";  // on standard error
} kDocuments[] = {
    // Nothing to read.
    {"", ""},
    {"\n \t\n# A: x\n  # B {\r\n\r\n#", ""},
    // Colon items.
    {" \t A b :  x y \t\r\nB:\r\n:z\rC: d: {e} # f \\ g\n",
     "A b:[x y] B:[] :[z] C:[d: {e} # f \\ g] "},
    {"A { : x\nB {#a:b\n", "A {:[x] B {#a:[b] "},
    {"A: x \\\r\n  # y } \\\r\nz \r\nB: z", "A:[x \n  # y } \nz] B:[z] "},
    {"A: x\\ \nB: y\\", "A:[x\\] B:[y] "},
    {"A: \\\n\\\n\nB: y", "A:[] B:[y] "},
    // Blocks.
    {"A {\n  B: 1\n}\nC: 2\n", "A{B: 1\n} C:[2] "},
    {"A { # note\r\n\r\n B  c\t# d\r\n\r\n}  # e\r\nC:2", "A{\nB  c\n\n} C:[2] "},
    {"A {#\n1 }\n", "A{1 } "},
    {"A {\nB { # x\nC {\n1\n} # y\n}\t\n}", "A{B { # x\nC {\n1\n}\n}\n} "},
    {"A {\n{ 1 {2} \n", "A{{ 1 {2} "},
    {"A {\nB {}\n}\n", "A{B {} error: No ':' or '{' following tag '}'."},
    {"A {\n# }\n1#}\n}", "A{\n1\n} "},
    {"A {\nB: x \\\n  # y }\\\n {\nc \\\n\n  d\n}", "A{B: x \\\n  # y }\\\n {\nc \\\n\nd\n} "},
    {"A {\nB: \\x \\ # c\nC: \\#\n}\n", "A{B: \\x \\ \nC: \\ \n} "},
    // Errors.
    {"A: 1\n b c \nB: 2", "A:[1] error: No ':' or '{' following tag 'b c '."},
    {" A { # x\n} y\n", "error: Invalid character ('y') trailing '}' for 'A'."},
    {"A {\nB {\n} }\n}", "error: Invalid character ('}') trailing '}' for 'A'."},
    {"A\t{ b # c\n}", "error: Invalid characters trailing '{' for 'A'."},
    {"A {\n B {\n 1\n}\n", "error: Hit end of file without reading '}' for tag A",
     "Hit eof: B {\n1\n}\n\n"}};

TEST(BtReadTaggedValue, ReadsDocumentsThroughAnyBuffer) {
  for (const auto& document : kDocuments) {
    for (const std::size_t block : {0U, 1U, 2U, 3U, 1000U}) {
      SCOPED_TRACE(document.text + " in blocks of " + std::to_string(block));
      PiecesBuf buf(document.text, 0, block);
      std::istream is(&buf);
      testing::internal::CaptureStderr();
      EXPECT_EQ(Items(is), document.items);
      EXPECT_EQ(testing::internal::GetCapturedStderr(), document.printed);
    }
  }
}

// Long blocks are copied many characters at a time, where the buffer has so many.
TEST(BtReadTaggedValue, CopiesLongBlocksAsIfCharacterByCharacter) {
  const std::vector<std::string> pieces = {
      "#",    "{",    "}",      "\\",       ":",
      "\t",   "\r\n", "|",      "~",        "\n",
      "\n\n", "\n  ", "\n \t ", "\x7F\xE9", "\n" + std::string(90, ' ')};
  std::mt19937 random(7);
  for (int i = 0; i < 2000; ++i) {
    std::string text = "A {\n";
    // Digits for the most part, so that all else comes at all places of a long run.
    while (text.size() < 400) {
      text += random() % 40 == 0 ? pieces[random() % pieces.size()] : std::to_string(random() % 10);
    }
    const auto read = [&text](std::size_t block) {
      PiecesBuf buf(text + "\n}\nB: 1\n", 0, block);
      std::istream is(&buf);
      testing::internal::CaptureStderr();
      const std::string items = Items(is);
      return items + testing::internal::GetCapturedStderr();
    };
    ASSERT_EQ(read(1000), read(0)) << text;
  }
}

TEST(BtReadTaggedValue, RefusesNulAndReadErrors) {
  for (const std::string& text : {"A: x\0y"s, "A\0: y"s, "A {\n1 \0 2\n}"s, "A {\nx \\\n\0\n}"s,
                                  "A {\n{ # \0\n}\n}"s, "A {\n} \0"s}) {
    std::istringstream is(text);
    EXPECT_EQ(Items(is), "error: Text contains a NUL character.");
  }
  // Reading this file fails, whereas opening it does not.
  BtIFStream broken("/proc/self/mem");
  EXPECT_EQ(Items(broken), "error: Error reading file.");
}

// The value of one reader as text, or its error.
template <auto read, class Value>
std::string Front(BtStr* str) {
  Value value = {};
  return read(str, &value) ? testing::PrintToString(value) : TakeMessages();
}
constexpr bool (*kReadInt)(BtStr*, int*) = BtReadInt;
constexpr bool (*kReadFloat)(BtStr*, float*) = BtReadFloat;
constexpr bool (*kReadToken)(BtStr*, BtStr*) = BtReadToken;

const struct {
  std::string (*reader)(BtStr*);
  std::vector<std::array<const char*, 3>> good;                       // text, value, what is left
  std::vector<std::pair<const char*, std::vector<const char*>>> bad;  // error, texts
} kTokens[] = {
    {Front<BtReadIdentifier, BtStr>,
     {{" \n_a1-b", "_a1", "-b"}},
     {{"Expecting identifier.", {" "}}, {"Invalid identifier.", {"1a"}}}},
    {Front<kReadInt, int>,
     {{"\t+12/7", "12", "/7"}, {"-2147483648 1", "-2147483648", " 1"}},
     {{"Invalid integer value.", {"2147483648", "12a", "1.5", "+-5", ""}}}},
    {Front<BtReadBool, bool>,
     {{" false,", "false", ","}, {"True", "true", ""}},
     {{"Invalid boolean value.", {"TRUEST", "1", ""}}}},
    {Front<kReadFloat, float>,
     {{"-.5e1,", "-5", ","}, {"1e-400 x", "0", " x"}, {"3.40282347e+38", "3.40282e+38", ""}},
     {{"Invalid floating point value.", {"3.4028236e38", "-1e400", "-inf", "nan", "0x10", "1.2.3"}},
      {"No value given.", {" \t"}}}},
    {Front<kReadToken, BtStr>, {{" a#1\tb", "a#1", "\tb"}}, {{"Expecting token.", {"\n"}}}},
    {Front<BtReadDoubleQuotedStr, BtStr>,
     {{" \"a \\\" b", "a \\", " b"}, {"\"\"", "", ""}},
     {{"'\"' expected.", {"a\""}}, {"No closing '\"' found.", {"\"a", "\""}}}},
    {Front<BtReadVector3, std::array<float, 3>>,
     {{"1 +2 -3.5 4", "{ 1, 2, -3.5 }", " 4"}},
     {{"Invalid X component\nNo value given.", {""}},
      {"Invalid Y component\nInvalid floating point value.", {"1 y"}},
      {"Invalid Z component\nNo value given.", {"1 2"}}}},
    {Front<BtReadTimecodeRate, double>,
     {{" 25 x", "25", " x"}},
     {{"Unsupported timecode rate.", {"31", "25x", ""}}}}};

TEST(BtTokenReaders, ConsumeWhatTheyReadAndNothingOnFailure) {
  for (const auto& [reader, good, bad] : kTokens) {
    for (const auto& [text, value, rest] : good) {
      BtStr str(text);
      EXPECT_EQ(reader(&str), value) << text;
      EXPECT_EQ(str, rest) << text;
    }
    for (const auto& [error, texts] : bad) {
      for (BtStr text : texts) {
        const BtStr before = text;
        EXPECT_EQ(reader(&text), error) << before;
        EXPECT_EQ(text, before);
      }
    }
  }
  BtStr str(" , =>a");
  EXPECT_FALSE(BtSkipChar(&str, ';') || BtSkipExpectedStr(&str, "=>"));
  EXPECT_EQ(TakeMessages(), "'=>' expected.\n';' expected.");
  EXPECT_TRUE(BtSkipChar(&str, ',') && BtSkipExpectedStr(&str, "=>"));
  EXPECT_EQ(str, "a");
}

}  // namespace

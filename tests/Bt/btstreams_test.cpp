// Streams: how they are scanned, read from files and kept in memory.

#include <cerrno>
#include <cmath>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Bt/btifstream.h"
#include "Bt/btscan.h"
#include "Bt/btsstreambuf.h"
#include "Bt/deathcases.h"
#include "Bt/piecesbuf.h"
#include "support/testfolder.h"

namespace {

bool Read(BtScanner* scanner, int* value) { return scanner->readInt(value); }
bool Read(BtScanner* scanner, double* value) { return scanner->readDouble(value); }
bool Read(BtScanner* scanner, float* value) { return scanner->readFloat(value); }
bool Read(BtScanner* scanner, char* value) { return scanner->readChar(value); }

// What a read leaves behind, in words: value bit for bit, state of the stream, characters left.
template <class Value>
std::string Outcome(Value value, std::istream* is) {
  unsigned long long bits = 0;
  std::memcpy(&bits, &value, sizeof value);
  std::ostringstream words;
  words << std::hex << bits << " state " << is->rdstate() << " left ";
  for (int c = is->rdbuf()->sbumpc(); c >= 0; c = is->rdbuf()->sbumpc()) {
    words << static_cast<char>(c);
  }
  return words.str();
}

template <class Value>
bool Extract(std::istream* is, Value* value) {
  return static_cast<bool>(*is >> *value);
}
// Floats are doubles that were narrowed.
bool Extract(std::istream* is, float* value) {
  double number = 0;
  if (!(*is >> number)) return false;
  *value = static_cast<float>(number);
  if (!std::isfinite(*value)) is->setstate(std::ios::failbit);
  return static_cast<bool>(*is);
}

template <class Value>
void ExpectAsExtraction(const std::string& text, std::size_t first, std::size_t step) {
  PiecesBuf plain_buf(text, first, step);
  std::istream plain(&plain_buf);
  Value expected = 7;
  const bool expected_ok = Extract(&plain, &expected);
  PiecesBuf buf(text, first, step);
  std::istream is(&buf);
  BtScanner scanner(is);
  Value value = 7;
  ASSERT_EQ(Read(&scanner, &value), expected_ok);
  ASSERT_EQ(Outcome(value, &is), Outcome(expected, &plain));
}

void ExpectAllAsExtraction(const std::string& text, std::size_t first, std::size_t step) {
  SCOPED_TRACE("\"" + text + "\" in " + std::to_string(first) + ", " + std::to_string(step) +
               " ...");
  ExpectAsExtraction<int>(text, first, step);
  ExpectAsExtraction<double>(text, first, step);
  ExpectAsExtraction<float>(text, first, step);
  ExpectAsExtraction<char>(text, first, step);
}

TEST(BtScanner, ReadsAsExtractionDoesHoweverTheTextIsCut) {
  const char* groups[] = {
      // Integers, at the limits and beyond.
      "0 7 +7 -7 --7 +-7 - + 007 -0 12abc 1,234 2147483647 2147483648 -2147483648 -2147483649",
      "00000000002147483647 99999999999999999999",
      // Forms of decimal numbers.
      "1.5 1. .5 -.5 . +. 1.5.2 1e5 1E+5 1e-5 1e 1e+ 1e5.5 1e5e5 e5 1.e2 .e2 1.5f 1..2 -0.0 0e9999",
      // What strtod would take but extraction does not.
      "nan inf -inf infinity 0x1F 0x1p3 NaN(1)",
      // Many digits, and products at the limits of being exact.
      "9007199254740993 9007199254740992e22 9007199254740991e-22 0.1 123456789.123456789",
      "10547310404873837e-2 13914137078947779e-15 1234567890123456789 12345678901234567890",
      "18446744073709551617 3.14159265358979323846264338327950288",
      // Numbers whose nearest double is half-way between two floats.
      "16777217 16777219 1.000000059604644775390625 1.00000005960464477539062500000000000001",
      "6927108415766270e-21 4882685425400268e-20 8763160090893507e-18 4853634452819824e-14",
      // The ends of the ranges of float and double.
      "3.4028234e38 3.4028235e+38 3.4028235677973366e38 3.4028236e38 1e39 -1e39 1.17549435e-38",
      "1.1754942e-38 1e-45 7e-46 1e-60 1.7976931348623157e308 1.7976931348623159e308 -1e309",
      "2.2250738585072014e-308 4.9e-324 1e-400 1e99999999999 1e-99999999999",
  };
  std::vector<std::string> texts = {"", " ", "- 7"};
  for (const char* group : groups) {
    std::istringstream words(group);
    for (std::string word; words >> word;) {
      texts.insert(texts.end(), {word, " \t\n\v\f\r" + word, word + " 5", "\n" + word + "\n"});
      // Behind which there is room for a look at many characters at once.
      texts.push_back(word + std::string(32, ' '));
    }
  }
  for (const std::string& text : texts) {
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
      ExpectAllAsExtraction(text, cut, text.size());
    }
    for (const std::size_t step : {1U, 2U, 3U}) ExpectAllAsExtraction(text, step, step);
    if (HasFailure()) return;
  }
}

TEST(BtScanner, ReadsRandomTokensAsExtractionDoes) {
  std::mt19937 random(3);
  const std::string letters = "0123456789012345678900+-..eE x\n";
  const auto digits = [&random](std::size_t count) {
    std::string text(count, ' ');
    for (char& c : text) c = static_cast<char>('0' + random() % 10);
    return text;
  };
  for (int i = 0; i < 20000; ++i) {
    // A decimal number of any length, or nonsense; and behind it room for a look at many characters
    // at once.
    std::string text = digits(random() % 13) + "." + digits(random() % 13);
    if (i % 4 < 2) {
      text.resize(1 + random() % 24);
      for (char& c : text) c = letters[random() % letters.size()];
    }
    if (i % 2 == 0) text += std::string(40, ' ');
    ExpectAllAsExtraction(text, random() % (text.size() + 1), 1 + random() % 8);
    if (HasFailure()) return;
  }
}

TEST(BtIFStream, IsReadAcrossItsBlocksAndPutBack) {
  constexpr int kCount = 300000;
  std::string text;
  for (int i = 0; i < kCount; ++i) text += std::to_string(i) + '\n';
  const TestFolder folder;
  BtIFStream is(folder.write("numbers", text).c_str());
  ASSERT_TRUE(is.isOpen());
  EXPECT_EQ(is.sizeHint(), text.size());
  BtScanner scanner(is);
  for (int i = 0, value = -1; i < kCount; ++i) {
    ASSERT_TRUE(scanner.readInt(&value) && value == i) << i;
    // After the line's end comes a new block now and then: the last two characters stay at hand.
    ASSERT_TRUE(scanner.get() == '\n' && (scanner.peek() >= 0 || i == kCount - 1));
    is.clear();
    ASSERT_TRUE(is.unget() && is.unget() && scanner.get() == '0' + i % 10 && scanner.get() == '\n');
  }
  EXPECT_EQ(scanner.get(), -1);
  EXPECT_FALSE(is.bad());
}

TEST(BtIFStream, TellsWhyItDoesNotOpen) {
  for (const auto& [name, error] : {std::pair{"/nonexistent/file", ENOENT}, {"/", EISDIR}}) {
    errno = 0;
    const BtIFStream is(name);
    EXPECT_TRUE(is.fail() && !is.isOpen());
    EXPECT_EQ(errno, error);
  }
}

TEST(BtScanner, MixesWithExtractionAndReadsWholeSequences) {
  std::istringstream is("1 2.5 3.5x 4 word\n z");
  BtScanner scanner(is);
  int first = 0;
  float floats[2] = {};
  char letter = 0;
  std::string word;
  ASSERT_TRUE(scanner.readInt(&first) && scanner.readFloats(floats, 2) &&
              scanner.readChar(&letter));
  EXPECT_TRUE(first == 1 && floats[0] == 2.5F && floats[1] == 3.5F && letter == 'x');
  is >> first >> word;
  EXPECT_TRUE(first == 4 && word == "word");
  EXPECT_EQ(scanner.peek(), '\n');
  EXPECT_EQ(scanner.get(), '\n');
  EXPECT_EQ(scanner.get(), ' ');
  EXPECT_FALSE(scanner.readFloats(floats, 2));
  EXPECT_EQ(is.rdstate(), std::ios::failbit);
  is.clear();
  EXPECT_EQ(scanner.get(), 'z');
  EXPECT_EQ(scanner.peek(), -1);
  EXPECT_TRUE(is.good());
  EXPECT_EQ(scanner.get(), -1);
  EXPECT_TRUE(is.eof() && is.fail());
}

TEST(BtSStreamBuf, GivesBackWhatWasWrittenWhileItGrows) {
  BtSStreamBuf buf;
  std::iostream stream(&buf);
  for (int round = 0; round < 2; ++round) {
    std::string all;
    std::string read_back;
    for (int i = 0; i < 2000; ++i) {
      const std::string piece(static_cast<std::size_t>(i % 700), static_cast<char>('a' + i % 26));
      stream << i << piece << '\n';
      all += std::to_string(i) + piece + "\n";
      if (i % 3 == 0) {
        std::string line;
        ASSERT_TRUE(std::getline(stream, line));
        read_back += line + "\n";
      }
    }
    EXPECT_TRUE(buf.view() == all);
    EXPECT_TRUE(all.starts_with(read_back));
    buf.clear();
    EXPECT_EQ(stream.get(), EOF);
    stream.clear();
  }
}

TEST(BtSStreamBuf, EndsTheProcessWhenItCannotGrow) {
  ExpectDeaths({{"\nUnable to allocate stream buffer, aborting.\n",
                 [] {
                   BtSStreamBuf buf([](void*, std::size_t) -> void* { return nullptr; });
                   buf.sputc('a');
                 }},
                {"\nUnable to increase stream buffer size, aborting.\n", [] {
                   BtSStreamBuf buf([](void* block, std::size_t size) {
                     return block == nullptr ? std::realloc(block, size) : nullptr;
                   });
                   for (int i = 0; i < 10000; ++i) buf.sputc('a');
                 }}});
}

}  // namespace

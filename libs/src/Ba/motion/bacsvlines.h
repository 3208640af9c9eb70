// The lines of a CSV file, and their fields where these are more than plain numbers.
#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <vector>

// Hands out one line after the other of a stream, straight from its buffer where the line is there
// as a whole.
class Ba_CsvLines {
 public:
  // One line without its end, "\n" or "\r\n". There is a character behind it that is no part of a
  // number, and all characters before `readable_end` may be looked at.
  struct Line {
    const char* begin = nullptr;
    const char* end = nullptr;
    const char* readable_end = nullptr;
    [[nodiscard]] std::string_view view() const {
      return {begin, static_cast<std::size_t>(end - begin)};
    }
  };
  enum class Next { Line, End, TooLong };

  // No line may have more characters: memory does not grow with what is no table.
  static constexpr std::size_t kMaxLength = std::size_t{16} * 1024 * 1024;

  explicit Ba_CsvLines(std::istream& is) : _buf(is.rdbuf()), _is(is) {}

  // The next line, which is valid until the next call. The end of the input and a read error, which
  // sets the stream's badbit, are the end.
  [[nodiscard]] Next next(Line* line);
  // The number of the line that next() answered last, from 1 on.
  [[nodiscard]] int number() const { return _number; }

 private:
  // Takes the text up to the end of the line, or as much of it as the buffer has.
  Line _takePiece(bool* is_ended);

  std::streambuf* _buf;
  std::istream& _is;
  std::string _pieces;  // a line that goes beyond the buffer
  char _single = '\0';  // of a stream that hands out characters one by one
  int _number = 0;
};

// Text without blanks and tabs at its ends.
[[nodiscard]] std::string_view Ba_TrimBlanks(std::string_view text);

// What is wrong with the quotes of a line.
enum class Ba_CsvFault_t { None, NotClosed, TextBehind };

// The fields of a line, without the blanks around them; a field between double quotes stands for
// the text between them, in which two quotes are one. Where a field's quotes are wrong it is the
// last one.
Ba_CsvFault_t Ba_SplitCsvLine(std::string_view line, std::vector<std::string>* fields);

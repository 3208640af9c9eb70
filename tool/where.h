// Where in a file: what records keep of it, as people and editors count.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

struct BtPlace;

struct Where {
  std::string file;                      // empty where none is known
  long long line = 0;                    // from 1; 0 where it is not known
  long long column = 0;                  // in characters, from 1
  std::string text;                      // of the line
  std::vector<std::string> included_by;  // the file that includes it first
  bool at_end = false;                   // only white space follows in the file
};

// Finds lines. Each file is read once, so an object should not outlive a command's questions.
class WhereFinder {
 public:
  Where find(const BtPlace& place);

 private:
  struct Text {
    std::string all;
    std::vector<std::size_t> line_starts;
    [[nodiscard]] std::string_view line(std::size_t i) const;
  };
  const Text& _textOf(const std::string& file);
  static void _locate(const Text& text, const BtPlace& place, Where* where);

  std::map<std::string, Text> _texts;
};

// The text of a file, unpacked; empty where it cannot be read. What is recorded stays as it is.
std::string TextOfFile(const std::string& file);

// "FILE:LINE:COLUMN", or what is known of it.
std::string WhereText(const Where& where);
// " (included by A, by B)", empty for a file that is not.
std::string ChainText(const Where& where);
// The word of the line that is there, or ends there; empty where there is none.
std::string WordAt(const Where& where);
// The line, or of a long one the part around the column, and a caret under that, with a line end
// each; empty where the line is not known.
std::string CaretText(const Where& where);

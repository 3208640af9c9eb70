// Text that stands in columns.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "inputs.h"
#include "style.h"

inline void PrintTitle(const char* title, std::ostream& os) {
  os << "\n" << Styled(Style::Title, title) << "\n";
}

// Rows of texts in columns as wide as their widest text.
class TextTable {
 public:
  void add(std::vector<std::string> row) { _rows.push_back(std::move(row)); }
  void printOn(std::ostream& os) const {
    std::vector<std::size_t> widths;
    for (const auto& row : _rows) {
      widths.resize(std::max(widths.size(), row.size()));
      for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
    }
    bool first = true;
    for (const auto& row : _rows) {
      std::string line;
      for (std::size_t i = 0; i < row.size(); ++i) line += Padded(row[i], widths[i] + 2);
      line.erase(line.find_last_not_of(' ') + 1);
      os << "  " << (first ? Styled(Style::Faint, line) : Printable(line)) << "\n";
      first = false;
    }
  }

 private:
  std::vector<std::vector<std::string>> _rows;
};

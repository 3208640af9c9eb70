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
  // The first row is that of the titles.
  void add(std::vector<std::string> row, Style style = Style::Plain) {
    _styles.push_back(_rows.empty() ? Style::Faint : style);
    _rows.push_back(std::move(row));
  }
  void printOn(std::ostream& os) const {
    std::vector<std::size_t> widths;
    for (const auto& row : _rows) {
      widths.resize(std::max(widths.size(), row.size()));
      for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
    }
    for (std::size_t r = 0; r < _rows.size(); ++r) {
      const auto& row = _rows[r];
      std::string line;
      for (std::size_t i = 0; i < row.size(); ++i) line += Padded(row[i], widths[i] + 2);
      line.erase(line.find_last_not_of(' ') + 1);
      os << "  " << Styled(_styles[r], line) << "\n";
    }
  }

 private:
  std::vector<std::vector<std::string>> _rows;
  std::vector<Style> _styles;
};

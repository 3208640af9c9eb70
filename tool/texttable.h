// Text that stands in columns.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "messages.h"
#include "style.h"

inline void PrintTitle(const char* title, std::ostream& os) {
  os << "\n" << Styled(Style::Title, title) << "\n";
}

// Rows of texts in columns as wide as their widest text, within reason.
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
      for (std::size_t i = 0; i < row.size(); ++i) {
        widths[i] = std::max(widths[i], std::min(Width(row[i]), kWidest));
      }
    }
    for (std::size_t r = 0; r < _rows.size(); ++r) {
      const auto& row = _rows[r];
      std::string line;
      for (std::size_t i = 0; i < row.size(); ++i) {
        const bool is_last = i + 1 == row.size();
        line += is_last ? row[i] : Padded(row[i], widths[i] + 2);
      }
      line.erase(line.find_last_not_of(' ') + 1);
      os << "  " << Styled(_styles[r], line) << "\n";
    }
  }

 private:
  static constexpr std::size_t kWidest = 80;

  std::vector<std::vector<std::string>> _rows;
  std::vector<Style> _styles;
};

#include "agent/text/TextTable.h"

#include <algorithm>
#include <cstddef>

namespace Agent {

std::string textTable(std::vector<std::vector<std::string>> const& rows) {
  std::vector<std::size_t> widths(rows.front().size(), 3);  // Markdown's rule takes three
  for (auto const& row : rows) {
    for (std::size_t at = 0; at < widths.size(); ++at) {
      widths[at] = std::max(widths[at], row[at].size());
    }
  }
  std::string text;
  auto const add = [&](auto const& cellAt, char fill) {
    for (std::size_t at = 0; at < widths.size(); ++at) {
      std::string cell = cellAt(at);
      cell.resize(widths[at], fill);
      text.append("| ").append(cell).append(" ");
    }
    text += "|\n";
  };
  for (auto const& row : rows) {
    add([&row](std::size_t at) { return row[at]; }, ' ');
    if (&row == &rows.front()) {
      add([](std::size_t /*at*/) { return std::string(); }, '-');
    }
  }
  return text;
}

}  // namespace Agent

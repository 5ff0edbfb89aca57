#include "agent/text/TextTable.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Agent {

namespace {

// How many places a text takes, one a character.
std::size_t widthOf(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

}  // namespace

std::string textTable(std::vector<std::vector<std::string>> const& rows) {
  std::vector<std::size_t> widths(rows.front().size(), 3);  // Markdown's rule takes three
  for (auto const& row : rows) {
    for (std::size_t at = 0; at < widths.size(); ++at) {
      widths[at] = std::max(widths[at], widthOf(row[at]));
    }
  }
  std::string text;
  auto const add = [&](auto const& cellAt, char fill) {
    for (std::size_t at = 0; at < widths.size(); ++at) {
      std::string cell = cellAt(at);
      cell.append(widths[at] - widthOf(cell), fill);
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

// A table for people, which is also Markdown.
#pragma once

#include <string>
#include <vector>

namespace Agent {

/// The first row is the heading; all rows have as many cells. Columns are as wide as their widest
/// cell, counted in characters of UTF-8.
std::string textTable(std::vector<std::vector<std::string>> const& rows);

}  // namespace Agent

#include "agent/views/document/EntryKey.h"

#include <algorithm>

namespace Agent {

namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Takes the run of digits at the front of `text`, without its leading zeros.
std::string_view takeNumber(std::string_view& text) {
  auto const end = std::find_if_not(text.begin(), text.end(), isDigit);
  std::string_view number = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(number.size());
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

// Less, equal or greater than zero.
int compareNumbers(std::string_view a, std::string_view b) {
  return a.size() == b.size() ? a.compare(b) : (a.size() < b.size() ? -1 : 1);
}

}  // namespace

bool naturalLess(std::string_view a, std::string_view b) {
  std::string_view restA = a;
  std::string_view restB = b;
  while (!restA.empty() && !restB.empty()) {
    int order = 0;
    if (isDigit(restA.front()) && isDigit(restB.front())) {
      order = compareNumbers(takeNumber(restA), takeNumber(restB));
    } else {
      order = restA.substr(0, 1).compare(restB.substr(0, 1));
      restA.remove_prefix(1);
      restB.remove_prefix(1);
    }
    if (order != 0) {
      return order < 0;
    }
  }
  if (restA.empty() != restB.empty()) {
    return restA.empty();
  }
  return a < b;
}

bool PlainKeyLess::operator()(PlainKey const& a, PlainKey const& b) const {
  auto const* const name = std::get_if<std::string>(&a);
  auto const* const other = std::get_if<std::string>(&b);
  return name != nullptr && other != nullptr ? naturalLess(*name, *other) : a < b;
}

bool EntryKeyLess::operator()(EntryKey const& a, EntryKey const& b) const {
  return std::ranges::lexicographical_compare(a, b, PlainKeyLess());
}

PlainKey const& innermost(EntryKey const& key) {
  return isSaid(key.back()) ? key.back() : key.front();
}

}  // namespace Agent

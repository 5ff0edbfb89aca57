// Paths as text, and what they select by the plain rules, one after the other.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "agent/views/gnmi/RequestPath.h"

namespace Agent::Gnmi {

/// The path that pathText would say; a backslash makes the next character mean itself. What is
/// before the first slash, or makes no sense, is passed over.
inline RequestPath pathFrom(std::string_view text) {
  enum class At { outside, inName, inKey, inValue } at = At::outside;
  RequestPath path;
  std::string key;
  std::string* to = &key;
  for (std::size_t next = 0; next < text.size(); ++next) {
    char const c = text[next];
    if (c == '/' && (at == At::outside || at == At::inName)) {
      at = At::inName;
      to = &path.elements.emplace_back().name;
    } else if (c == '[' && at == At::inName) {
      at = At::inKey;
      key.clear();
      to = &key;
    } else if (c == '=' && at == At::inKey) {
      at = At::inValue;
      to = &path.elements.back().keys[key];
    } else if (c == ']' && at == At::inValue) {
      at = At::inName;
      to = &key;  // nothing stands behind a key but the next
    } else if (c != '\\') {
      to->push_back(c);
    } else if (next + 1 < text.size()) {
      to->push_back(text[++next]);
    }
  }
  return path;
}

/// Whether a path, from its element `at` on, selects a leaf with these elements, from `of` on.
inline bool selects(std::vector<PathElement> const& path, std::vector<PathElement> const& leaf,
                    std::size_t at = 0, std::size_t of = 0) {
  if (at == path.size()) {
    return true;
  }
  if (path[at].name == "...") {
    return path[at].keys.empty() && (selects(path, leaf, at + 1, of) ||
                                     (of < leaf.size() && selects(path, leaf, at, of + 1)));
  }
  if (of == leaf.size() || (path[at].name != "*" && path[at].name != leaf[of].name)) {
    return false;
  }
  for (auto const& [name, value] : path[at].keys) {
    auto const found = leaf[of].keys.find(name);
    if (found == leaf[of].keys.end() || (value != "*" && value != found->second)) {
      return false;
    }
  }
  return selects(path, leaf, at + 1, of + 1);
}

}  // namespace Agent::Gnmi

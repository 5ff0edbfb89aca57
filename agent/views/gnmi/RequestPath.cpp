#include "agent/views/gnmi/RequestPath.h"

#include <algorithm>
#include <array>

#include "agent/text/Json.h"
#include "agent/views/gnmi/Failure.h"

namespace Agent::Gnmi {

namespace {

constexpr std::array<std::string_view, 3> origins{"", "openconfig", leafModule};

[[noreturn]] void refuse(std::string const& message) {
  throw Failure(Code::invalidArgument, message);
}

// One line, whatever the text is.
void textAdd(std::string& to, std::string_view text, std::string_view escaped) {
  for (char const c : text) {
    if (escaped.find(c) != std::string_view::npos) {
      to.push_back('\\');
    }
    to.push_back(static_cast<unsigned char>(c) < ' ' ? '?' : c);
  }
}

std::vector<PathElement> pathOf(std::vector<PathStep> const& steps, EntryKey const& key) {
  std::vector<PathElement> elements;
  elements.reserve(steps.size());
  auto const* next = key.begin();
  for (PathStep const& step : steps) {
    PathElement& element = elements.emplace_back(PathElement{std::string(step.name)});
    if (!step.listKey.empty()) {
      if (isSaid(*next)) {
        element.keys.emplace(step.listKey, keyText(*next));
      }
      ++next;
    }
  }
  return elements;
}

}  // namespace

RequestPath joined(RequestPath const& prefix, RequestPath const& path) {
  if (!prefix.origin.empty() && !path.origin.empty()) {
    refuse("origin " + inQuotes(path.origin) + ": the prefix has one, too");
  }
  RequestPath whole = prefix;
  if (whole.origin.empty()) {
    whole.origin = path.origin;
  }
  if (std::ranges::find(origins, whole.origin) == origins.end()) {
    refuse("origin " + inQuotes(whole.origin) + ": unknown, the only one is \"openconfig\"");
  }
  whole.elements.insert(whole.elements.end(), path.elements.begin(), path.elements.end());
  if (whole.elements.size() > deepestPath) {
    refuse("a path of " + std::to_string(whole.elements.size()) + " elements, the most are " +
           std::to_string(deepestPath));
  }
  for (PathElement const& element : whole.elements) {
    for (auto const& [name, value] : element.keys) {
      if (value.size() > longestKey) {
        refuse(inQuotes(element.name) + ": a key of " + std::to_string(value.size()) +
               " bytes, the longest has " + std::to_string(longestKey));
      }
    }
  }
  return whole;
}

std::string elementText(PathElement const& element) {
  std::string text;
  textAdd(text, element.name, "\\/[");
  for (auto const& [name, value] : element.keys) {
    text.push_back('[');
    textAdd(text, name, "\\=]");
    text.push_back('=');
    textAdd(text, value, "\\]");
    text.push_back(']');
  }
  return text;
}

std::string pathText(std::vector<PathElement> const& elements) {
  std::string text;
  for (PathElement const& element : elements) {
    text.append("/").append(elementText(element));
  }
  return text.empty() ? "/" : text;
}

std::vector<PathElement> pathOf(SchemaNode const& node, EntryKey const& key) {
  std::vector<PathStep> steps;
  for (SchemaNode const* at = &node; at->parent() != nullptr; at = at->parent()) {
    steps.push_back(at->step());
  }
  std::ranges::reverse(steps);
  return pathOf(steps, key);
}

std::vector<PathElement> pathOf(LeafRow const& row, EntryKey const& key) {
  return pathOf(row.steps, key);
}

}  // namespace Agent::Gnmi

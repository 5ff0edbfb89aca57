// Paths of gNMI: one is refused with a reason, or selects just what the plain rules select, and so
// do several together. The input is paths, one a line.
#include <string>
#include <vector>

#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/LeafRows.h"
#include "agent/views/gnmi/RequestPath.h"
#include "agent/views/gnmi/Selection.h"
#include "agent/views/gnmi/tests/PlainPaths.h"
#include "fuzz/Input.h"

namespace {

using namespace Agent::Gnmi;

struct Leaf {
  LeafRow const* row;
  Agent::EntryKey key;
  std::vector<PathElement> path;
};

// All leaves that there can be with these keys.
std::vector<Leaf> const& leaves() {
  static std::vector<Leaf> const all = [] {
    std::vector<Leaf> made;
    std::vector<Agent::PlainKey> const names{std::string("E1"), std::string("E]"), std::string()};
    std::vector<Agent::PlainKey> const ids{std::uint64_t{1}, std::uint64_t{5}, std::uint64_t{4094}};
    for (LeafRow const& row : leafRows()) {
      std::vector<Agent::EntryKey> keys(1);
      std::size_t list = 0;
      for (Agent::PathStep const& step : row.steps) {
        if (step.listKey.empty()) {
          continue;
        }
        std::vector<Agent::EntryKey> further;
        for (Agent::EntryKey& key : keys) {
          for (Agent::PlainKey const& plain : step.listKey == "name" ? names : ids) {
            key.at(list) = plain;
            further.push_back(key);
          }
        }
        keys = further;
        ++list;
      }
      for (Agent::EntryKey const& key : keys) {
        made.push_back({&row, key, pathOf(row, key)});
      }
    }
    return made;
  }();
  return all;
}

// Modules and limits are not for the plain rules.
bool isPlain(RequestPath const& path) {
  for (PathElement const& element : path.elements) {
    bool isBare = element.name.find(':') == std::string::npos && element.keys.size() < 2;
    for (auto const& [name, value] : element.keys) {
      isBare = isBare && name.find(':') == std::string::npos && value.size() <= longestKey;
    }
    if (!isBare) {
      return false;
    }
  }
  return path.elements.size() <= deepestPath;
}

// Matching "..." by the plain rules takes time that grows with a power of their number.
std::size_t depths(RequestPath const& path) {
  std::size_t count = 0;
  for (PathElement const& element : path.elements) {
    count += element.name == "..." ? 1 : 0;
  }
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string_view rest = Fuzz::text(data, size);
  Selection whole;
  std::vector<Selection> parts;
  while (!rest.empty() && parts.size() < 8) {
    RequestPath const path = pathFrom(Fuzz::takeUntil(rest, '\n'));
    bool const isComparable = isPlain(path) && depths(path) < 5;
    Selection selection;
    try {
      ResolvedPath const resolved = resolve(joined({}, path));
      selection = resolved.selection;
      Fuzz::require(!selection.empty() && !resolved.nodes.empty(), "a path means something");
      Fuzz::require(path.elements.empty() || pathFrom(resolved.text).elements == path.elements ||
                        resolved.text.find('?') != std::string::npos,
                    "the text is that of the path");
    } catch (Failure const& failure) {
      Fuzz::require(*failure.what() != '\0', "a failure has a reason");
    }
    for (Leaf const& leaf : leaves()) {
      Fuzz::require(!isComparable || selection.rows(leaf.key)[leaf.row->number] ==
                                         selects(path.elements, leaf.path),
                    "a path selects what the plain rules select");
    }
    try {
      (void)resolve(joined({}, path), Purpose::write);
    } catch (Failure const& failure) {
      Fuzz::require(*failure.what() != '\0', "a failure has a reason");
    }
    whole.add(selection);
    parts.push_back(selection);
  }
  Selection backwards;
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
    backwards.add(*part);
  }
  Fuzz::require(whole == backwards, "the order of paths does not matter");
  for (Leaf const& leaf : leaves()) {
    bool isSelected = false;
    for (Selection const& part : parts) {
      isSelected = isSelected || part.rows(leaf.key)[leaf.row->number];
    }
    Fuzz::require(whole.rows(leaf.key)[leaf.row->number] == isSelected,
                  "together they select what one of them selects");
  }
  return 0;
}

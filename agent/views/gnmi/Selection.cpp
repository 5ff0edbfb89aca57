#include "agent/views/gnmi/Selection.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/text/Json.h"
#include "agent/views/gnmi/Failure.h"

namespace Agent::Gnmi {

bool covers(EntryKey const& pattern, EntryKey const& key) {
  return std::ranges::equal(pattern, key, [](PlainKey const& any, PlainKey const& plain) {
    return !isSaid(any) || any == plain;
  });
}

void Selection::add(RowSet const& rows, EntryKey const& pattern) {
  RowSet const further = rows & ~this->rows(pattern);
  if (further.none()) {
    return;
  }
  for (auto& [other, ofOther] : byPattern_) {
    if (covers(pattern, other)) {
      ofOther &= ~further;
    }
  }
  std::erase_if(byPattern_, [](auto const& entry) { return entry.second.none(); });
  bool const saysAKey = std::ranges::any_of(pattern, isSaid);
  (saysAKey ? byPattern_[pattern] : everywhere_) |= further;
}

void Selection::add(Selection const& other) {
  add(other.everywhere_);
  for (auto const& [pattern, rows] : other.byPattern_) {
    add(rows, pattern);
  }
}

void Selection::restrictTo(RowSet const& rows) {
  everywhere_ &= rows;
  for (auto& entry : byPattern_) {
    entry.second &= rows;
  }
  std::erase_if(byPattern_, [](auto const& entry) { return entry.second.none(); });
}

RowSet Selection::rows(EntryKey const& key) const {
  RowSet rows = everywhere_;
  if (!byPattern_.empty()) {
    eachPatternOf(key, [&](EntryKey const& pattern) {
      if (auto const found = byPattern_.find(pattern); found != byPattern_.end()) {
        rows |= found->second;
      }
    });
  }
  return rows;
}

namespace {

constexpr std::string_view anyName = "*";
constexpr std::string_view anyDepth = "...";

struct MeantLess {
  bool operator()(MeantNode const& a, MeantNode const& b) const {
    return a.node != b.node ? std::less<>()(a.node, b.node) : a.pattern < b.pattern;
  }
};
using MeantNodes = std::set<MeantNode, MeantLess>;

// The number that a text is, in its only notation.
std::optional<std::uint64_t> canonicalNumber(std::string_view text) {
  std::uint64_t number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  bool const isNumber = error == std::errc() && end == text.data() + text.size();
  return isNumber && std::to_string(number) == text ? std::optional(number) : std::nullopt;
}

class Resolver {
 public:
  Resolver(RequestPath const& path, Purpose purpose) : path_(path), purpose_(purpose) {}

  ResolvedPath resolve() {
    meant_.insert({&schema(), {}});
    for (PathElement const& element : path_.elements) {
      step(element);
    }
    ResolvedPath resolved{{}, isWild_, {}, pathText(path_.elements)};
    for (MeantNode const& meant : meant_) {
      if (!meant.node->isServed()) {
        continue;
      }
      resolved.selection.add(meant.node->rows(), meant.pattern);
      if (!isBelowAnother(meant)) {
        resolved.nodes.push_back(meant);
      }
    }
    if (resolved.nodes.empty()) {
      throw Failure(Code::unimplemented,
                    resolved.text + ": the model has it, but it is not served");
    }
    std::ranges::sort(resolved.nodes, [](MeantNode const& a, MeantNode const& b) {
      std::size_t const row = firstRow(*a.node);
      std::size_t const other = firstRow(*b.node);
      return row != other ? row < other : EntryKeyLess()(a.pattern, b.pattern);
    });
    return resolved;
  }

 private:
  [[noreturn]] void refuse(Code code, PathElement const& element, std::string const& reason) const {
    throw Failure(code,
                  pathText(path_.elements) + ": " + inQuotes(elementText(element)) + " " + reason);
  }

  void wildcard(PathElement const& element, char const* reason = "is a wildcard") {
    if (purpose_ == Purpose::write) {
      refuse(Code::invalidArgument, element, reason);
    }
    isWild_ = true;
  }

  void step(PathElement const& element) {
    malformed_.clear();
    MeantNodes next;
    if (element.name == anyDepth) {
      wildcard(element);
      if (!element.keys.empty()) {
        refuse(Code::invalidArgument, element, "has a key, but is no list");
      }
      for (MeantNode const& meant : meant_) {
        addWithAllBelow(next, meant);
      }
    } else {
      if (element.name == anyName) {
        wildcard(element);
      }
      for (MeantNode const& meant : meant_) {
        for (auto const& child : meant.node->children()) {
          if (element.name == anyName || child->isNamed(element.name)) {
            addChild(next, {child.get(), meant.pattern}, element);
          }
        }
      }
    }
    if (next.empty()) {
      fail(element);
    }
    meant_ = std::move(next);
  }

  [[noreturn]] void fail(PathElement const& element) const {
    if (!malformed_.empty()) {
      refuse(Code::invalidArgument, element, malformed_);
    }
    if (element.name.empty()) {
      refuse(Code::invalidArgument, element, "is no name");
    }
    refuse(purpose_ == Purpose::write ? Code::notFound : Code::invalidArgument, element,
           "is not in the model");
  }

  static void addWithAllBelow(MeantNodes& to, MeantNode const& meant) {
    if (to.insert(meant).second) {
      for (auto const& child : meant.node->children()) {
        addWithAllBelow(to, {child.get(), meant.pattern});
      }
    }
  }

  // A key that can't be the node's rules the node out; where nothing is left it is the reason.
  void addChild(MeantNodes& to, MeantNode meant, PathElement const& element) {
    if (!meant.node->isList()) {
      if (element.keys.empty()) {
        to.insert(meant);
      } else {
        malformed_ = "has a key, but is no list";
      }
      return;
    }
    if (element.keys.empty()) {
      wildcard(element, "is a list, and needs its key");
      to.insert(meant);
      return;
    }
    std::string const module = std::string(meant.node->module()) + ":";
    for (auto const& [name, value] : element.keys) {
      bool const isQualified = name.starts_with(module);
      std::string_view const listKey = meant.node->step().listKey;
      if (std::string_view(name).substr(isQualified ? module.size() : 0) != listKey ||
          element.keys.size() > 1) {
        malformed_ = "has another key than " + inQuotes(listKey) + " alone";
        return;
      }
      if (value == anyName) {
        wildcard(element);
      } else if (!keyIs(meant, value)) {
        return;
      }
    }
    to.insert(meant);
  }

  bool keyIs(MeantNode& meant, std::string const& value) {
    if (!meant.node->isServed()) {
      return true;  // nothing is looked up there
    }
    Leaf const& leaf = *leafRows()[firstRow(*meant.node)].leaf;
    PlainKey& key = meant.pattern.at(meant.node->lists() - 1);
    if (leaf.type.kind != LeafType::Kind::number) {
      key = value;
      return true;
    }
    auto const number = canonicalNumber(value);
    if (!number || !leaf.type.allows(*number)) {
      malformed_ = "has a key that is no decimal number from " + std::to_string(leaf.type.least) +
                   " to " + std::to_string(leaf.type.greatest);
      return false;
    }
    key = *number;
    return true;
  }

  bool isBelowAnother(MeantNode const& meant) const {
    bool isBelow = false;
    EntryKey pattern = meant.pattern;
    for (SchemaNode const* at = meant.node; at != nullptr; at = at->parent()) {
      eachPatternOf(pattern, [&](EntryKey const& other) {
        bool const isItself = at == meant.node && other == meant.pattern;
        isBelow = isBelow || (!isItself && meant_.contains({at, other}));
      });
      if (at->isList()) {
        pattern.at(at->lists() - 1) = {};
      }
    }
    return isBelow;
  }

  static std::size_t firstRow(SchemaNode const& node) {
    std::size_t row = 0;
    while (row < rowCapacity && !node.rows()[row]) {
      ++row;
    }
    return row;
  }

  RequestPath const& path_;
  Purpose purpose_;
  MeantNodes meant_;
  bool isWild_ = false;
  std::string malformed_;
};

}  // namespace

ResolvedPath resolve(RequestPath const& path, Purpose purpose) {
  return Resolver(path, purpose).resolve();
}

}  // namespace Agent::Gnmi

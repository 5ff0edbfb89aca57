#include "agent/sources/operations/Operations.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

#include "Lumo/HideMe.h"
#include "Lumo/ModuleInspect.h"
#include "agent/text/Refusal.h"

namespace Agent {

namespace {

// What an operation does once nothing can refuse it any more.
using Act = std::function<void()>;

struct Context {
  Database& database;
  Mirror& mirror;
  std::function<void()> const& show;
  Operation const& operation;

  std::unique_ptr<Place> place() const { return placeAt(database, operation.path); }
  Act applying(Change change) const {
    return [&to = database, change = std::move(change)] { to.apply(change); };
  }
};

TopLevelClass const& classNamed(Operation const& operation) {
  TopLevelClass const* const found = topLevelClass(operation.object);
  if (found == nullptr) {
    Where("object").refuse(inQuotes(operation.object) + " is no class of top-level objects");
  }
  return *found;
}

Act prepareStart(Context const& context) {
  Mirror& mirror = context.mirror;
  if (context.operation.object.empty()) {
    return [&mirror] { mirror.startAll(); };
  }
  return [&mirror, &topLevel = classNamed(context.operation)] { mirror.start(topLevel); };
}

Act prepareStop(Context const& context) {
  Mirror& mirror = context.mirror;
  if (context.operation.object.empty()) {
    return [&mirror] { mirror.stopAll(); };
  }
  return [&mirror, &topLevel = classNamed(context.operation)] { mirror.stop(topLevel); };
}

Act prepareCall(Context const& context) {
  constexpr std::string_view callable = "syncDisabledVlan";
  constexpr std::string_view className = "OCGlobalVlanSyncher";
  std::string const& name = context.operation.operation;
  if (name != callable) {
    Where("operation").refuse(inQuotes(name) + " is not " + inQuotes(callable));
  }
  auto const object = context.mirror.object(*topLevelClass(className));
  if (!object) {
    Where("operation").refuse("no object of " + std::string(className) + " exists");
  }
  return [object, name] {
    Lumo::ClassInspectData const& inspected = *Lumo::classOf(*object);
    inspected.hideMe->inspectOperation(*object, *inspected.field(name));
  };
}

enum class Need : std::uint8_t { none, optional, required };

// What is known of an operation: its members, and how it is made a change.
struct Row {
  std::string_view name;
  Need path = Need::none;
  Need value = Need::none;
  bool valueIsObject = false;
  Need object = Need::none;
  Need operation = Need::none;
  Act (*prepare)(Context const& context) = nullptr;
};

constexpr std::array rows{
    Row{.name = "set",
        .path = Need::required,
        .value = Need::required,
        .prepare = [](Context const& c) { return c.applying(c.place()->set(c.operation.value)); }},
    Row{.name = "create",
        .path = Need::required,
        .value = Need::optional,
        .valueIsObject = true,
        .prepare =
            [](Context const& c) { return c.applying(c.place()->create(c.operation.value)); }},
    Row{.name = "replace",
        .path = Need::required,
        .value = Need::optional,
        .valueIsObject = true,
        .prepare =
            [](Context const& c) { return c.applying(c.place()->replace(c.operation.value)); }},
    Row{.name = "touch",
        .path = Need::required,
        .prepare = [](Context const& c) { return c.applying(c.place()->touch()); }},
    Row{.name = "delete",
        .path = Need::required,
        .prepare = [](Context const& c) { return c.applying(c.place()->erase()); }},
    Row{.name = "clear",
        .path = Need::required,
        .prepare = [](Context const& c) { return c.applying(c.place()->clear()); }},
    Row{.name = "start", .object = Need::optional, .prepare = &prepareStart},
    Row{.name = "stop", .object = Need::optional, .prepare = &prepareStop},
    Row{.name = "call", .operation = Need::required, .prepare = &prepareCall},
    Row{.name = "show", .prepare = [](Context const& c) -> Act { return c.show; }},
};

Row const& rowNamed(std::string_view name) {
  auto const row = std::ranges::find(rows, name, &Row::name);
  if (row == rows.end()) {
    Where("op").refuse(inQuotes(name) + " is no operation");
  }
  return *row;
}

// The bytes of a line that JSON has no place for, and a depth that no operation has: both would
// otherwise be a matter of the parser's own limits.
void requireSensible(std::string_view line) {
  constexpr int deepest = 16;
  int depth = 0;
  bool inString = false;
  for (std::size_t at = 0; at < line.size(); ++at) {
    char const c = line[at];
    if (c == '\0') {
      throw Refusal("not JSON: a NUL byte at byte " + std::to_string(at + 1));
    }
    if (inString) {
      at += c == '\\' ? 1 : 0;
      inString = c != '"';
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > deepest) {
        throw Refusal("nested deeper than " + std::to_string(deepest) + " levels at byte " +
                      std::to_string(at + 1));
      }
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
}

// Names the number that is too large for the parser, which stops there. The line is read once more:
// following the members of every line would cost those that are well.
[[noreturn]] void refuseOverflow(std::string_view line) {
  struct Level {
    bool isArray;
    std::string member;
    std::size_t elements = 0;  // before the one that is being read
  };
  std::vector<Level> levels;
  auto const follow = [&levels](int /*depth*/, Json::parse_event_t event, Json& parsed) {
    using Event = Json::parse_event_t;
    switch (event) {
      case Event::object_start: levels.push_back({false, {}}); return true;
      case Event::array_start: levels.push_back({true, {}}); return true;
      case Event::key: levels.back().member = parsed.get_ref<std::string const&>(); return true;
      case Event::object_end:
      case Event::array_end: levels.pop_back(); break;
      case Event::value: break;
    }
    if (!levels.empty()) {
      ++levels.back().elements;
    }
    return true;
  };
  try {
    [[maybe_unused]] Json const parsed = Json::parse(line, follow);
  } catch (Json::out_of_range const&) {
    // at the number in question
  }
  std::deque<Where> places;
  for (Level const& level : levels) {
    if (places.empty()) {
      places.emplace_back(level.member);
    } else if (level.isArray) {
      places.emplace_back(places.back(), level.elements);
    } else {
      places.emplace_back(places.back(), level.member);
    }
  }
  std::string const reason = "a number that is too large";
  if (levels.empty() || levels.front().isArray) {
    throw Refusal(reason);
  }
  places.back().refuse(reason);
}

Json parseObject(std::string_view line) {
  requireSensible(line);
  Json parsed;
  try {
    parsed = Json::parse(line);
  } catch (Json::parse_error const& error) {
    throw Refusal("not JSON: a syntax error at byte " + std::to_string(error.byte));
  } catch (Json::out_of_range const&) {
    refuseOverflow(line);
  }
  if (!parsed.is_object()) {
    throw Refusal("not an object: " + brief(parsed));
  }
  return parsed;
}

std::string takeText(Json&& json, Where const& where) {
  if (!json.is_string()) {
    where.refuse(brief(json) + " is not a string");
  }
  return std::move(json.get_ref<std::string&>());
}

// The members of an operation, each taken once.
class Members {
 public:
  explicit Members(Json json) : json_(std::move(json)) {}

  std::optional<Json> take(std::string_view name, Need need) {
    auto& members = json_.get_ref<Json::object_t&>();
    auto const found = need == Need::none ? members.end() : members.find(std::string(name));
    if (found == members.end()) {
      if (need == Need::required) {
        Where(name).refuse("missing");
      }
      return std::nullopt;
    }
    Json value = std::move(found->second);
    members.erase(found);
    return value;
  }

  void requireNoMore(std::string_view op) const {
    for (auto const& [name, value] : json_.get_ref<Json::object_t const&>()) {
      Where(name).refuse("unknown member of " + inQuotes(op));
    }
  }

 private:
  Json json_;
};

}  // namespace

Operation parseOperation(std::string_view line) {
  Operation operation;
  Members members(parseObject(line));
  operation.op = takeText(*members.take("op", Need::required), Where("op"));
  Row const& row = rowNamed(operation.op);
  if (auto path = members.take("path", row.path)) {
    if (!path->is_array()) {
      Where("path").refuse(brief(*path) + " is not an array");
    }
    operation.path = std::move(path->get_ref<Json::array_t&>());
  }
  if (auto value = members.take("value", row.value)) {
    if (row.valueIsObject && !value->is_object()) {
      Where("value").refuse(brief(*value) + " is not an object");
    }
    operation.value = std::move(*value);
  }
  if (auto object = members.take("object", row.object)) {
    operation.object = takeText(std::move(*object), Where("object"));
    if (operation.object.empty()) {
      Where("object").refuse("an empty name");
    }
  }
  if (auto called = members.take("operation", row.operation)) {
    operation.operation = takeText(std::move(*called), Where("operation"));
  }
  members.requireNoMore(operation.op);
  return operation;
}

Operations::Operations(Database& database, Mirror& mirror, std::function<void()> show)
    : database_(database), mirror_(mirror), show_(std::move(show)) {
}

void Operations::apply(Operation const& operation) {
  Act const act = rowNamed(operation.op).prepare(Context{database_, mirror_, show_, operation});
  try {
    act();
  } catch (...) {
    std::terminate();  // said here, so that the terminate handler finds the exception
  }
}

}  // namespace Agent

#include "agent/program/Wiring.h"

#include <map>
#include <utility>
#include <vector>

#include "Stp/Module.h"
#include "StpOper/Module.h"
#include "agent/text/TextTable.h"

namespace Agent {

namespace {

using Row = std::vector<std::string>;

// By entity and attribute; of one change the handlers in the order of the classes and, within a
// class, of its table.
std::string changesTable() {
  std::map<std::pair<std::string_view, Lumo::FieldId>, std::vector<Row>> changes;
  for (Lumo::ClassInspectData const& one : mirrorClasses()) {
    for (Lumo::FieldDescriptor const& field : one.fields) {
      for (Lumo::Trigger const& trigger : field.triggers) {
        changes[{trigger.entity, trigger.id}].push_back(
            {shortName(trigger.entity), std::to_string(trigger.id), std::string(trigger.attribute),
             shortName(one.name) + "::" + std::string(field.name)});
      }
    }
  }
  std::vector<Row> rows{{"entity", "id", "attribute", "runs"}};
  for (auto const& [change, handlers] : changes) {
    rows.insert(rows.end(), handlers.begin(), handlers.end());
  }
  return textTable(rows);
}

std::string classTable(Lumo::ClassInspectData const& described) {
  std::vector<Row> rows{{"id", "field", "", "of type, or run by"}};
  for (Lumo::FieldDescriptor const& field : described.fields) {
    std::string about = shortName(field.type);
    for (Lumo::Trigger const& trigger : field.triggers) {
      about += (about.empty() ? "" : ", ") + shortName(trigger.entity) + "." +
               std::string(trigger.attribute);
    }
    rows.push_back(
        {std::to_string(field.id), std::string(field.name), fieldRole(field.kind), about});
  }
  return textTable(rows);
}

}  // namespace

std::span<Lumo::ClassInspectData const> mirrorClasses() {
  static std::vector<Lumo::ClassInspectData> const classes = [] {
    std::vector<Lumo::ClassInspectData> all;
    for (Lumo::ModuleInspectData const* const module :
         {&_StpOpenConfigSm_a888b7c7e663556e_velModule, &Stp::Oper::stpOperationalSmModule}) {
      all.insert(all.end(), module->classes.begin(), module->classes.end());
    }
    return all;
  }();
  return classes;
}

std::string shortName(std::string_view qualified) {
  constexpr std::string_view space = "Stp::";
  qualified.remove_prefix(qualified.starts_with(space) ? space.size() : 0);
  return std::string(qualified);
}

std::string fieldRole(Lumo::FieldKind kind) {
  switch (kind) {
    case Lumo::FieldKind::key: return "key";
    case Lumo::FieldKind::source: return "watches";
    case Lumo::FieldKind::held: return "holds";
    case Lumo::FieldKind::target: return "writes";
    case Lumo::FieldKind::child:
    case Lumo::FieldKind::children: return "owns";
    case Lumo::FieldKind::attribute: return "value";
    case Lumo::FieldKind::operation: return "operation";
    case Lumo::FieldKind::text: return "text";
  }
  return "unknown";
}

std::string wiringPage() {
  std::string page =
      "# Wiring\n\n"
      "`stp-openconfig-agent inspect --wiring` prints this page from the type registry of\n"
      "`libStpOpenConfig`; a test compares the two.\n\n"
      "## Changes\n\n"
      "What runs when an attribute of an entity changes, a member of a collection included. Of "
      "the\n"
      "handlers of one class those above run first; objects are told in the order in which they\n"
      "subscribed.\n\n" +
      changesTable() +
      "\n## Classes\n\n"
      "Fields by their numbers. An operation that no change runs is run by the object itself, by\n"
      "another, or through the introspection interface.\n";
  for (Lumo::ClassInspectData const& one : mirrorClasses()) {
    page += "\n### " + shortName(one.name) + "\n\n" + classTable(one);
  }
  return page;
}

}  // namespace Agent

#include "agent/program/ObjectTree.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <variant>
#include <vector>

#include "Lumo/HideMe.h"
#include "Lumo/ModuleInspect.h"
#include "Vel/AllocTrack.h"
#include "agent/program/Wiring.h"
#include "agent/state/EntityPaths.h"
#include "agent/text/Json.h"
#include "agent/text/TextTable.h"

namespace Agent {

namespace {

// Writes one object after the other, each with its children below it.
class TreeWriter {
 public:
  explicit TreeWriter(Database const& database) : paths_(database) {}

  void add(Lumo::Node& object, std::size_t depth) {
    Lumo::ClassInspectData const& inspected = *Lumo::classOf(object);
    Object const at{object, inspected, depth};
    std::string const key = std::get<std::string>(read(at, *inspected.field("keyInfo")));
    line(depth, std::get<std::string>(read(at, *inspected.field("classInfo"))) +
                    (key.empty() ? "" : " " + key) +
                    (object.hasNotificationActive() ? ": active" : ": inactive") +
                    (object.markAndSweepFlag() ? ", zombie" : ""));
    for (Lumo::FieldDescriptor const& field : inspected.fields) {
      addField(at, field);
    }
  }

  std::string take() { return std::move(text_); }

 private:
  struct Object {
    Lumo::Node& node;
    Lumo::ClassInspectData const& inspected;
    std::size_t depth;
  };

  static Lumo::InspectValue read(Object const& object, Lumo::FieldDescriptor const& field) {
    return object.inspected.hideMe->inspectOperation(object.node, field);
  }

  void addField(Object const& object, Lumo::FieldDescriptor const& field) {
    switch (field.kind) {
      case Lumo::FieldKind::operation:
      case Lumo::FieldKind::text: return;
      case Lumo::FieldKind::children: addChildren(object, field); return;
      case Lumo::FieldKind::child: addChild(object, field); return;
      default:
        fieldLine(object, field,
                  std::visit([&](auto const& value) { return shown(value, field); },
                             read(object, field)));
    }
  }

  void addChild(Object const& object, Lumo::FieldDescriptor const& field) {
    auto const value = read(object, field);
    auto const* const child = std::get_if<Lumo::Ptr<Lumo::Node>>(&value);
    fieldLine(object, field, child == nullptr ? "none" : "");
    if (child != nullptr) {
      add(**child, object.depth + 2);
    }
  }

  void addChildren(Object const& object, Lumo::FieldDescriptor const& field) {
    std::vector<Lumo::Ptr<Lumo::Node>> children;
    for (auto at = object.inspected.hideMe->childIterator(object.node, field); !at->atEnd();
         at->advance()) {
      children.push_back(at->child());
    }
    fieldLine(object, field, std::to_string(children.size()));
    for (auto const& child : children) {
      add(*child, object.depth + 2);
    }
  }

  static std::string shown(std::monostate /*value*/, Lumo::FieldDescriptor const& /*field*/) {
    return "nothing";
  }
  static std::string shown(std::uint64_t value, Lumo::FieldDescriptor const& /*field*/) {
    return std::to_string(value);
  }
  static std::string shown(std::string const& value, Lumo::FieldDescriptor const& /*field*/) {
    return Json(value).dump();
  }
  static std::string shown(Lumo::String const& value, Lumo::FieldDescriptor const& /*field*/) {
    return Json(value.view()).dump();
  }
  template <class Node>
  std::string shown(Lumo::Ptr<Node> const& entity, Lumo::FieldDescriptor const& field) const {
    if (Lumo::classOf(*entity) != nullptr) {
      return "an object of " + std::string(field.type);
    }
    std::string const path = paths_.of(*entity);
    return path.empty() ? "an entity outside the database" : path;
  }

  void fieldLine(Object const& object, Lumo::FieldDescriptor const& field,
                 std::string const& what) {
    line(object.depth + 1, std::to_string(field.id) + " " + std::string(field.name) + " " +
                               fieldRole(field.kind) + (what.empty() ? "" : " " + what));
  }

  void line(std::size_t depth, std::string const& text) {
    text_.append(depth * 2, ' ').append(text).append("\n");
  }

  EntityPaths paths_;
  std::string text_;
};

}  // namespace

std::string objectTree(Database const& database, Mirror const& mirror) {
  TreeWriter tree(database);
  for (TopLevelClass const& topLevel : topLevelClasses) {
    if (auto const object = mirror.object(topLevel)) {
      tree.add(*object, 0);
    }
  }
  return tree.take();
}

std::string allocationTable() {
  std::vector<std::vector<std::string>> rows;
  for (auto const* at = Vel::AllocTrackTypeInfo::first(); at != nullptr; at = at->next()) {
    rows.push_back(
        {std::string(at->className()), std::to_string(at->live()), std::to_string(at->total())});
  }
  std::ranges::sort(rows);
  rows.insert(rows.begin(), {"class", "live", "ever"});
  return textTable(rows);
}

}  // namespace Agent

#include "agent/program/WiringGraph.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Lumo/ModuleInspect.h"
#include "agent/program/Wiring.h"

namespace Agent {

namespace {

// A row of a box: the number that edges name it by, and its text.
using Rows = std::map<Lumo::FieldId, std::string>;

// The first row of a box is its title.
constexpr Lumo::FieldId title = 0;

constexpr std::string_view opening = R"(digraph wiring {
  graph [rankdir=LR, ranksep=1.5, nodesep=0.15, fontname="Helvetica,sans-serif", fontsize=12,
         label="Left: what is watched. Middle: the classes, and what a change runs. " +
               "Right: what they write. Dashed: who owns whom."];
  node [shape=plain, fontname="Helvetica,sans-serif", fontsize=11];
  edge [arrowsize=0.6, color="#405070"];
)";

constexpr std::string_view watchedColour = "#cfe2f3";
constexpr std::string_view classColour = "#fff2cc";
constexpr std::string_view writtenColour = "#d9ead3";

std::string quoted(std::string const& text) {
  return std::string("\"").append(text).append("\"");
}

class GraphWriter {
 public:
  GraphWriter() : text_(opening) {
    for (Lumo::ClassInspectData const& one : mirrorClasses()) {
      classes_.insert(one.name);
      for (Lumo::FieldDescriptor const& field : one.fields) {
        for (Lumo::Trigger const& trigger : field.triggers) {
          watched_[trigger.entity][trigger.id] = trigger.attribute;
        }
      }
    }
  }

  std::string take() {
    addWatched();
    addClasses();
    addWritten();
    for (Lumo::ClassInspectData const& one : mirrorClasses()) {
      for (Lumo::FieldDescriptor const& field : one.fields) {
        addEdges(one, field);
      }
    }
    return text_ + "}\n";
  }

 private:
  bool isClass(std::string_view type) const { return classes_.contains(type); }

  void addBox(std::string_view type, std::string_view colour, Rows const& rows) {
    std::string const name = shortName(type);
    text_.append("  ").append(quoted(name));
    text_ += R"( [label=<<table border="0" cellborder="1" cellspacing="0" cellpadding="3">)";
    text_.append(R"(<tr><td port="0" bgcolor=")").append(colour).append(R"("><b>)");
    text_.append(name).append("</b></td></tr>");
    for (auto const& [id, row] : rows) {
      text_.append(R"(<tr><td port=")").append(std::to_string(id)).append(R"(" align="left">)");
      text_.append(row).append("</td></tr>");
    }
    text_ += "</table>>];\n";
  }

  void addWatched() {
    text_ += "  {\n  rank=source;\n";
    for (auto const& [entity, attributes] : watched_) {
      if (!isClass(entity)) {
        addBox(entity, watchedColour, attributes);
      }
    }
    text_ += "  }\n";
  }

  void addClasses() {
    for (Lumo::ClassInspectData const& one : mirrorClasses()) {
      Rows rows;
      for (Lumo::FieldDescriptor const& field : one.fields) {
        if (!field.triggers.empty()) {
          rows[field.id] = field.name;
        }
      }
      if (auto const own = watched_.find(one.name); own != watched_.end()) {
        rows.insert(own->second.begin(), own->second.end());
      }
      addBox(one.name, classColour, rows);
    }
  }

  void addWritten() {
    std::set<std::string_view> written;
    for (Lumo::ClassInspectData const& one : mirrorClasses()) {
      for (Lumo::FieldDescriptor const& field : one.fields) {
        if (field.kind == Lumo::FieldKind::target && !watched_.contains(field.type)) {
          written.insert(field.type);
        }
      }
    }
    text_ += "  {\n  rank=sink;\n";
    for (std::string_view const entity : written) {
      addBox(entity, writtenColour, {});
    }
    text_ += "  }\n";
  }

  struct End {
    std::string_view type;
    Lumo::FieldId row;
    char side;  // e or w: right or left
  };

  void addEdge(End const& from, End const& to, std::string_view style = "") {
    addEnd("  ", from);
    addEnd(" -> ", to);
    text_.append(style).append(";\n");
  }

  void addEnd(std::string_view before, End const& end) {
    text_.append(before).append(quoted(shortName(end.type)));
    text_.append(":").append(std::to_string(end.row)).append(":").append(1, end.side);
  }

  // An edge that leads back must not push its end to the right.
  void addEdges(Lumo::ClassInspectData const& owner, Lumo::FieldDescriptor const& field) {
    constexpr std::string_view back = " [constraint=false]";
    constexpr std::string_view owns = R"( [style=dashed, color="#a05000", dir=none])";
    for (Lumo::Trigger const& trigger : field.triggers) {
      addEdge({trigger.entity, trigger.id, 'e'}, {owner.name, field.id, 'w'},
              isClass(trigger.entity) ? back : "");
    }
    if (field.kind == Lumo::FieldKind::target && watched_.contains(field.type)) {
      addEdge({owner.name, title, 'w'}, {field.type, title, 'e'}, back);
    } else if (field.kind == Lumo::FieldKind::target) {
      addEdge({owner.name, title, 'e'}, {field.type, title, 'w'});
    } else if (field.kind == Lumo::FieldKind::child || field.kind == Lumo::FieldKind::children) {
      addEdge({owner.name, title, 'e'}, {field.type, title, 'w'}, owns);
    } else if (field.kind == Lumo::FieldKind::held && isClass(field.type)) {
      addEdge({owner.name, title, 'e'}, {field.type, title, 'e'}, back);
    }
  }

  std::string text_;
  std::set<std::string_view> classes_;
  std::map<std::string_view, Rows> watched_;
};

}  // namespace

std::string wiringGraph() {
  return GraphWriter().take();
}

}  // namespace Agent

#include "agent/views/gnmi/Schema.h"

#include <algorithm>
#include <array>
#include <utility>

#include "agent/text/Json.h"
#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/ModelNodes.h"

namespace Agent::Gnmi {

namespace {

constexpr std::array servedModels{
    Model{"openconfig-spanning-tree", "OpenConfig working group", "0.3.1"},
    Model{"openconfig-spanning-tree-types", "OpenConfig working group", "0.4.1"},
    Model{"stp-openconfig-disabled-vlan", "StpOpenConfig project", "0.1.0"},
    Model{"stp-openconfig-cist", "StpOpenConfig project", "0.1.0"},
};

}  // namespace

class SchemaBuilder {
 public:
  SchemaBuilder() {
    // What is served comes first, so that nodes stand in the order of rows.
    for (LeafRow const& row : leafRows()) {
      SchemaNode* node = &root_;
      node->rows_.set(row.number);
      for (PathStep const& step : row.steps) {
        node = &childOf(*node, step);
        node->rows_.set(row.number);
      }
      node->row_ = &row;
    }
    for (ModelNodes const& nodes : modelNodes()) {
      SchemaNode* node = &root_;
      for (PathStep const& step : pathSteps(nodes.path)) {
        node = &childOf(*node, step);
      }
      std::string_view leaves = nodes.leaves;
      while (!leaves.empty()) {
        std::string_view const leaf = leaves.substr(0, leaves.find(' '));
        childOf(*node, pathSteps(leaf, node->module()).front());
        leaves.remove_prefix(std::min(leaf.size() + 1, leaves.size()));
      }
    }
  }

  SchemaNode const& root() const { return root_; }

 private:
  static SchemaNode& childOf(SchemaNode& node, PathStep const& step) {
    auto const found = std::ranges::find_if(
        node.children_, [&](auto const& child) { return child->name() == step.name; });
    if (found != node.children_.end()) {
      return **found;
    }
    SchemaNode& child = *node.children_.emplace_back(std::make_unique<SchemaNode>());
    child.step_ = step;
    child.parent_ = &node;
    return child;
  }

  SchemaNode root_;
};

bool SchemaNode::isNamed(std::string_view name) const {
  std::size_t const colon = name.find(':');
  return colon == std::string_view::npos
             ? name == step_.name
             : name.substr(0, colon) == step_.module && name.substr(colon + 1) == step_.name;
}

std::size_t SchemaNode::lists() const {
  return (parent_ == nullptr ? 0 : parent_->lists()) + (isList() ? 1 : 0);
}

SchemaNode const* SchemaNode::child(std::string_view name) const {
  auto const found =
      std::ranges::find_if(children_, [&](auto const& child) { return child->isNamed(name); });
  return found == children_.end() ? nullptr : found->get();
}

std::string SchemaNode::path() const {
  return parent_ == nullptr ? "" : parent_->path().append("/").append(name());
}

SchemaNode const& schema() {
  static SchemaBuilder const builder;
  return builder.root();
}

std::span<Model const> models() {
  return servedModels;
}

RowSet rowsOf(std::span<ModelName const> models) {
  RowSet rows;
  auto const agrees = [](std::string const& given, std::string_view own) {
    return given.empty() || given == own;
  };
  for (ModelName const& asked : models) {
    auto const* const model = std::ranges::find(servedModels, asked.name, &Model::name);
    std::string const culprit = "use_models: " + inQuotes(asked.name) + ": ";
    if (model == servedModels.end()) {
      throw Failure(Code::invalidArgument, culprit + "unknown model");
    }
    if (!agrees(asked.version, model->version)) {
      throw Failure(Code::invalidArgument, culprit + "version " + inQuotes(asked.version) +
                                               ", only " + std::string(model->version) +
                                               " is served");
    }
    if (!agrees(asked.organization, model->organization)) {
      throw Failure(Code::invalidArgument, culprit + "organization " +
                                               inQuotes(asked.organization) + ", only " +
                                               std::string(model->organization) + " is served");
    }
    for (LeafRow const& row : leafRows()) {
      if (row.module() == model->name) {
        rows.set(row.number);
      }
    }
  }
  return models.empty() ? rowsOf(DataType::all) : rows;
}

}  // namespace Agent::Gnmi

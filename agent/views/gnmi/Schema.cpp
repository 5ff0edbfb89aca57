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
};

}  // namespace

class SchemaBuilder {
 public:
  SchemaBuilder() {
    // What is served comes first, so that nodes stand in the order of rows.
    for (LeafRow const& row : leafRows()) {
      SchemaNode* node = &root_;
      node->rows_.set(row.number);
      for (std::size_t at = 0; at < row.names.size(); ++at) {
        bool const isLast = at + 1 == row.names.size();
        node = &childOf(*node, row.names[at], isLast ? row.module : leafModule);
        node->rows_.set(row.number);
        if (at == row.keyed) {
          node->listKey_ = row.table->listKey;
        }
      }
      node->row_ = &row;
    }
    for (ModelNodes const& nodes : modelNodes()) {
      SchemaNode* node = &root_;
      eachPart(nodes.path, '/', [&](std::string_view part) {
        std::size_t const bracket = part.find('[');
        node = &childOf(*node, part.substr(0, bracket), leafModule);
        if (bracket != std::string_view::npos) {
          node->listKey_ = part.substr(bracket + 1, part.size() - bracket - 2);
        }
      });
      eachPart(nodes.leaves, ' ', [&](std::string_view leaf) { childOf(*node, leaf, leafModule); });
    }
  }

  SchemaNode const& root() const { return root_; }

 private:
  template <class Visit>
  static void eachPart(std::string_view text, char separator, Visit const& visit) {
    while (!text.empty()) {
      std::size_t const end = std::min(text.find(separator), text.size());
      if (end != 0) {
        visit(text.substr(0, end));
      }
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }

  static SchemaNode& childOf(SchemaNode& node, std::string_view name, std::string_view module) {
    auto const found = std::ranges::find_if(
        node.children_, [&](auto const& child) { return child->name_ == name; });
    if (found != node.children_.end()) {
      return **found;
    }
    SchemaNode& child = *node.children_.emplace_back(std::make_unique<SchemaNode>());
    child.name_ = name;
    child.module_ = module;
    child.parent_ = &node;
    return child;
  }

  SchemaNode root_;
};

bool SchemaNode::isNamed(std::string_view name) const {
  std::size_t const colon = name.find(':');
  return colon == std::string_view::npos
             ? name == name_
             : name.substr(0, colon) == module_ && name.substr(colon + 1) == name_;
}

SchemaNode const* SchemaNode::child(std::string_view name) const {
  auto const found =
      std::ranges::find_if(children_, [&](auto const& child) { return child->isNamed(name); });
  return found == children_.end() ? nullptr : found->get();
}

std::string SchemaNode::path() const {
  return parent_ == nullptr ? "" : parent_->path().append("/").append(name_);
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
      if (row.module == model->name) {
        rows.set(row.number);
      }
    }
  }
  return models.empty() ? rowsOf(DataType::all) : rows;
}

}  // namespace Agent::Gnmi

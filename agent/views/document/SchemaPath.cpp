#include "agent/views/document/SchemaPath.h"

#include <algorithm>

namespace Agent {

std::vector<PathStep> pathSteps(std::string_view path, std::string_view module) {
  std::vector<PathStep> steps;
  while (!path.empty()) {
    std::string_view step = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(step.size() + 1, path.size()));
    if (step.empty()) {
      continue;
    }
    std::string_view listKey;
    if (std::size_t const bracket = step.find('['); bracket != std::string_view::npos) {
      listKey = step.substr(bracket + 1, step.size() - bracket - 2);
      step = step.substr(0, bracket);
    }
    if (std::size_t const colon = step.find(':'); colon != std::string_view::npos) {
      module = step.substr(0, colon);
      step.remove_prefix(colon + 1);
    }
    steps.push_back({step, module, listKey});
  }
  return steps;
}

}  // namespace Agent

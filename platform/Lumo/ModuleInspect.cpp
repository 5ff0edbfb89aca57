#include "Lumo/ModuleInspect.h"

#include <algorithm>
#include <vector>

namespace Lumo {

namespace {

std::vector<ModuleInspectData const*>& registry() {
  static std::vector<ModuleInspectData const*> modules;
  return modules;
}

template <class Matches>
FieldDescriptor const* findField(std::span<FieldDescriptor const> fields, Matches matches) {
  auto const found = std::find_if(fields.begin(), fields.end(), matches);
  return found == fields.end() ? nullptr : &*found;
}

}  // namespace

FieldDescriptor const* ClassInspectData::field(std::string_view fieldName) const noexcept {
  return findField(fields, [&](FieldDescriptor const& field) { return field.name == fieldName; });
}

FieldDescriptor const* ClassInspectData::field(FieldId id) const noexcept {
  return findField(fields, [&](FieldDescriptor const& field) { return field.id == id; });
}

void ModuleInspectData::loaded(ModuleInspectData const& module) {
  registry().push_back(&module);
}

std::span<ModuleInspectData const* const> ModuleInspectData::modules() noexcept {
  return registry();
}

ClassInspectData const* classOf(VelTypeBase type) noexcept {
  bool const isRegistered = type.module != nullptr && type.classIndex < type.module->classes.size();
  return isRegistered ? &type.module->classes[type.classIndex] : nullptr;
}

ClassInspectData const* classOf(Node const& node) {
  return classOf(node.typeData());
}

}  // namespace Lumo

#include "Vel/Reinstantiation.h"

#include "Lumo/ModuleInspect.h"

namespace Vel {

namespace {

std::string describe(Lumo::VelTypeBase type, Lumo::FieldId field) {
  Lumo::ClassInspectData const* const classData = Lumo::classOf(type);
  Lumo::FieldDescriptor const* const descriptor =
      classData == nullptr ? nullptr : classData->field(field);
  return std::string(classData == nullptr ? "a child" : classData->name) + " exists with another " +
         (descriptor == nullptr ? std::to_string(field) : std::string(descriptor->name)) +
         " (field " + std::to_string(field) + "): it can't be instantiated again";
}

}  // namespace

ReinstantiationException::ReinstantiationException(std::string const& message,
                                                   Lumo::VelTypeBase type, Lumo::FieldId field,
                                                   Lumo::Node const* stored,
                                                   Lumo::Node const* given)
    : std::logic_error(message), type_(type), field_(field), stored_(stored), given_(given) {
}

ReinstantiationException::~ReinstantiationException() = default;

namespace Impl {

void throwMutatorReinstantiating(Lumo::VelTypeBase type, Lumo::FieldId field,
                                 Lumo::Node const* stored, Lumo::Node const* given) {
  throw ReinstantiationException(describe(type, field), type, field, stored, given);
}

}  // namespace Impl

}  // namespace Vel

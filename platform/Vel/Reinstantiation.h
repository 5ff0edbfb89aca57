// The error of asking for an existing child with other arguments.
#pragma once

#include <stdexcept>
#include <string>

#include "Base/Api.h"
#include "Lumo/FieldId.h"
#include "Lumo/Node.h"

namespace Vel {

/// A child exists under the name, but was made from another entity. The message names the child's
/// class and the first argument that differs.
class STP_API ReinstantiationException : public std::logic_error {
 public:
  ReinstantiationException(std::string const& message, Lumo::VelTypeBase type, Lumo::FieldId field,
                           Lumo::Node const* stored, Lumo::Node const* given);
  ~ReinstantiationException() override;

  Lumo::VelTypeBase type() const noexcept { return type_; }
  Lumo::FieldId field() const noexcept { return field_; }

  /// The two entities, for comparison only: the exception holds no reference to them. Either may
  /// be null.
  Lumo::Node const* stored() const noexcept { return stored_; }
  Lumo::Node const* given() const noexcept { return given_; }

 private:
  Lumo::VelTypeBase type_;
  Lumo::FieldId field_;
  Lumo::Node const* stored_;
  Lumo::Node const* given_;
};

namespace Impl {

/// Throws ReinstantiationException for a child of the class `type`.
[[noreturn]] STP_API void throwMutatorReinstantiating(Lumo::VelTypeBase type, Lumo::FieldId field,
                                                      Lumo::Node const* stored,
                                                      Lumo::Node const* given);

}  // namespace Impl

}  // namespace Vel

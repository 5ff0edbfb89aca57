// How inspection tools reach the objects of a class without knowing it: by the descriptors of the
// type registry.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <variant>

#include "Base/Api.h"
#include "Lumo/ModuleInspect.h"
#include "Lumo/Ptr.h"
#include "Lumo/String.h"

namespace Lumo {

/// A value as inspection passes it: nothing, a number, a text, a name, or an entity that may be
/// written or only read.
using InspectValue =
    std::variant<std::monostate, std::uint64_t, std::string, String, Ptr<Node>, Ptr<Node const>>;

/// A tool asked for what a class does not have, or passed what a field does not take; the message
/// names class and field.
class STP_API InspectException : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
  ~InspectException() override;
};

/// Walks the children of one object in the order in which they came; children may go meanwhile.
class STP_API ChildIterator {
 public:
  ChildIterator() = default;
  ChildIterator(ChildIterator const&) = delete;
  ChildIterator& operator=(ChildIterator const&) = delete;
  virtual ~ChildIterator();

  virtual bool atEnd() const = 0;
  virtual void advance() = 0;
  /// The name of the present child; a fatal assertion when it has gone.
  virtual String key() const = 0;
  virtual Ptr<Node> child() const = 0;
};

/// One for each class; stateless.
class STP_API HideMe {
 public:
  HideMe() = default;
  HideMe(HideMe const&) = delete;
  HideMe& operator=(HideMe const&) = delete;
  virtual ~HideMe();

  /// Reads an attribute, argument, single child or text of `node`, or invokes an operation with
  /// its arguments. Throws InspectException when `node` is of another class, when the field is not
  /// the class's or is a set of children, or when the arguments do not fit, and whatever the
  /// operation throws.
  virtual InspectValue inspectOperation(Node& node, FieldDescriptor const& field,
                                        std::span<InspectValue const> arguments) const = 0;
  InspectValue inspectOperation(Node& node, FieldDescriptor const& field) const {
    return inspectOperation(node, field, {});
  }

  /// Builds an instance through the class's static creator. The arguments are those of the
  /// constructor, in order; an absent entity is passed as nothing. Throws InspectException when
  /// they do not fit.
  virtual Ptr<Node> genericIfConstructFromCtorArgs(
      std::span<InspectValue const> arguments) const = 0;

  /// Walks a keyed set of children. Throws InspectException when the field is not one.
  virtual std::unique_ptr<ChildIterator> childIterator(Node& node,
                                                       FieldDescriptor const& field) const = 0;
};

}  // namespace Lumo

// The type registry's view of a class, derived from the class. Internal.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

#include "Lumo/HideMe.h"
#include "Lumo/Members.h"
#include "Lumo/ModuleInspect.h"
#include "Lumo/TypeName.h"
#include "Stp/frame/Reactor.h"
#include "Stp/frame/Triggers.h"

namespace Stp::Impl {

template <class Class>
inline constexpr std::size_t memberCountOf = Lumo::memberCount<typename Class::AttributeList>;
template <class Class>
inline constexpr std::size_t operationCountOf =
    std::tuple_size_v<std::remove_cvref_t<decltype(Class::operations)>>;

template <class Class, std::size_t index>
using MemberOf = std::remove_cvref_t<std::tuple_element_t<
    index, decltype(Lumo::membersOf(std::declval<typename Class::AttributeList&>()))>>;

// The fields of a class, numbered in order: attributes, operations, and two texts.
template <class Class>
consteval auto describeFields() {
  constexpr std::size_t members = memberCountOf<Class>;
  std::array<Lumo::FieldDescriptor, members + operationCountOf<Class> + 2> fields{};
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    ((fields[I] = {0, MemberOf<Class, I>::kind, MemberOf<Class, I>::attributeName,
                   MemberOf<Class, I>::typeName}),
     ...);
  }
  (std::make_index_sequence<members>());
  [&]<std::size_t... I>(std::index_sequence<I...>) {
    ((fields[members + I] = {0,
                             Lumo::FieldKind::operation,
                             std::get<I>(Class::operations).name,
                             {},
                             triggersOf<Class, I>}),
     ...);
  }
  (std::make_index_sequence<operationCountOf<Class>>());
  std::size_t next = members + operationCountOf<Class>;
  fields[next++] = {0, Lumo::FieldKind::text, "classInfo", {}};
  fields[next] = {0, Lumo::FieldKind::text, "keyInfo", {}};
  for (std::size_t at = 0; at < fields.size(); ++at) {
    fields[at].id = static_cast<Lumo::FieldId>(firstField + at);
  }
  return fields;
}

template <class Class>
inline constexpr auto fieldsOf = describeFields<Class>();

// Walks one set of children; the owner is held meanwhile.
template <class Set>
class SetIterator final : public Lumo::ChildIterator {
 public:
  SetIterator(Lumo::Ptr<Lumo::Node const> owner, Set const& set)
      : owner_(std::move(owner)), at_(set) {}

  bool atEnd() const override { return at_.atEnd(); }
  void advance() override { ++at_; }
  Lumo::String key() const override { return at_.key(); }
  Lumo::Ptr<Lumo::Node> child() const override { return at_.value(); }

 private:
  Lumo::Ptr<Lumo::Node const> owner_;
  typename Set::Iterator at_;
};

/// How inspection tools reach the objects of one class.
template <class Class>
class Inspector final : public Lumo::HideMe {
 public:
  using HideMe::inspectOperation;

  Lumo::InspectValue inspectOperation(
      Lumo::Node& node, Lumo::FieldDescriptor const& field,
      std::span<Lumo::InspectValue const> arguments) const override {
    Class& object = objectOf(node);
    std::size_t const index = indexOf(field);
    if (field.kind == Lumo::FieldKind::operation) {
      invoke(object, index - memberCountOf<Class>, field, arguments);
      return {};
    }
    if (!arguments.empty()) {
      fail(field, "takes no arguments");
    }
    if (field.kind == Lumo::FieldKind::text) {
      return textOf(object, field);
    }
    return read(object, index, field);
  }

  Lumo::Ptr<Lumo::Node> genericIfConstructFromCtorArgs(
      std::span<Lumo::InspectValue const> arguments) const override {
    return construct(arguments, typename Class::ArgumentList());
  }

  std::unique_ptr<Lumo::ChildIterator> childIterator(
      Lumo::Node& node, Lumo::FieldDescriptor const& field) const override {
    Class& object = objectOf(node);
    std::size_t const index = indexOf(field);
    std::unique_ptr<Lumo::ChildIterator> result;
    std::size_t at = 0;
    object.eachMember([&](auto& member) {
      if constexpr (requires { member.members(); }) {
        if (at == index) {
          using Set = std::remove_cvref_t<decltype(member.members())>;
          result = std::make_unique<SetIterator<Set>>(Lumo::Ptr<Lumo::Node const>(&node),
                                                      member.members());
        }
      }
      ++at;
    });
    if (!result) {
      fail(field, "is no set of children");
    }
    return result;
  }

 private:
  static constexpr std::string_view name = Lumo::typeName<Class>();

  [[noreturn]] static void fail(Lumo::FieldDescriptor const& field, std::string_view reason) {
    throw Lumo::InspectException(std::string(name) + "::" + std::string(field.name) + " " +
                                 std::string(reason));
  }

  static Class& objectOf(Lumo::Node& node) {
    auto* const object = dynamic_cast<Class*>(&node);
    if (object == nullptr) {
      throw Lumo::InspectException("the object is no " + std::string(name));
    }
    return *object;
  }

  static std::size_t indexOf(Lumo::FieldDescriptor const& field) {
    auto const& fields = fieldsOf<Class>;
    std::size_t const index = field.id - std::size_t{firstField};
    if (index >= fields.size() || fields[index].name != field.name ||
        fields[index].kind != field.kind) {
      fail(field, "is no field of this class");
    }
    return index;
  }

  static Lumo::InspectValue textOf(Class const& object, Lumo::FieldDescriptor const& field) {
    if (field.name == "classInfo") {
      return std::string(Class::className());
    }
    if constexpr (Class::isKeyed) {
      return object.keyInfo();
    } else {
      return std::string();
    }
  }

  static Lumo::InspectValue read(Class& object, std::size_t index,
                                 Lumo::FieldDescriptor const& field) {
    Lumo::InspectValue result;
    std::size_t at = 0;
    object.eachMember([&](auto& member) {
      if (at++ == index) {
        result = valueOf(member, field);
      }
    });
    return result;
  }

  template <class Member>
  static Lumo::InspectValue valueOf(Member const& member, Lumo::FieldDescriptor const& field) {
    if constexpr (std::is_same_v<Member, Key>) {
      return static_cast<Lumo::String const&>(member);
    } else if constexpr (requires { member.value; }) {
      return std::uint64_t{member.value};
    } else if constexpr (requires { member.pointer(); }) {
      auto const& pointer = member.pointer();
      using Entity = std::remove_pointer_t<decltype(pointer.get())>;
      using Node = std::conditional_t<std::is_const_v<Entity>, Lumo::Node const, Lumo::Node>;
      return pointer ? Lumo::InspectValue(Lumo::Ptr<Node>(pointer)) : Lumo::InspectValue();
    } else {
      fail(field, "is a set of children");
    }
  }

  static void invoke(Class& object, std::size_t index, Lumo::FieldDescriptor const& field,
                     std::span<Lumo::InspectValue const> arguments) {
    Lumo::Ptr<Class> const held(&object);  // what the operation writes may drop the object
    std::size_t at = 0;
    std::apply(
        [&](auto const&... row) {
          ((at++ == index ? invokeRow(object, row, field, arguments) : void()), ...);
        },
        Class::operations);
  }

  template <class Row>
  static void invokeRow(Class& object, Row const& row, Lumo::FieldDescriptor const& field,
                        std::span<Lumo::InspectValue const> arguments) {
    if constexpr (Row::Traits::takesKey) {
      if (arguments.size() != 1) {
        fail(field, "takes one argument, a name");
      }
      (object.*row.handler)(nameOf(arguments.front(), field));
    } else {
      if (!arguments.empty()) {
        fail(field, "takes no arguments");
      }
      (object.*row.handler)();
    }
  }

  static Lumo::String nameOf(Lumo::InspectValue const& value, Lumo::FieldDescriptor const& field) {
    if (auto const* const text = std::get_if<std::string>(&value)) {
      return *text;
    }
    if (auto const* const text = std::get_if<Lumo::String>(&value)) {
      return *text;
    }
    fail(field, "takes a name");
  }

  template <class... Argument>
  static Lumo::Ptr<Lumo::Node> construct(std::span<Lumo::InspectValue const> arguments,
                                         TypeList<Argument...> /*arguments*/) {
    if (arguments.size() != sizeof...(Argument)) {
      throw Lumo::InspectException(std::string(name) + " is made from " +
                                   std::to_string(sizeof...(Argument)) + " arguments, not " +
                                   std::to_string(arguments.size()));
    }
    return [&]<std::size_t... I>(std::index_sequence<I...>)->Lumo::Ptr<Lumo::Node> {
      return Class::create(argumentOf<Argument>(arguments[I], fieldsOf<Class>[I])...);
    }
    (std::index_sequence_for<Argument...>());
  }

  template <class Argument>
  static typename Argument::Argument argumentOf(Lumo::InspectValue const& value,
                                                Lumo::FieldDescriptor const& field) {
    if constexpr (Argument::kind == Lumo::FieldKind::key) {
      return nameOf(value, field);
    } else {
      using Entity = typename Argument::Argument::Element;
      using Node = std::conditional_t<std::is_const_v<Entity>, Lumo::Node const, Lumo::Node>;
      if (std::holds_alternative<std::monostate>(value)) {
        return nullptr;
      }
      Node* node = nullptr;
      if (auto const* const writable = std::get_if<Lumo::Ptr<Lumo::Node>>(&value)) {
        node = writable->get();
      } else if constexpr (std::is_const_v<Entity>) {
        if (auto const* const readable = std::get_if<Lumo::Ptr<Lumo::Node const>>(&value)) {
          node = readable->get();
        }
      }
      auto* const entity = dynamic_cast<Entity*>(node);
      if (entity == nullptr) {
        fail(field, "takes a " + std::string(field.type));
      }
      return typename Argument::Argument(entity);
    }
  }
};

}  // namespace Stp::Impl

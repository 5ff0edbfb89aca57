// The frame that all classes of a module share.
//
// A reactor watches source entities, reacts to changes of their attributes, and writes target
// entities. A class says what it is made of in an aggregate of attributes (Attributes.h) and what
// it does when in its table `operations` (Operation.h):
//
//   struct ThingSmAttributes {
//     Key name;
//     Source<"thing", Thing const> thing;
//     Target<"ocThing", OCThing> ocThing;
//   };
//   class ThingSm final : public Reactor<ThingSm, ThingSmAttributes, Module> { ... };
//
// The module lists its classes, each at its class index, and names what they share. One source of
// it makes the record with `describeModule` (Registry.h):
//
//   struct Module {
//     using Classes = ClassList<ThingSm>;
//     static constexpr Lumo::ModuleInspectData const& record = thingModule;
//     static constexpr char const* sourcePath = "/src/Things";  // in both traces
//     static Vel::TraceHandle traceHandle;
//   };
//
// From the two the frame derives the constructor's and the creator's signature, subscription and
// activation, the dispatch of a change to the handlers, the comparison of a child's arguments,
// tear-down, allocation counts and the type registry. A class writes its handlers, a constructor
// that passes its arguments on and then calls `synchronise`, and its free factory.
//
// Life: constructed (subscribed and synchronised), active, inactive, zombie, destroyed. A change
// that comes while the mark-and-sweep flag is set is dropped. Handlers run on the one notification
// thread; whatever they write may drop the reactor from inside, so a handler of a leaf touches
// nothing of its own after its last write, and the frame holds reactors that go on after one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Base/Api.h"
#include "Lumo/Members.h"
#include "Lumo/Node.h"
#include "Lumo/Ptr.h"
#include "Lumo/SubscriberScopeGuard.h"
#include "Stp/frame/Attributes.h"
#include "Stp/frame/ClassList.h"
#include "Stp/frame/HandlerTrace.h"
#include "Stp/frame/MemberTypes.h"
#include "Stp/frame/Operation.h"
#include "Stp/frame/Tracked.h"
#include "Vel/Reinstantiation.h"

namespace Stp {

namespace Impl {
template <class Class>
class Inspector;
}  // namespace Impl

template <class Derived, class Attributes, class Module,
          class Arguments = typename Impl::SplitAttributes<Attributes>::Arguments,
          class Own = typename Impl::SplitAttributes<Attributes>::Own>
class Reactor;

template <class Derived, class Attributes, class Module, class... Argument, class... OwnMember>
class STP_API
    Reactor<Derived, Attributes, Module, Impl::TypeList<Argument...>, Impl::TypeList<OwnMember...>>
    : public Lumo::Node, public Tracked<Derived>, protected Attributes {
 public:
  using Self = Derived;
  using AttributeList = Attributes;
  using ArgumentList = Impl::TypeList<Argument...>;

  static constexpr bool isKeyed = (std::is_same_v<Argument, Key> || ...);
  static constexpr bool isReactive = (Impl::isSource<Argument> || ...);
  static constexpr bool hasChildren = (Impl::isChildren<OwnMember> || ...);

  /// The name of the class without its namespace.
  static constexpr std::string_view className() {
    return Impl::TraceSite{Lumo::typeName<Derived>(), {}, nullptr, 0}.className();
  }

  /// A new object; the arguments are those of the constructor. One that watches entities is active.
  /// An absent source is not watched; where the initial synchronisation needs an entity that is
  /// absent it throws Lumo::AbsentPointerException. What it throws passes, and nothing of the
  /// object remains.
  static Lumo::Ptr<Derived> create(typename Argument::Argument const&... arguments) {
    auto reactor = Lumo::Ptr<Derived>::adopt(Tracked<Derived>::make(arguments...));
    if constexpr (isReactive) {
      reactor->hasNotificationActiveIs(true);
    }
    return reactor;
  }

  Lumo::VelTypeBase typeData() const override {
    static_assert(Module::Classes::template lists<Derived>, "the module does not list this class");
    return {&Module::record, Module::Classes::template indexOf<Derived>()};
  }

  /// "[NAME]"
  std::string keyInfo() const requires isKeyed { return keyText(); }

  /// Sets or clears the mark-and-sweep flag of this reactor alone.
  void velDoZombieReactors(bool value) noexcept {
    if (markAndSweepFlag() != value) {
      markAndSweepFlagSet(value);
    }
  }

  /// Switches the subscriptions on or off, here and in all children. No handler of this reactor
  /// runs meanwhile.
  void hasNotificationActiveIs(bool value) requires isReactive {
    if (value == hasNotificationActive()) {
      return;
    }
    Lumo::hasNotificationActiveSet(*this, value);
    bool const zombie = markAndSweepFlag();
    markAndSweepFlagSet(true);
    eachMember([&](auto& member) { this->activeIs(member, value); });
    markAndSweepFlagSet(zombie);
  }

 protected:
  /// The routine for changes of a source: runs the handlers of the operations that list the
  /// changed attribute. Where there are several, the reactor is held meanwhile and its
  /// mark-and-sweep flag looked at before each; it is held as well if it has children, since it
  /// then goes on with them after it has written. An exception that escapes a handler ends the
  /// process.
  ///
  /// Its handlers are compiled into it: a change of a port then costs a fifth less.
  template <class Entity>
  [[gnu::visibility("hidden"), gnu::flatten]] static void dispatch(
      Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot, Lumo::FieldId field,
      void const* oldValueOrKey, void const* /*newValue*/) noexcept {
    auto* const reactor = static_cast<Reactor*>(slot->owner());
    try {
      if (!reactor->markAndSweepFlag()) {
        runListed<Entity>(
            static_cast<Derived&>(*reactor), field, oldValueOrKey,
            std::make_index_sequence<
                Impl::listedFields<typename Entity::Id>(Derived::operations).count>());
      }
    } catch (...) {
      std::terminate();  // said here, so that the host's terminate handler finds the exception
    }
  }

  explicit Reactor(typename Argument::Argument const&... arguments)
      : Attributes{arguments..., OwnMember()...} {
    static_assert(listsOnlyWatched(),
                  "an operation lists an attribute of an entity that this class does not watch");
    eachMember([this](auto& member) { this->subscribe(member); });
  }

  ~Reactor() override {
    if constexpr (isReactive) {
      hasNotificationActiveIs(false);
    } else {
      Lumo::hasNotificationActiveSet(*this, false);
    }
    velDoZombieReactors(true);
    unsubscribe();
    eachMember([](auto& member) {
      if constexpr (requires { member.delAll(); }) {
        member.delAll();
      }
    });
  }

  /// The end of a constructor: runs the given handlers in order. If one throws, the subscriptions
  /// are taken back first of all.
  template <class... Handler>
  void synchronise(Handler... handlers) {
    Lumo::SubscriberScopeGuard guard(*this);
    ((static_cast<Derived&>(*this).*handlers)(), ...);
    guard.dismiss();
  }

  /// Subscribes to the entity of a watched member, if there is one; nothing for other members.
  template <class Member>
  void subscribe(Member& member) {
    if constexpr (requires {
                    typename Member::Entity;
                    member.subscribe(nullptr, nullptr);
                  }) {
      member.subscribe(&dispatch<typename Member::Entity>, this);
    }
  }

  /// Opens the trace of a handler; the scope of the result is the traced block. The name must be
  /// that of an operation, with a parameter list where the fast trace's message has it. `text` is
  /// streamed after the common prefix; a callable is called with the stream. A "%s" or "%b" in it
  /// is no placeholder of ours: it is streamed as it stands, since the log's readers expect it so.
  template <Lumo::FixedString handler, unsigned line, class... Text>
  [[gnu::always_inline]] Impl::HandlerTrace trace(Text const&... text) const {
    static constexpr Impl::TraceSite site{Lumo::typeName<Derived>(), handler.view(),
                                          Module::sourcePath, line};
    static_assert(Impl::hasRow(Derived::operations, site.handlerName()),
                  "no operation of this class has this name");
    static constinit int messageId = 0;
    return Impl::HandlerTrace(
        site, messageId, Module::traceHandle,
        [this](auto const&... each) { this->writeText(site, each...); }, text...);
  }

 private:
  friend class Lumo::SubscriberScopeGuard<Reactor>;
  friend class Impl::Inspector<Derived>;
  template <Lumo::FixedString attribute, class Class>
  friend class Children;
  template <Lumo::FixedString attribute, class Class>
  friend class Child;

  void unsubscribe() noexcept {
    eachMember([](auto& member) {
      if constexpr (requires { member.unsubscribe(); }) {
        member.unsubscribe();
      }
    });
  }

  // Throws Vel::ReinstantiationException for the first of the given arguments, in the order of
  // the constructor and without the name, that is another entity than the stored one.
  template <class... Given>
  void requireMadeFrom(Given const&... given) const {
    std::array<Lumo::Node const*, sizeof...(Given)> const asked{given.get()...};
    auto const stored = entities();
    static_assert(asked.size() == stored.size());
    for (std::size_t at = 0; at < stored.size(); ++at) {
      if (stored[at] != asked[at]) {
        Vel::Impl::throwMutatorReinstantiating(
            typeData(), static_cast<Lumo::FieldId>(firstField + (isKeyed ? 1 : 0) + at), stored[at],
            asked[at]);
      }
    }
  }

  template <class... Given>
  bool isMadeFrom(Given const&... given) const {
    return entities() == std::array<Lumo::Node const*, sizeof...(Given)>{given.get()...};
  }

  template <class Visit>
  void eachMember(Visit visit) {
    std::apply([&](auto&... member) { (visit(member), ...); },
               Lumo::membersOf(static_cast<Attributes&>(*this)));
  }

  [[gnu::visibility("hidden")]] std::string keyText() const {
    if constexpr (isKeyed) {
      return std::string("[").append(Attributes::name.toString()).append("]");
    } else {
      return {};
    }
  }

  // Out of line, so that a handler whose text is off carries nothing of it.
  template <class... Text>
  [[gnu::noinline, gnu::cold, gnu::visibility("hidden")]] void writeText(
      Impl::TraceSite const& site, Text const&... text) const noexcept {
    Vel::TraceHelper helper(Module::traceHandle, Impl::handlerTraceLevel, site.sourcePath,
                            site.line, site.handlerName());
    helper.stream() << className() << keyText() << "::" << site.handlerName() << "() ";
    (Impl::streamText(helper.stream(), text), ...);
  }

  template <class Member>
  void activeIs(Member& member, bool value) {
    if constexpr (requires { member.activeIs(value); }) {
      member.activeIs(value);
    } else if constexpr (requires { member.unsubscribe(); }) {
      if (value) {
        subscribe(member);
      } else {
        member.unsubscribe();
      }
    }
  }

  // The stored entities, in the order of the arguments.
  auto entities() const {
    std::array<Lumo::Node const*, sizeof...(Argument) - (isKeyed ? 1 : 0)> stored{};
    std::size_t count = 0;
    auto const add = [&](auto const& member) {
      using Member = std::remove_cvref_t<decltype(member)>;
      if constexpr (Impl::isArgument<Member> && Member::kind != Lumo::FieldKind::key) {
        stored.at(count++) = member.pointer().get();
      }
    };
    std::apply([&](auto const&... member) { (add(member), ...); },
               Lumo::membersOf(static_cast<Attributes const&>(*this)));
    return stored;
  }

  // Whether the class watches an entity that numbers its attributes by `Id`.
  template <class Id>
  static constexpr bool isWatched = (Impl::watchesThrough<Argument, Id>() || ...) ||
                                    (Impl::watchesThrough<OwnMember, Id>() || ...);

  static consteval bool listsOnlyWatched() {
    return Impl::allListed(Derived::operations, []<class Id>() { return isWatched<Id>; });
  }

  template <class Entity, std::size_t... I>
  static void runListed(Derived& self, Lumo::FieldId field, void const* key,
                        std::index_sequence<I...> /*listed*/) {
    constexpr Impl::ListedFields fields =
        Impl::listedFields<typename Entity::Id>(Derived::operations);
    static_assert(fields.count != 0, "no operation lists an attribute of a watched entity");
    static_cast<void>(
        ((field == fields.ids[I] && (run<Entity, fields.ids[I]>(self, key), true)) || ...));
  }

  template <class Entity, Lumo::FieldId field>
  static void run(Derived& self, void const* key) {
    constexpr std::size_t runs = Impl::rowsListing<typename Entity::Id>(Derived::operations, field);
    using Hold = std::conditional_t<(runs > 1 || hasChildren), Lumo::Ptr<Derived>, Derived*>;
    [[maybe_unused]] Hold const held(&self);
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      (runRow<Entity, field, I, (runs > 1)>(self, key), ...);
    }
    (std::make_index_sequence<std::tuple_size_v<decltype(Derived::operations)>>());
  }

  template <class Entity, Lumo::FieldId field, std::size_t rowIndex, bool checkEach>
  static void runRow(Derived& self, [[maybe_unused]] void const* key) {
    constexpr auto const& row = std::get<rowIndex>(Derived::operations);
    if constexpr (row.template watches<typename Entity::Id>(field)) {
      if (checkEach && self.markAndSweepFlag()) {
        return;
      }
      using Traits = typename std::remove_cvref_t<decltype(row)>::Traits;
      if constexpr (Traits::takesKey) {
        static_assert(Impl::isKeyOf<typename Traits::Key, Entity>(field),
                      "the handler takes another key than that of the attribute's members");
        (self.*row.handler)(*static_cast<typename Traits::Key const*>(key));
      } else {
        (self.*row.handler)();
      }
    }
  }
};

}  // namespace Stp

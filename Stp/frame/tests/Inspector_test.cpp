// Inspection tools reach every class by the descriptors of the type registry alone.

#include "Stp/frame/Inspector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Stp/frame/tests/FrameTestSupport.h"

namespace Stp {
namespace {

using FrameTest::LooseWatch;
using FrameTest::Maker;
using FrameTest::makers;
using FrameTest::World;
using Lumo::InspectException;
using Lumo::InspectValue;
using testing::HasSubstr;
using testing::ThrowsMessage;
using Values = std::vector<InspectValue>;

// An object and how tools see it.
class Inspected {
 public:
  explicit Inspected(Lumo::Ptr<Lumo::Node> const& object)
      : object_(object), data_(*Lumo::classOf(*object)) {}

  Lumo::ClassInspectData const& data() const { return data_; }

  InspectValue get(std::string_view field, Values const& arguments = {}) const {
    return data_.hideMe->inspectOperation(*object_, *data_.field(field), arguments);
  }
  Lumo::Node const* entity(std::string_view field) const {
    InspectValue const value = get(field);
    if (auto const* const writable = std::get_if<Lumo::Ptr<Lumo::Node>>(&value)) {
      return writable->get();
    }
    return std::get<Lumo::Ptr<Lumo::Node const>>(value).get();
  }
  std::unique_ptr<Lumo::ChildIterator> children(std::string_view field) const {
    return data_.hideMe->childIterator(*object_, *data_.field(field));
  }

 private:
  Lumo::Ptr<Lumo::Node> object_;
  Lumo::ClassInspectData const& data_;
};

class Inspection : public TestSupport::LeavesNothing {
 protected:
  Inspected inspect(std::string_view className) {
    for (Maker const& maker : makers()) {
      if (maker.className == className) {
        return Inspected(maker.make(world));
      }
    }
    throw std::out_of_range(std::string(className));
  }

  World world;
};

TEST_F(Inspection, ReadsEveryArgument) {
  auto const name = [](Inspected const& object) {
    return std::get<Lumo::String>(object.get("name")).toString();
  };
  World& w = world;
  {
    Inspected const o = inspect("OCGlobalConfigSm");
    EXPECT_EQ(o.entity("stpInputConfig"), w.inputConfig.get());
    EXPECT_EQ(o.entity("ocGlobalConfig"), w.ocGlobalConfig.get());
  }
  {
    Inspected const o = inspect("OCGlobalVlanSyncher");
    EXPECT_EQ(o.entity("stpInputConfig"), w.inputConfig.get());
    EXPECT_EQ(o.entity("ocGlobalConfig"), w.ocGlobalConfig.get());
  }
  {
    Inspected const o = inspect("OCGlobalStateSm");
    EXPECT_EQ(o.entity("stpConfig"), w.config.get());
    EXPECT_EQ(o.entity("stpStatus"), w.status.get());
    EXPECT_EQ(o.entity("stpVlanConfigDir"), w.vlanDir.get());
    EXPECT_EQ(o.entity("ocGlobalState"), w.ocGlobalState.get());
  }
  {
    Inspected const o = inspect("OCPortConfigSm");
    EXPECT_EQ(name(o), "Ethernet1");
    EXPECT_EQ(o.entity("portConfig"), w.inputPort.get());
    EXPECT_EQ(o.entity("externalIntf"), w.ocInterface.get());
  }
  {
    Inspected const o = inspect("OCStpiStatusConfigSm");
    EXPECT_EQ(name(o), "Mst");
    EXPECT_EQ(o.entity("stpInputConfig"), w.inputConfig.get());
    EXPECT_EQ(o.entity("stpiStatus"), w.mst.get());
    EXPECT_EQ(o.entity("externalIntfConfigDir"), w.ocInterfaceConfigDir.get());
  }
  {
    Inspected const o = inspect("OCInterfaceConfigDirSm");
    EXPECT_EQ(o.entity("stpInputConfig"), w.inputConfig.get());
    EXPECT_EQ(o.entity("stpStatus"), w.status.get());
    EXPECT_EQ(o.entity("externalIntfConfigDir"), w.ocInterfaceConfigDir.get());
  }
  {
    Inspected const o = inspect("OCStpiPortStatusSm");
    EXPECT_EQ(name(o), "Ethernet1");
    EXPECT_EQ(o.entity("stpConfig"), w.config.get());
    EXPECT_EQ(o.entity("portConfig"), w.port.get());
    EXPECT_EQ(o.entity("stpiPortStatus"), w.portStatus.get());
    EXPECT_EQ(o.entity("externalIntfStateDir"), w.ocInterfaceStateDir.get());
  }
  {
    Inspected const o = inspect("OCStpiStatusSm");
    EXPECT_EQ(name(o), "Mst");
    EXPECT_EQ(o.entity("stpConfig"), w.config.get());
    EXPECT_EQ(o.entity("stpiStatus"), w.mst.get());
    EXPECT_EQ(o.entity("externalIntfStateDir"), w.ocInterfaceStateDir.get());
  }
  {
    Inspected const o = inspect("OCInterfaceStateDirSm");
    EXPECT_EQ(o.entity("stpConfig"), w.config.get());
    EXPECT_EQ(o.entity("stpStatus"), w.status.get());
    EXPECT_EQ(o.entity("externalIntfStateDir"), w.ocInterfaceStateDir.get());
  }
}

TEST_F(Inspection, ReadsEveryArgumentOfTheMstpClasses) {
  auto const name = [](Inspected const& object) {
    return std::get<Lumo::String>(object.get("name")).toString();
  };
  World& w = world;
  {
    Inspected const o = inspect("OCMstiConfigSm");
    EXPECT_EQ(name(o), "MST1");
    EXPECT_EQ(o.entity("mstiConfig"), w.inputMsti.get());
    EXPECT_EQ(o.entity("externalMsti"), w.ocMsti.get());
  }
  {
    Inspected const o = inspect("OCMstpConfigSm");
    EXPECT_EQ(name(o), "Mst");
    EXPECT_EQ(o.entity("mst"), w.inputMst.get());
    EXPECT_EQ(o.entity("stpInputConfig"), w.inputConfig.get());
    EXPECT_EQ(o.entity("ocMstiConfigDir"), w.ocMstiConfigDir.get());
  }
  {
    Inspected const o = inspect("OCMstpConfigWrapperSm");
    EXPECT_EQ(o.entity("stpInputConfig"), w.inputConfig.get());
    EXPECT_EQ(o.entity("ocMstiConfigDir"), w.ocMstiConfigDir.get());
  }
  {
    Inspected const o = inspect("OCMstSm");
    EXPECT_EQ(o.entity("stpiStatus"), w.mst.get());
    EXPECT_EQ(o.entity("ocMstpTrigger"), w.trigger.get());
  }
  {
    Inspected const o = inspect("OCMstiStatusSm");
    EXPECT_EQ(name(o), "MST1");
    EXPECT_EQ(o.entity("mstiStatus"), w.msti.get());
    EXPECT_EQ(o.entity("ocMstpTrigger"), w.trigger.get());
  }
  {
    Inspected const o = inspect("OCMstpMainStateSm");
    EXPECT_EQ(o.entity("stpConfig"), w.config.get());
    EXPECT_EQ(o.entity("stpStatus"), w.status.get());
    EXPECT_EQ(o.entity("ocMstiStateDir"), w.ocMstiStateDir.get());
    EXPECT_NE(dynamic_cast<OCMstpTrigger const*>(o.entity("ocMstpTrigger")), nullptr);
    EXPECT_NE(dynamic_cast<OCMstSm const*>(o.entity("ocMstSm")), nullptr);
  }
  w.trigger->counterIs(200);
  EXPECT_EQ(std::get<std::uint64_t>(Inspected(w.trigger).get("counter")), 200U);
}

TEST_F(Inspection, ReadsAnAbsentEntityAsNothing) {
  Inspected const watcher(oCMstSmFactory(nullptr, nullptr));
  EXPECT_TRUE(std::holds_alternative<std::monostate>(watcher.get("stpiStatus")));
  EXPECT_TRUE(std::holds_alternative<std::monostate>(watcher.get("ocMstpTrigger")));
  world.status->activeProtocolIs(Mode::stp);
  Inspected const state = inspect("OCMstpMainStateSm");
  EXPECT_TRUE(std::holds_alternative<std::monostate>(state.get("ocMstSm")));
}

TEST_F(Inspection, GivesWhatIsOnlyReadAsReadOnly) {
  Inspected const mirror = inspect("OCGlobalConfigSm");
  EXPECT_TRUE(std::holds_alternative<Lumo::Ptr<Lumo::Node const>>(mirror.get("stpInputConfig")));
  EXPECT_TRUE(std::holds_alternative<Lumo::Ptr<Lumo::Node>>(mirror.get("ocGlobalConfig")));
  EXPECT_TRUE(std::holds_alternative<Lumo::Ptr<Lumo::Node>>(
      inspect("OCInterfaceConfigDirSm").get("stpStatus")));
}

TEST_F(Inspection, InvokesEveryOperationByItsName) {
  std::map<std::string_view, std::string> const names{
      {"handleInterface", "Ethernet7"},      {"handleStpiPortStatusConfig", "Ethernet7"},
      {"handleStpiPortStatus", "Ethernet7"}, {"handleStpiStatus", "Mst"},
      {"handleStpiStatusConfig", "Mst"},     {"handleMstiConfig", "MST7"},
      {"handleMstpConfigSm", "Mst"},
  };
  for (Maker const& maker : makers()) {
    Inspected const object(maker.make(world));
    for (Lumo::FieldDescriptor const& field : object.data().fields) {
      if (field.kind != Lumo::FieldKind::operation) {
        continue;
      }
      SCOPED_TRACE(std::string(maker.className) + "::" + std::string(field.name));
      auto const named = names.find(field.name);
      Values const none;
      Values const oneName{named == names.end() ? std::string("superfluous") : named->second};
      TestSupport::HandlerLines traced;
      InspectValue const result = object.get(field.name, named == names.end() ? none : oneName);
      EXPECT_TRUE(std::holds_alternative<std::monostate>(result));
      auto const handlers = traced.handlers();
      ASSERT_FALSE(handlers.empty());
      EXPECT_EQ(handlers.front(), field.name);
      EXPECT_THAT(
          [&] { object.get(field.name, named == names.end() ? oneName : none); },
          ThrowsMessage<InspectException>(HasSubstr("Stp::" + std::string(maker.className) +
                                                    "::" + std::string(field.name) + " takes ")));
      EXPECT_TRUE(traced.handlers().empty());
    }
  }
}

TEST_F(Inspection, PassesOnWhatAnOperationThrows) {
  Inspected const mirror = inspect("OCMstpConfigSm");
  EXPECT_THROW(mirror.get("handleMstiConfig", {std::string("no instance")}), Lumo::RangeException);
  EXPECT_THROW(mirror.get("handleMstiConfig", {Lumo::String("no instance")}), Lumo::RangeException);
}

TEST_F(Inspection, RefusesArgumentsThatAreNoName) {
  Inspected const mirror = inspect("OCMstpConfigSm");
  for (InspectValue const& value :
       Values{std::monostate(), std::uint64_t{1}, Lumo::Ptr<Lumo::Node>(world.mst)}) {
    EXPECT_THAT(
        [&] { mirror.get("handleMstiConfig", {value}); },
        ThrowsMessage<InspectException>("Stp::OCMstpConfigSm::handleMstiConfig takes a name"));
  }
  EXPECT_THAT(
      [&] {
        mirror.get("handleMstiConfig", {std::string("a"), std::string("b")});
      },
      ThrowsMessage<InspectException>(HasSubstr("takes one argument, a name")));
  for (std::string_view const field : {"name", "mst", "classInfo", "keyInfo"}) {
    EXPECT_THAT([&] { mirror.get(field, {std::string("a")}); },
                ThrowsMessage<InspectException>(HasSubstr(std::string(field) + " takes no ")));
  }
}

TEST_F(Inspection, RefusesObjectsOfAnotherClass) {
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  for (Lumo::ClassInspectData const& data : _StpOpenConfigSm_a888b7c7e663556e_velModule.classes) {
    if (data.name == "Stp::OCGlobalConfigSm") {
      continue;
    }
    for (Lumo::FieldDescriptor const& field : data.fields) {
      EXPECT_THAT([&] { data.hideMe->inspectOperation(*mirror, field); },
                  ThrowsMessage<InspectException>("the object is no " + std::string(data.name)));
      EXPECT_THAT([&] { data.hideMe->childIterator(*mirror, field); },
                  ThrowsMessage<InspectException>("the object is no " + std::string(data.name)));
    }
    EXPECT_THROW(data.hideMe->inspectOperation(*world.inputConfig, data.fields.front()),
                 InspectException);
  }
}

TEST_F(Inspection, RefusesFieldsThatTheClassDoesNotHave) {
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  Lumo::HideMe const& hideMe = *Lumo::classOf(*mirror)->hideMe;
  using Lumo::FieldKind;
  for (Lumo::FieldDescriptor const& wrong : std::vector<Lumo::FieldDescriptor>{
           {130, FieldKind::source, "ocGlobalConfig", "Stp::OCGlobalConfig"},
           {129, FieldKind::source, "stpInputConfig", "Stp::Input::Config"},
           {0, FieldKind::text, "classInfo", {}},
           {137, FieldKind::text, "keyInfo", {}},
           {0xFFFF, FieldKind::operation, "handleEnabledProtocol", {}},
           {132, FieldKind::operation, "handleNothing", {}},
           {130, FieldKind::operation, "stpInputConfig", "Stp::Input::Config"},
           {132, FieldKind::text, "handleEnabledProtocol", {}},
           {132, FieldKind::source, "handleEnabledProtocol", {}},
           {135, FieldKind::operation, "classInfo", {}},
       }) {
    SCOPED_TRACE(std::to_string(wrong.id) + " " + std::string(wrong.name));
    TestSupport::HandlerLines traced;
    EXPECT_THAT(
        [&] { hideMe.inspectOperation(*mirror, wrong); },
        ThrowsMessage<InspectException>("Stp::OCGlobalConfigSm::" + std::string(wrong.name) +
                                        " is no field of this class"));
    EXPECT_THROW(hideMe.childIterator(*mirror, wrong), InspectException);
    EXPECT_TRUE(traced.handlers().empty());
  }
}

TEST_F(Inspection, WalksChildrenInOrderAndReadsThemNoOtherWay) {
  Inspected const parent = inspect("OCStpiStatusSm");
  auto const at = parent.children("ocStpiPortStatusSm");
  EXPECT_EQ(at->key(), "Ethernet1");
  EXPECT_EQ(at->child()->typeData().classIndex, 6);
  at->advance();
  EXPECT_EQ(at->key(), "Ethernet2");
  at->advance();
  EXPECT_TRUE(at->atEnd());
  EXPECT_THAT([&] { parent.get("ocStpiPortStatusSm"); },
              ThrowsMessage<InspectException>(HasSubstr("is a set of children")));
  EXPECT_THAT([&] { parent.children("stpiStatus"); },
              ThrowsMessage<InspectException>(HasSubstr("is no set of children")));
  EXPECT_THROW(inspect("OCMstpMainStateSm").children("ocMstSm"), InspectException);
}

TEST_F(Inspection, WalkGoesOnWhileChildrenComeAndGo) {
  std::unique_ptr<Lumo::ChildIterator> at;
  {
    auto const parent =
        oCStpiStatusSmFactory("Mst", world.config, world.mst, world.ocInterfaceStateDir);
    at = Inspected(parent).children("ocStpiPortStatusSm");
    world.mst->stpiPortStatus.del("Ethernet1");
    world.mst->stpiPortStatus.is("Ethernet3", Lumo::make<StpiPortStatus>());
    EXPECT_FALSE(at->atEnd());
    at->advance();
    EXPECT_EQ(at->key(), "Ethernet2");
    world.mst->stpiPortStatus.del("Ethernet2");
    at->advance();
    EXPECT_EQ(at->key(), "Ethernet3");
  }
  // The walk holds the parent.
  EXPECT_EQ(at->child()->references(), 2U);
  at->advance();
  EXPECT_TRUE(at->atEnd());
}

using InspectionDeathTest = Inspection;

TEST_F(InspectionDeathTest, AskingForAChildThatHasGoneEndsTheProcess) {
  Inspected const parent = inspect("OCStpiStatusSm");
  auto const at = parent.children("ocStpiPortStatusSm");
  world.mst->stpiPortStatus.delAll();
  EXPECT_DEATH(at->key(), "iterator has a position");
}

TEST_F(Inspection, ConstructsFromItsOwnArguments) {
  for (Maker const& maker : makers()) {
    SCOPED_TRACE(maker.className);
    Inspected const model(maker.make(world));
    Values arguments;
    for (Lumo::FieldDescriptor const& field : model.data().fields) {
      if (field.kind <= Lumo::FieldKind::target) {
        arguments.push_back(model.get(field.name));
      }
    }
    auto const object = model.data().hideMe->genericIfConstructFromCtorArgs(arguments);
    EXPECT_EQ(Lumo::classOf(*object), &model.data());
    EXPECT_EQ(object->references(), 1U);
    bool const isReactor =
        maker.className != "OCGlobalVlanSyncher" && maker.className != "OCMstpTrigger";
    EXPECT_EQ(object->hasNotificationActive(), isReactor);
    for (Lumo::FieldDescriptor const& field : model.data().fields) {
      if (field.kind <= Lumo::FieldKind::target) {
        EXPECT_EQ(Inspected(object).get(field.name), model.get(field.name)) << field.name;
      }
    }

    arguments.emplace_back(std::monostate());
    EXPECT_THAT([&] { model.data().hideMe->genericIfConstructFromCtorArgs(arguments); },
                ThrowsMessage<InspectException>(HasSubstr(std::string(maker.className))));
    arguments.pop_back();
    for (InspectValue& argument : arguments) {
      InspectValue const right = std::exchange(argument, std::uint64_t{1});
      EXPECT_THROW(model.data().hideMe->genericIfConstructFromCtorArgs(arguments),
                   InspectException);
      // An entity of a type that no class takes.
      argument = Lumo::Ptr<Lumo::Node>(object);
      EXPECT_THROW(model.data().hideMe->genericIfConstructFromCtorArgs(arguments),
                   InspectException);
      argument = right;
    }
  }
}

TEST_F(Inspection, ConstructsNothingThatWritesFromWhatIsOnlyRead) {
  Lumo::HideMe const& hideMe = *_StpOpenConfigSm_a888b7c7e663556e_velModule.classes[0].hideMe;
  Lumo::Ptr<Lumo::Node const> const source(world.inputConfig);
  Lumo::Ptr<Lumo::Node const> const target(world.ocGlobalConfig);
  EXPECT_THAT(
      [&] {
        hideMe.genericIfConstructFromCtorArgs(Values{source, target});
      },
      ThrowsMessage<InspectException>(
          "Stp::OCGlobalConfigSm::ocGlobalConfig takes a Stp::OCGlobalConfig"));
  EXPECT_TRUE(hideMe.genericIfConstructFromCtorArgs(
      Values{source, Lumo::Ptr<Lumo::Node>(world.ocGlobalConfig)}));
}

TEST_F(Inspection, OperationMayDropItsObject) {
  auto mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  Lumo::ClassInspectData const& data = *Lumo::classOf(*mirror);
  LooseWatch const reader(world.ocGlobalConfig->publisher(), [&] { mirror = nullptr; });
  data.hideMe->inspectOperation(*mirror, *data.field("handleBpduguard"));
  EXPECT_EQ(OCGlobalConfigSm::memAllocationTracker_.live(), 0U);
}

}  // namespace
}  // namespace Stp

// The module in the type registry, name by name: other software of the switch finds the classes,
// their fields and their operations by these.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lumo/HideMe.h"
#include "Lumo/ModuleInspect.h"
#include "Stp/Module.h"
#include "Stp/frame/tests/FrameTestSupport.h"

namespace Stp {
namespace {

using FrameTest::Maker;
using FrameTest::makers;
using FrameTest::World;
using testing::ElementsAreArray;

Lumo::ModuleInspectData const& module() {
  return _StpOpenConfigSm_a888b7c7e663556e_velModule;
}

TEST(ModuleRecord, IsKnownOnceTheLibraryIsLoaded) {
  auto const modules = Lumo::ModuleInspectData::modules();
  EXPECT_EQ(std::count(modules.begin(), modules.end(), &module()), 1);
}

TEST(ModuleRecord, NamesTheModuleAndItsSource) {
  EXPECT_EQ(module().name, "StpOpenConfigSm");
  EXPECT_EQ(module().sourcePath, "/src/Stp/StpOpenConfigSm");
}

TEST(ModuleRecord, HoldsAllNamesSorted) {
  std::vector<std::string_view> const names{
      "Lumo::String",
      "Stp::Config",
      "Stp::Input::Config",
      "Stp::Input::MstiConfig",
      "Stp::Input::PortConfig",
      "Stp::Input::StpiConfig",
      "Stp::MstiStatus",
      "Stp::OCGlobalConfig",
      "Stp::OCGlobalConfigSm",
      "Stp::OCGlobalState",
      "Stp::OCGlobalStateSm",
      "Stp::OCGlobalVlanSyncher",
      "Stp::OCInterface",
      "Stp::OCInterfaceConfigDir",
      "Stp::OCInterfaceConfigDirSm",
      "Stp::OCInterfaceStateDir",
      "Stp::OCInterfaceStateDirSm",
      "Stp::OCMstSm",
      "Stp::OCMsti",
      "Stp::OCMstiConfigDir",
      "Stp::OCMstiConfigSm",
      "Stp::OCMstiStateDir",
      "Stp::OCMstiStatusSm",
      "Stp::OCMstpConfigSm",
      "Stp::OCMstpConfigWrapperSm",
      "Stp::OCMstpMainStateSm",
      "Stp::OCMstpTrigger",
      "Stp::OCPortConfigSm",
      "Stp::OCStpiPortStatusSm",
      "Stp::OCStpiStatusConfigSm",
      "Stp::OCStpiStatusSm",
      "Stp::PortConfig",
      "Stp::Status",
      "Stp::StpiPortStatus",
      "Stp::StpiStatus",
      "Stp::VlanConfigDir",
      "classInfo",
      "counter",
      "externalIntf",
      "externalIntfConfigDir",
      "externalIntfStateDir",
      "externalMsti",
      "handleBpduguard",
      "handleBridgePriority",
      "handleDisabledVlan",
      "handleEdgePort",
      "handleEnabledProtocol",
      "handleInitialized",
      "handleInterface",
      "handleLinkType",
      "handleMstVlanMapping",
      "handleMstiConfig",
      "handleMstpConfigSm",
      "handleStpiPortStatus",
      "handleStpiPortStatusConfig",
      "handleStpiStatus",
      "handleStpiStatusConfig",
      "keyInfo",
      "maybeCleanUpExternalIntfConfigs",
      "mst",
      "mstiConfig",
      "mstiStatus",
      "name",
      "ocGlobalConfig",
      "ocGlobalState",
      "ocMstSm",
      "ocMstiConfigDir",
      "ocMstiConfigSm",
      "ocMstiStateDir",
      "ocMstiStatusSm",
      "ocMstpConfigSm",
      "ocMstpTrigger",
      "ocStpiPortStatusSm",
      "ocStpiStatusSm",
      "portConfig",
      "portConfigSm",
      "stpConfig",
      "stpInputConfig",
      "stpStatus",
      "stpVlanConfigDir",
      "stpiPortStatus",
      "stpiStatus",
      "stpiStatusConfigSm",
      "syncDisabledVlan",
      "triggerInc",
      "update",
  };
  EXPECT_THAT(std::vector<std::string_view>(module().strings.begin(), module().strings.end()),
              ElementsAreArray(names));
}

TEST(ModuleRecord, HasTheClassesAtTheirIndices) {
  std::vector<std::string_view> const names{
      "Stp::OCGlobalConfigSm",      "Stp::OCGlobalVlanSyncher",
      "Stp::OCGlobalStateSm",       "Stp::OCPortConfigSm",
      "Stp::OCStpiStatusConfigSm",  "Stp::OCInterfaceConfigDirSm",
      "Stp::OCStpiPortStatusSm",    "Stp::OCStpiStatusSm",
      "Stp::OCInterfaceStateDirSm", "Stp::OCMstiConfigSm",
      "Stp::OCMstpConfigSm",        "Stp::OCMstpConfigWrapperSm",
      "Stp::OCMstpTrigger",         "Stp::OCMstSm",
      "Stp::OCMstiStatusSm",        "Stp::OCMstpMainStateSm",
  };
  std::vector<std::string_view> registered;
  for (Lumo::ClassInspectData const& each : module().classes) {
    registered.push_back(each.name);
  }
  EXPECT_THAT(registered, ElementsAreArray(names));
}

TEST(ModuleRecord, EveryObjectNamesItsClass) {
  World world;
  std::uint16_t index = 0;
  for (Maker const& maker : makers()) {
    SCOPED_TRACE(maker.className);
    Lumo::Ptr<Lumo::Node> const object = maker.make(world);
    EXPECT_EQ(object->typeData(), (Lumo::VelTypeBase{&module(), index}));
    EXPECT_EQ(Lumo::classOf(*object)->name, "Stp::" + std::string(maker.className));
    ++index;
  }
  EXPECT_EQ(index, 16);
}

std::string_view kindOf(Lumo::FieldDescriptor const& field) {
  switch (field.kind) {
    case Lumo::FieldKind::key: return "key";
    case Lumo::FieldKind::source: return "watched";
    case Lumo::FieldKind::held:
    case Lumo::FieldKind::target: return "argument";
    case Lumo::FieldKind::child: return "child";
    case Lumo::FieldKind::children: return "children";
    case Lumo::FieldKind::attribute: return "value";
    case Lumo::FieldKind::operation: return "operation";
    case Lumo::FieldKind::text: return "text";
  }
  return "unknown";
}

std::vector<std::string> fieldsOf(Lumo::ClassInspectData const& data) {
  std::vector<std::string> fields;
  for (Lumo::FieldDescriptor const& field : data.fields) {
    std::string text = std::to_string(field.id);
    for (std::string_view const part : {kindOf(field), field.type, field.name}) {
      text.append(part.empty() ? "" : " ").append(part);
    }
    fields.push_back(text);
  }
  return fields;
}

using Fields = std::vector<std::string>;

// Each is its number, what it is, the type of an entity or child, and its name.
std::vector<std::pair<std::string_view, Fields>> const fieldTables{
    {"OCGlobalConfigSm",
     {
         "130 watched Stp::Input::Config stpInputConfig",
         "131 argument Stp::OCGlobalConfig ocGlobalConfig",
         "132 operation handleEnabledProtocol",
         "133 operation handleBpduguard",
         "134 operation handleDisabledVlan",
         "135 text classInfo",
         "136 text keyInfo",
     }},
    {"OCGlobalVlanSyncher",
     {
         "130 argument Stp::OCGlobalConfig ocGlobalConfig",
         "131 argument Stp::Input::Config stpInputConfig",
         "132 operation syncDisabledVlan",
         "133 text classInfo",
         "134 text keyInfo",
     }},
    {"OCGlobalStateSm",
     {
         "130 watched Stp::Config stpConfig",
         "131 watched Stp::Status stpStatus",
         "132 watched Stp::VlanConfigDir stpVlanConfigDir",
         "133 argument Stp::OCGlobalState ocGlobalState",
         "134 operation handleEnabledProtocol",
         "135 operation handleBpduguard",
         "136 operation handleDisabledVlan",
         "137 text classInfo",
         "138 text keyInfo",
     }},
    {"OCPortConfigSm",
     {
         "130 key Lumo::String name",
         "131 watched Stp::Input::PortConfig portConfig",
         "132 argument Stp::OCInterface externalIntf",
         "133 operation handleInitialized",
         "134 operation handleEdgePort",
         "135 operation handleBpduguard",
         "136 operation handleLinkType",
         "137 text classInfo",
         "138 text keyInfo",
     }},
    {"OCStpiStatusConfigSm",
     {
         "130 key Lumo::String name",
         "131 argument Stp::Input::Config stpInputConfig",
         "132 watched Stp::StpiStatus stpiStatus",
         "133 argument Stp::OCInterfaceConfigDir externalIntfConfigDir",
         "134 operation handleInitialized",
         "135 operation handleStpiPortStatusConfig",
         "136 text classInfo",
         "137 text keyInfo",
     }},
    {"OCInterfaceConfigDirSm",
     {
         "130 watched Stp::Input::Config stpInputConfig",
         "131 watched Stp::Status stpStatus",
         "132 argument Stp::OCInterfaceConfigDir externalIntfConfigDir",
         "133 children Stp::OCPortConfigSm portConfigSm",
         "134 children Stp::OCStpiStatusConfigSm stpiStatusConfigSm",
         "135 operation handleInitialized",
         "136 operation handleInterface",
         "137 operation handleStpiStatusConfig",
         "138 operation maybeCleanUpExternalIntfConfigs",
         "139 text classInfo",
         "140 text keyInfo",
     }},
    {"OCStpiPortStatusSm",
     {
         "130 key Lumo::String name",
         "131 watched Stp::Config stpConfig",
         "132 watched Stp::PortConfig portConfig",
         "133 watched Stp::StpiPortStatus stpiPortStatus",
         "134 argument Stp::OCInterfaceStateDir externalIntfStateDir",
         "135 operation handleInitialized",
         "136 operation handleEdgePort",
         "137 operation handleBpduguard",
         "138 operation handleLinkType",
         "139 text classInfo",
         "140 text keyInfo",
     }},
    {"OCStpiStatusSm",
     {
         "130 key Lumo::String name",
         "131 argument Stp::Config stpConfig",
         "132 watched Stp::StpiStatus stpiStatus",
         "133 argument Stp::OCInterfaceStateDir externalIntfStateDir",
         "134 children Stp::OCStpiPortStatusSm ocStpiPortStatusSm",
         "135 operation handleInitialized",
         "136 operation handleStpiPortStatus",
         "137 text classInfo",
         "138 text keyInfo",
     }},
    {"OCInterfaceStateDirSm",
     {
         "130 argument Stp::Config stpConfig",
         "131 watched Stp::Status stpStatus",
         "132 argument Stp::OCInterfaceStateDir externalIntfStateDir",
         "133 children Stp::OCStpiStatusSm ocStpiStatusSm",
         "134 operation handleInitialized",
         "135 operation handleStpiStatus",
         "136 text classInfo",
         "137 text keyInfo",
     }},
    {"OCMstiConfigSm",
     {
         "130 key Lumo::String name",
         "131 watched Stp::Input::MstiConfig mstiConfig",
         "132 argument Stp::OCMsti externalMsti",
         "133 operation handleBridgePriority",
         "134 text classInfo",
         "135 text keyInfo",
     }},
    {"OCMstpConfigSm",
     {
         "130 key Lumo::String name",
         "131 watched Stp::Input::StpiConfig mst",
         "132 argument Stp::Input::Config stpInputConfig",
         "133 argument Stp::OCMstiConfigDir ocMstiConfigDir",
         "134 children Stp::OCMstiConfigSm ocMstiConfigSm",
         "135 operation handleInitialized",
         "136 operation handleMstiConfig",
         "137 text classInfo",
         "138 text keyInfo",
     }},
    {"OCMstpConfigWrapperSm",
     {
         "130 watched Stp::Input::Config stpInputConfig",
         "131 argument Stp::OCMstiConfigDir ocMstiConfigDir",
         "132 children Stp::OCMstpConfigSm ocMstpConfigSm",
         "133 operation handleInitialized",
         "134 operation handleMstVlanMapping",
         "135 operation handleMstpConfigSm",
         "136 text classInfo",
         "137 text keyInfo",
     }},
    {"OCMstpTrigger",
     {
         "130 value counter",
         "131 text classInfo",
         "132 text keyInfo",
     }},
    {"OCMstSm",
     {
         "130 watched Stp::StpiStatus stpiStatus",
         "131 argument Stp::OCMstpTrigger ocMstpTrigger",
         "132 operation triggerInc",
         "133 text classInfo",
         "134 text keyInfo",
     }},
    {"OCMstiStatusSm",
     {
         "130 key Lumo::String name",
         "131 watched Stp::MstiStatus mstiStatus",
         "132 argument Stp::OCMstpTrigger ocMstpTrigger",
         "133 operation triggerInc",
         "134 text classInfo",
         "135 text keyInfo",
     }},
    {"OCMstpMainStateSm",
     {
         "130 watched Stp::Config stpConfig",
         "131 watched Stp::Status stpStatus",
         "132 argument Stp::OCMstiStateDir ocMstiStateDir",
         "133 child Stp::OCMstpTrigger ocMstpTrigger",
         "134 child Stp::OCMstSm ocMstSm",
         "135 children Stp::OCMstiStatusSm ocMstiStatusSm",
         "136 operation handleInitialized",
         "137 operation update",
         "138 operation triggerInc",
         "139 text classInfo",
         "140 text keyInfo",
     }},
};

TEST(ClassFields, HaveTheirNumbersAndNames) {
  ASSERT_EQ(fieldTables.size(), module().classes.size());
  for (std::size_t index = 0; index < fieldTables.size(); ++index) {
    auto const& [name, fields] = fieldTables[index];
    SCOPED_TRACE(name);
    EXPECT_EQ(module().classes[index].name, "Stp::" + std::string(name));
    EXPECT_EQ(fieldsOf(module().classes[index]), fields);
  }
}

TEST(ClassFields, AreFoundByNumberAndByNameAlone) {
  for (Lumo::ClassInspectData const& each : module().classes) {
    SCOPED_TRACE(each.name);
    for (Lumo::FieldDescriptor const& field : each.fields) {
      EXPECT_EQ(each.field(field.id), &field);
      EXPECT_EQ(each.field(field.name), &field);
    }
    auto const next = static_cast<Lumo::FieldId>(130 + each.fields.size());
    EXPECT_EQ(each.field(Lumo::FieldId{129}), nullptr);
    EXPECT_EQ(each.field(next), nullptr);
    EXPECT_EQ(each.field("counterInc"), nullptr);
  }
}

TEST(ClassTexts, AreTheClassNameAndTheKeyInBrackets) {
  std::map<std::string_view, std::string> const keys{
      {"OCPortConfigSm", "[Ethernet1]"},     {"OCStpiStatusConfigSm", "[Mst]"},
      {"OCStpiPortStatusSm", "[Ethernet1]"}, {"OCStpiStatusSm", "[Mst]"},
      {"OCMstiConfigSm", "[MST1]"},          {"OCMstpConfigSm", "[Mst]"},
      {"OCMstiStatusSm", "[MST1]"},
  };
  World world;
  for (Maker const& maker : makers()) {
    SCOPED_TRACE(maker.className);
    Lumo::Ptr<Lumo::Node> const object = maker.make(world);
    Lumo::ClassInspectData const& data = *Lumo::classOf(*object);
    auto const text = [&](std::string_view field) {
      return std::get<std::string>(data.hideMe->inspectOperation(*object, *data.field(field)));
    };
    auto const key = keys.find(maker.className);
    EXPECT_EQ(text("classInfo"), maker.className);
    EXPECT_EQ(text("keyInfo"), key == keys.end() ? "" : key->second);
  }
}

TEST(ClassTexts, KeyInfoIsTheNameInBrackets) {
  World world;
  EXPECT_EQ(oCPortConfigSmFactory("E1", world.inputPort, world.ocInterface)->keyInfo(), "[E1]");
  EXPECT_EQ(oCPortConfigSmFactory("", world.inputPort, world.ocInterface)->keyInfo(), "[]");
  EXPECT_EQ(oCPortConfigSmFactory("[a]", world.inputPort, world.ocInterface)->keyInfo(), "[[a]]");
}

TEST(ClassCounts, ExistOnceForEachClass) {
  std::map<std::string, int> trackers;
  for (auto const* each = Vel::AllocTrackTypeInfo::first(); each != nullptr; each = each->next()) {
    ++trackers[std::string(each->className())];
  }
  for (Maker const& maker : makers()) {
    EXPECT_EQ(trackers["Stp::" + std::string(maker.className)], 1) << maker.className;
  }
}

}  // namespace
}  // namespace Stp

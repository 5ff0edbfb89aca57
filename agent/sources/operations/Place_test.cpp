#include "agent/sources/operations/Place.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lumo/Entity.h"
#include "Lumo/Publisher.h"
#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

// Counts the changes of one entity, by attribute.
class ChangeCounter {
 public:
  explicit ChangeCounter(Lumo::Entity const& entity) : entity_(&entity) {
    slot_.routineIs(
        [](Lumo::Publisher*, Lumo::Subscriber* slot, Lumo::FieldId field, void const*,
           void const*) { static_cast<ChangeCounter*>(slot->owner())->fields.push_back(field); },
        this);
    entity_->publisher().subscriberAdd(slot_, false);
  }
  ~ChangeCounter() { slot_.unsubscribeFrom(entity_->publisher()); }

  std::vector<Lumo::FieldId> fields;

 private:
  Lumo::Ptr<Lumo::Entity const> entity_;
  Lumo::Subscriber slot_;
};

struct Case {
  char const* path;
  Lumo::Entity const& (*owner)(SourceView const&, TargetView const&);
  Lumo::FieldId field;
  char const* operations;  // that the path supports
  char const* value;       // for `set`
};

Lumo::Entity const& input(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.input;
}
Lumo::Entity const& config(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.config;
}
Lumo::Entity const& status(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.status;
}
Lumo::Entity const& vlans(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.vlanConfigDir;
}
Lumo::Entity const& inputPort(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.input->portConfig("E1");
}
Lumo::Entity const& inputMst(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.input->stpiConfig("Mst");
}
Lumo::Entity const& inputMsti(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.input->stpiConfig("Mst")->mstiConfig("MST5");
}
Lumo::Entity const& configPort(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.config->portConfig("E1");
}
Lumo::Entity const& statusMst(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.status->stpiStatus("Mst");
}
Lumo::Entity const& statusPort(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.status->stpiStatus("Mst")->stpiPortStatus("E1");
}
Lumo::Entity const& statusMsti(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.status->stpiStatus("Mst")->mstiStatus("MST5");
}
Lumo::Entity const& globalConfig(SourceView const& /*unused*/, TargetView const& targets) {
  return *targets.globalConfig;
}
Lumo::Entity const& globalState(SourceView const& /*unused*/, TargetView const& targets) {
  return *targets.globalState;
}
Lumo::Entity const& interfaces(SourceView const& /*unused*/, TargetView const& targets) {
  return *targets.interfaceConfigDir;
}
Lumo::Entity const& interface(SourceView const& /*unused*/, TargetView const& targets) {
  return *targets.interfaceConfigDir->interface(Lanx::IntfId::of("E1"));
}
Lumo::Entity const& interfaceStates(SourceView const& /*unused*/, TargetView const& targets) {
  return *targets.interfaceStateDir;
}
Lumo::Entity const& instances(SourceView const& /*unused*/, TargetView const& targets) {
  return *targets.mstiConfigDir;
}
Lumo::Entity const& instance(SourceView const& /*unused*/, TargetView const& targets) {
  return *targets.mstiConfigDir->mstInstance(5);
}
Lumo::Entity const& instanceStates(SourceView const& /*unused*/, TargetView const& targets) {
  return *targets.mstiStateDir;
}

Lumo::Entity const& bridge(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.operational;
}
Lumo::Entity const& tree(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.operational->tree("MST5");
}
Lumo::Entity const& treePort(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.operational->tree("MST5")->port("E1");
}
Lumo::Entity const& bridgePort(SourceView const& sources, TargetView const& /*unused*/) {
  return *sources.operational->port("E1");
}
template <auto target>
Lumo::Entity const& written(SourceView const& /*unused*/, TargetView const& targets) {
  return *(targets.*target);
}

constexpr char const* attribute = "set touch";
constexpr char const* member = "create replace touch delete";
constexpr char const* whole = "clear";
constexpr char const* bridgeId = R"("8.005.02:00:00:00:00:01")";
constexpr char const* portId = R"("8.001")";

// Every place in the tree, with the number of the attribute whose change its operations announce.
std::vector<Case> const cases{
    {R"(["input"])", input, 0, "", "1"},
    {R"(["input","mode"])", input, 267, attribute, "3"},
    {R"(["input","portfastBpduguard"])", input, 294, attribute, "true"},
    {R"(["input","mstConfig"])", input, 298, attribute, R"({"revision":9})"},
    {R"(["input","disabledVlan"])", input, 303, whole, "true"},
    {R"(["input","disabledVlan",10])", input, 303, "set touch delete", "false"},
    {R"(["input","portConfig"])", input, 386, whole, "{}"},
    {R"(["input","portConfig","E1"])", input, 386, member, "{}"},
    {R"(["input","portConfig","E1","linkType"])", inputPort, 260, attribute, "1"},
    {R"(["input","portConfig","E1","edgePortEnable"])", inputPort, 261, attribute, "true"},
    {R"(["input","portConfig","E1","edgePortAuto"])", inputPort, 263, attribute, "true"},
    {R"(["input","portConfig","E1","edgePortDisable"])", inputPort, 265, attribute, "true"},
    {R"(["input","portConfig","E1","bpduguard"])", inputPort, 270, attribute, "1"},
    {R"(["input","stpiConfig"])", input, 387, whole, "{}"},
    {R"(["input","stpiConfig","Mst"])", input, 387, member, "{}"},
    {R"(["input","stpiConfig","Mst","mstiConfig"])", inputMst, 259, whole, "{}"},
    {R"(["input","stpiConfig","Mst","mstiConfig","MST5"])", inputMst, 259, member, "{}"},
    {R"(["input","stpiConfig","Mst","mstiConfig","MST5","mstiId"])", inputMsti, 258, attribute,
     "6"},
    {R"(["input","stpiConfig","Mst","mstiConfig","MST5","bridgePriority"])", inputMsti, 259,
     attribute, "4096"},
    {R"(["config"])", config, 0, "", "1"},
    {R"(["config","portfastBpduguard"])", config, 294, attribute, "true"},
    {R"(["config","mstConfig"])", config, 298, attribute, R"({"revision":9})"},
    {R"(["config","disabledVlan"])", config, 303, whole, "true"},
    {R"(["config","disabledVlan",10])", config, 303, "set touch delete", "false"},
    {R"(["config","portConfig"])", config, 386, whole, "{}"},
    {R"(["config","portConfig","E1"])", config, 386, member, "{}"},
    {R"(["config","portConfig","E1","adminEdgePort"])", configPort, 261, attribute, "true"},
    {R"(["config","portConfig","E1","bpduguard"])", configPort, 270, attribute, "1"},
    {R"(["status"])", status, 0, "", "1"},
    {R"(["status","activeProtocol"])", status, 258, attribute, "3"},
    {R"(["status","stpiStatus"])", status, 259, whole, "{}"},
    {R"(["status","stpiStatus","Mst"])", status, 259, member, "{}"},
    {R"(["status","stpiStatus","Mst","stpiPortStatus"])", statusMst, 261, whole, "{}"},
    {R"(["status","stpiStatus","Mst","stpiPortStatus","E1"])", statusMst, 261, member, "{}"},
    {R"(["status","stpiStatus","Mst","stpiPortStatus","E1","operEdgePort"])", statusPort, 260,
     attribute, "true"},
    {R"(["status","stpiStatus","Mst","stpiPortStatus","E1","operPointToPointMac"])", statusPort,
     262, attribute, "true"},
    {R"(["status","stpiStatus","Mst","mstiStatus"])", statusMst, 262, whole, "{}"},
    {R"(["status","stpiStatus","Mst","mstiStatus","MST5"])", statusMst, 262, member, "{}"},
    {R"(["status","stpiStatus","Mst","mstiStatus","MST5","bridgePriority"])", statusMsti, 259,
     attribute, "4096"},
    {R"(["vlanConfigDir"])", vlans, 0, "", "1"},
    {R"(["vlanConfigDir","vlanConfig"])", vlans, 258, whole, "{}"},
    {R"(["vlanConfigDir","vlanConfig",10])", vlans, 258, member, "{}"},
    {R"(["operational"])", bridge, 0, "", "1"},
    {R"(["operational","running"])", bridge, 258, attribute, "true"},
    {R"(["operational","regionName"])", bridge, 259, attribute, R"("west")"},
    {R"(["operational","revision"])", bridge, 260, attribute, "9"},
    {R"(["operational","helloTime"])", bridge, 261, attribute, "2"},
    {R"(["operational","bridgeMaxAge"])", bridge, 262, attribute, "20"},
    {R"(["operational","bridgeForwardDelay"])", bridge, 263, attribute, "15"},
    {R"(["operational","maxAge"])", bridge, 264, attribute, "20"},
    {R"(["operational","forwardDelay"])", bridge, 265, attribute, "15"},
    {R"(["operational","txHoldCount"])", bridge, 266, attribute, "6"},
    {R"(["operational","maxHops"])", bridge, 267, attribute, "20"},
    {R"(["operational","tree"])", bridge, 268, whole, "{}"},
    {R"(["operational","tree","MST5"])", bridge, 268, member, "{}"},
    {R"(["operational","tree","MST5","bridgeId"])", tree, 258, attribute, bridgeId},
    {R"(["operational","tree","MST5","designatedRoot"])", tree, 259, attribute, bridgeId},
    {R"(["operational","tree","MST5","externalRootCost"])", tree, 260, attribute, "20000"},
    {R"(["operational","tree","MST5","regionalRoot"])", tree, 261, attribute, bridgeId},
    {R"(["operational","tree","MST5","internalRootCost"])", tree, 262, attribute, "20000"},
    {R"(["operational","tree","MST5","rootPort"])", tree, 263, attribute, "0"},
    {R"(["operational","tree","MST5","topologyChanges"])", tree, 264, attribute, "7"},
    {R"(["operational","tree","MST5","lastTopologyChange"])", tree, 265, attribute, "7"},
    {R"(["operational","tree","MST5","port"])", tree, 266, whole, "{}"},
    {R"(["operational","tree","MST5","port","E1"])", tree, 266, member, "{}"},
    {R"(["operational","tree","MST5","port","E1","portId"])", treePort, 258, attribute, portId},
    {R"(["operational","tree","MST5","port","E1","externalCost"])", treePort, 259, attribute,
     "20000"},
    {R"(["operational","tree","MST5","port","E1","internalCost"])", treePort, 260, attribute,
     "20000"},
    {R"(["operational","tree","MST5","port","E1","role"])", treePort, 261, attribute, "2"},
    {R"(["operational","tree","MST5","port","E1","state"])", treePort, 262, attribute, "3"},
    {R"(["operational","tree","MST5","port","E1","designatedRoot"])", treePort, 263, attribute,
     bridgeId},
    {R"(["operational","tree","MST5","port","E1","designatedExternalCost"])", treePort, 264,
     attribute, "0"},
    {R"(["operational","tree","MST5","port","E1","designatedRegionalRoot"])", treePort, 265,
     attribute, bridgeId},
    {R"(["operational","tree","MST5","port","E1","designatedInternalCost"])", treePort, 266,
     attribute, "0"},
    {R"(["operational","tree","MST5","port","E1","designatedBridge"])", treePort, 267, attribute,
     bridgeId},
    {R"(["operational","tree","MST5","port","E1","designatedPort"])", treePort, 268, attribute,
     portId},
    {R"(["operational","tree","MST5","port","E1","forwardTransitions"])", treePort, 269, attribute,
     "1"},
    {R"(["operational","tree","MST5","port","E1","disputed"])", treePort, 270, attribute, "true"},
    {R"(["operational","tree","MST5","port","E1","bpduSent"])", treePort, 271, attribute, "1"},
    {R"(["operational","tree","MST5","port","E1","bpduReceived"])", treePort, 272, attribute, "1"},
    {R"(["operational","port"])", bridge, 269, whole, "{}"},
    {R"(["operational","port","E1"])", bridge, 269, member, "{}"},
    {R"(["operational","port","E1","restrictedRole"])", bridgePort, 258, attribute, "true"},
    {R"(["operational","port","E1","bpduFilter"])", bridgePort, 259, attribute, "true"},
    {R"(["operational","port","E1","bpduGuardError"])", bridgePort, 260, attribute, "true"},
    {R"(["ocGlobalConfig"])", globalConfig, 0, "", "1"},
    {R"(["ocGlobalConfig","config"])", globalConfig, 130, "set", "{}"},
    {R"(["ocGlobalState","state"])", globalState, 130, "set", "{}"},
    {R"(["ocInterfaceConfigDir","interface"])", interfaces, 130, whole, "{}"},
    {R"(["ocInterfaceConfigDir","interface","E1"])", interfaces, 130, "create delete", "{}"},
    {R"(["ocInterfaceConfigDir","interface","E1"])", interface, 130, "set", "{}"},
    {R"(["ocInterfaceStateDir","state"])", interfaceStates, 130, whole, "{}"},
    {R"(["ocInterfaceStateDir","state","E1"])", interfaceStates, 130, "set delete", "{}"},
    {R"(["ocMstiConfigDir","mstInstance"])", instances, 130, whole, "{}"},
    {R"(["ocMstiConfigDir","mstInstance",5])", instances, 130, "create delete", "{}"},
    {R"(["ocMstiConfigDir","mstInstance",5])", instance, 130, "set", "{}"},
    {R"(["ocMstiStateDir","state"])", instanceStates, 130, whole, "{}"},
    {R"(["ocMstiStateDir","state",5])", instanceStates, 130, "set delete", "{}"},
    {R"(["ocRstpConfig","record"])", written<&TargetView::rstpConfig>, 130, "set", "{}"},
    {R"(["ocRstpState","record"])", written<&TargetView::rstpState>, 130, "set", "{}"},
    {R"(["ocMstpConfig","record"])", written<&TargetView::mstpConfig>, 130, "set", "{}"},
    {R"(["ocMstpState","record"])", written<&TargetView::mstpState>, 130, "set", "{}"},
    {R"(["ocTreeConfigDir","record"])", written<&TargetView::treeConfigDir>, 130, whole, "{}"},
    {R"(["ocTreeConfigDir","record","MST5"])", written<&TargetView::treeConfigDir>, 130,
     "set delete", "{}"},
    {R"(["ocTreeStateDir","record"])", written<&TargetView::treeStateDir>, 130, whole, "{}"},
    {R"(["ocTreeStateDir","record","MST5"])", written<&TargetView::treeStateDir>, 130, "set delete",
     "{}"},
    {R"(["ocTreePortConfigDir","record"])", written<&TargetView::treePortConfigDir>, 130, whole,
     "{}"},
    {R"(["ocTreePortConfigDir","record","MST5/E1"])", written<&TargetView::treePortConfigDir>, 130,
     "set delete", "{}"},
    {R"(["ocTreePortStateDir","record"])", written<&TargetView::treePortStateDir>, 130, whole,
     "{}"},
    {R"(["ocTreePortStateDir","record","MST5/E1"])", written<&TargetView::treePortStateDir>, 130,
     "set delete", "{}"},
    {R"(["ocTreePortCountersDir","record"])", written<&TargetView::treePortCountersDir>, 130, whole,
     "{}"},
    {R"(["ocTreePortCountersDir","record","MST5/E1"])", written<&TargetView::treePortCountersDir>,
     130, "set delete", "{}"},
    {R"(["ocProtectionConfigDir","record"])", written<&TargetView::protectionConfigDir>, 130, whole,
     "{}"},
    {R"(["ocProtectionConfigDir","record","E1"])", written<&TargetView::protectionConfigDir>, 130,
     "set delete", "{}"},
    {R"(["ocProtectionStateDir","record"])", written<&TargetView::protectionStateDir>, 130, whole,
     "{}"},
    {R"(["ocProtectionStateDir","record","E1"])", written<&TargetView::protectionStateDir>, 130,
     "set delete", "{}"},
};

std::vector<std::string> const operations{"set", "create", "replace", "touch", "delete", "clear"};

std::string line(std::string const& op, std::string const& path, std::string const& value = "") {
  return R"({"op":")" + op + R"(","path":)" + path + (value.empty() ? "" : R"(,"value":)" + value) +
         "}";
}

// A tree that has one member everywhere.
class Tree : public TestSession {
 public:
  Tree() {
    for (char const* const path :
         {R"(["input","portConfig","E1"])", R"(["input","stpiConfig","Mst"])",
          R"(["input","stpiConfig","Mst","mstiConfig","MST5"])", R"(["config","portConfig","E1"])",
          R"(["status","stpiStatus","Mst"])",
          R"(["status","stpiStatus","Mst","stpiPortStatus","E1"])",
          R"(["status","stpiStatus","Mst","mstiStatus","MST5"])",
          R"(["vlanConfigDir","vlanConfig",10])", R"(["operational","tree","MST5"])",
          R"(["operational","tree","MST5","port","E1"])", R"(["operational","port","E1"])",
          R"(["ocInterfaceConfigDir","interface","E1"])",
          R"(["ocMstiConfigDir","mstInstance",5])"}) {
      apply(line("create", path));
    }
    apply(line("set", R"(["input","disabledVlan",10])", "true"));
    apply(line("set", R"(["config","disabledVlan",10])", "true"));
    apply(line("set", R"(["ocInterfaceStateDir","state","E1"])", "{}"));
    apply(line("set", R"(["ocMstiStateDir","state",5])", "{}"));
    for (char const* const path :
         {R"(["ocTreeConfigDir","record","MST5"])", R"(["ocTreeStateDir","record","MST5"])",
          R"(["ocTreePortConfigDir","record","MST5/E1"])",
          R"(["ocTreePortStateDir","record","MST5/E1"])",
          R"(["ocTreePortCountersDir","record","MST5/E1"])",
          R"(["ocProtectionConfigDir","record","E1"])",
          R"(["ocProtectionStateDir","record","E1"])"}) {
      apply(line("set", path, "{}"));
    }
    printed();
  }
};

// The same path with a last key that the tree doesn't have, or the empty text.
std::string elsewhere(std::string path) {
  for (auto const& [present, absent] : {std::pair{R"("E1"])", R"("E2"])"},
                                        {R"("Mst"])", R"("Rst"])"},
                                        {R"("MST5"])", R"("MST6"])"},
                                        {R"("MST5/E1"])", R"("MST5/E2"])"},
                                        {",10]", ",11]"},
                                        {",5]", ",6]"}}) {
    if (path.ends_with(present)) {
      return path.replace(path.size() - std::string_view(present).size(), std::string::npos,
                          absent);
    }
  }
  return "";
}

bool supports(Case const& given, std::string const& op) {
  return (" " + std::string(given.operations) + " ").find(" " + op + " ") != std::string::npos;
}

bool anySupports(char const* path, std::string const& op) {
  return std::any_of(cases.begin(), cases.end(), [&](Case const& given) {
    return std::string_view(given.path) == path && supports(given, op);
  });
}

TEST(Place, SupportedOperationAnnouncesOneChangeOfItsAttribute) {
  for (Case const& given : cases) {
    for (std::string const& op : operations) {
      if (supports(given, op)) {
        Tree tree;
        std::string const applied = line(op, op == "create" ? elsewhere(given.path) : given.path,
                                         op == "set" ? given.value : "");
        SCOPED_TRACE(applied);
        ChangeCounter const counter(given.owner(tree.sources(), tree.targets()));
        tree.apply(applied);
        EXPECT_EQ(counter.fields, std::vector{given.field});
      }
    }
  }
}

TEST(Place, UnsupportedOperationIsRefusedAndChangesNothing) {
  for (Case const& given : cases) {
    for (std::string const& op : operations) {
      if (!anySupports(given.path, op)) {
        Tree tree;
        std::string const refused = line(op, given.path, op == "set" ? given.value : "");
        SCOPED_TRACE(refused);
        ChangeCounter const counter(given.owner(tree.sources(), tree.targets()));
        EXPECT_THAT(tree.refusalOf(refused),
                    testing::AllOf(testing::StartsWith("path: "),
                                   testing::EndsWith(" does not support \"" + op + "\"")));
        EXPECT_EQ(counter.fields, std::vector<Lumo::FieldId>());
        EXPECT_EQ(tree.printed(), std::vector<std::string>());
      }
    }
  }
}

TEST(Place, MissingKeyIsRefused) {
  for (Case const& given : cases) {
    std::string const path = elsewhere(given.path);
    for (char const* const op : {"replace", "touch", "delete"}) {
      if (!path.empty() && anySupports(given.path, op)) {
        Tree tree;
        SCOPED_TRACE(line(op, path));
        ChangeCounter const counter(given.owner(tree.sources(), tree.targets()));
        EXPECT_THAT(tree.refusalOf(line(op, path)), testing::HasSubstr(" has no "));
        EXPECT_EQ(counter.fields, std::vector<Lumo::FieldId>());
      }
    }
  }
}

TEST(Place, PresentKeyIsNotCreatedAgain) {
  for (Case const& given : cases) {
    if (supports(given, "create")) {
      Tree tree;
      SCOPED_TRACE(given.path);
      ChangeCounter const counter(given.owner(tree.sources(), tree.targets()));
      EXPECT_THAT(tree.refusalOf(line("create", given.path)), testing::HasSubstr(" already has "));
      EXPECT_EQ(counter.fields, std::vector<Lumo::FieldId>());
    }
  }
}

TEST(Place, StepThatLeadsNowhereIsRefused) {
  struct Refused {
    char const* path;
    char const* reason;
  };
  for (auto const& [path, reason] : std::vector<Refused>{
           {R"([])", "path: an empty path"},
           {R"(["inputs","mode"])", "path[0]: \"inputs\" is no root of the tree"},
           {R"([1,"mode"])", "path[0]: 1 is not the name of an attribute"},
           {R"(["input",null])", "path[1]: null is not the name of an attribute"},
           {R"(["input","modes"])", "path[1]: input has no attribute \"modes\""},
           {R"(["input","Mode"])", "path[1]: input has no attribute \"Mode\""},
           {R"(["input","mode","x"])", "path[2]: input.mode has nothing below it"},
           {R"(["input","portConfig",""])",
            "path[2]: \"\" is not a name, a string that is not empty"},
           {R"(["input","portConfig",1])", "path[2]: 1 is not a name, a string that is not empty"},
           {R"(["input","portConfig",["E1"]])",
            "path[2]: an array of 1 is not a name, a string that is not empty"},
           {R"(["input","portConfig","e1","linkType"])", "path[2]: input.portConfig has no \"e1\""},
           {R"(["input","portConfig","E1","link"])",
            "path[3]: input.portConfig.E1 has no attribute \"link\""},
           {R"(["input","stpiConfig","Mst","mstiConfig","MST6","mstiId"])",
            "path[4]: input.stpiConfig.Mst.mstiConfig has no \"MST6\""},
           {R"(["input","disabledVlan",0])", "path[2]: 0 is not an integer from 1 to 4094"},
           {R"(["input","disabledVlan",4095])", "path[2]: 4095 is not an integer from 1 to 4094"},
           {R"(["input","disabledVlan","10"])", "path[2]: \"10\" is not an integer from 1 to 4094"},
           {R"(["input","disabledVlan",10.0])",
            "path[2]: 10.0 is not an integer from 1 to 4094 (written without fraction or "
            "exponent)"},
           {R"(["input","disabledVlan",10,"x"])",
            "path[3]: input.disabledVlan.10 has nothing below it"},
           {R"(["ocInterfaceConfigDir","interface","E1","config"])",
            "path[3]: ocInterfaceConfigDir.interface.E1 has nothing below it"},
           {R"(["ocInterfaceStateDir","state",5])",
            "path[2]: 5 is not a name, a string that is not empty"},
           {R"(["ocMstiStateDir","state","5"])", "path[2]: \"5\" is not an integer from 0 to 4095"},
           {R"(["ocMstiStateDir","state",4096])", "path[2]: 4096 is not an integer from 0 to 4095"},
           {R"(["ocMstiConfigDir","mstInstance",-1])",
            "path[2]: -1 is not an integer from 0 to 4095"},
           {R"(["operational","tree",5])", "path[2]: 5 is not a name, a string that is not empty"},
           {R"(["operational","tree","MST6","bridgeId"])",
            "path[2]: operational.tree has no \"MST6\""},
           {R"(["operational","tree","MST5","port","E2","role"])",
            "path[4]: operational.tree.MST5.port has no \"E2\""},
           {R"(["operational","tree","MST5","port","E1","role","x"])",
            "path[6]: operational.tree.MST5.port.E1.role has nothing below it"},
           {R"(["ocMstpState","record","x"])", "path[2]: ocMstpState.record has nothing below it"},
           {R"(["ocTreeStateDir","record",5])",
            R"(path[2]: 5 is not "Rst", "Cist" or "MST1" to "MST4095")"},
           {R"(["ocTreeStateDir","record","MST4096"])",
            R"(path[2]: "MST4096" is not "Rst", "Cist" or "MST1" to "MST4095")"},
           {R"(["ocTreeStateDir","record","MST5","rootPort"])",
            "path[3]: ocTreeStateDir.record.MST5 has nothing below it"},
           {R"(["ocTreePortStateDir","record","E1"])",
            R"(path[2]: "E1" is not a tree and a port as "MST5/Ethernet1")"},
           {R"(["ocTreePortStateDir","record","MST5/"])",
            R"(path[2]: "MST5/" is not a tree and a port as "MST5/Ethernet1")"},
           {R"(["ocTreePortStateDir","record","MST0/E1"])",
            R"(path[2]: "MST0/E1" is not a tree and a port as "MST5/Ethernet1")"},
           {R"(["ocTreePortStateDir","record",["MST5","E1"]])",
            R"(path[2]: an array of 2 is not a tree and a port as "MST5/Ethernet1")"},
           {R"(["ocProtectionStateDir","record",""])",
            "path[2]: \"\" is not a name, a string that is not empty"},
       }) {
    Tree tree;
    SCOPED_TRACE(path);
    EXPECT_EQ(tree.refusalOf(line("set", path, "1")), reason);
    EXPECT_EQ(tree.printed(), std::vector<std::string>());
  }
}

TEST(Place, InstanceNameIsWrittenInOneWay) {
  for (char const* const name : {"MST0", "MST05", "MST4096", "MST65541", "MST", "mst5", "cist",
                                 "CIST", "5", "MST5 ", "MST+5", "Cist0", "Rst"}) {
    for (std::string const collection : {R"(["input","stpiConfig","Mst","mstiConfig",")",
                                         R"(["status","stpiStatus","Mst","mstiStatus",")"}) {
      Tree tree;
      SCOPED_TRACE(collection + name);
      EXPECT_EQ(tree.refusalOf(line("create", collection + name + "\"]")),
                "path[4]: \"" + std::string(name) + R"(" is not "Cist" or "MST1" to "MST4095")");
    }
    EXPECT_EQ(
        Tree().refusalOf(line("create", R"(["operational","tree",")" + std::string(name) + "\"]")),
        "path[2]: \"" + std::string(name) + R"(" is not "Cist" or "MST1" to "MST4095")");
  }
  for (char const* const name : {"Cist", "MST1", "MST4095"}) {
    Tree tree;
    tree.apply(line("create",
                    R"(["input","stpiConfig","Mst","mstiConfig",")" + std::string(name) + "\"]"));
    tree.apply(line("create",
                    R"(["status","stpiStatus","Mst","mstiStatus",")" + std::string(name) + "\"]"));
    tree.apply(line("create", R"(["operational","tree",")" + std::string(name) + "\"]"));
  }
}

}  // namespace
}  // namespace Agent

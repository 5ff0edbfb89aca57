// What operations say of the engine's operation, and in the records that it is shown by: values,
// ranges and refusals.
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "agent/program/TestSupport.h"
#include "agent/text/Values.h"

namespace Agent {
namespace {

using Texts = std::vector<char const*>;
using Refusals = std::vector<std::pair<char const*, char const*>>;  // values, and why they are none

std::string line(std::string const& op, std::string const& path, std::string const& value = "{}") {
  return R"({"op":")" + op + R"(","path":)" + path + R"(,"value":)" + value + "}";
}

// An attribute, in the notation of operations.
template <class Entity>
std::string shown(Entity const& entity, std::string_view name) {
  std::string text;
  auto const read = [&](auto const& row) {
    if constexpr (requires { row.get; }) {
      text = row.name == name ? showValue((entity.*row.get)()).dump() : text;
    }
  };
  std::apply([&](auto const&... row) { (read(row), ...); }, Entity::attributes);
  return text;
}

struct Attribute {
  std::string_view name;
  char const* fresh;
  Texts accepted;
  Refusals refused;
};

Attribute flag(std::string_view name) {
  return {name,
          "null",
          {"true", "false", "null"},
          {{"1", "1 is not true or false"}, {R"("yes")", R"("yes" is not true or false)"}}};
}
Attribute byte(std::string_view name) {
  return {name,
          "null",
          {"255", "0", "null"},
          {{"256", "256 is not an integer from 0 to 255"},
           {"-1", "-1 is not an integer from 0 to 255"},
           {"2.0", "2.0 is not an integer from 0 to 255 (written without fraction or exponent)"},
           {R"("2")", R"("2" is not an integer from 0 to 255)"}}};
}
Attribute cost(std::string_view name) {
  return {name,
          "null",
          {"4294967295", "0", "null"},
          {{"4294967296", "4294967296 is not an integer from 0 to 4294967295"},
           {"[]", "an array of 0 is not an integer from 0 to 4294967295"}}};
}
Attribute count(std::string_view name) {
  return {name,
          "null",
          {"18446744073709551615", "0", "null"},
          {{"-1", "-1 is not an integer from 0 to 18446744073709551615"},
           {"true", "true is not an integer from 0 to 18446744073709551615"}}};
}
Attribute bridge(std::string_view name) {
  return {name,
          "null",
          {R"("4.005.3E:7A:D2:FA:71:E9")", R"("F.FFF.FF:FF:FF:FF:FF:FF")",
           R"("0.000.00:00:00:00:00:00")", "null"},
          {{"5", R"(5 is not a bridge id as "8.000.02:00:00:00:00:01")"},
           {R"("")", R"("" is not a bridge id as "8.000.02:00:00:00:00:01")"},
           {R"("4.005.3E:7A:D2:FA:71")",
            R"("4.005.3E:7A:D2:FA:71" is not a bridge id as "8.000.02:00:00:00:00:01")"},
           {R"("4.005.3E:7A:D2:FA:71:E9:")",
            R"("4.005.3E:7A:D2:FA:71:E9:" is not a bridge id as "8.000.02:00:00:00:00:01")"},
           {R"("4.05.3E:7A:D2:FA:71:E9")",
            R"("4.05.3E:7A:D2:FA:71:E9" is not a bridge id as "8.000.02:00:00:00:00:01")"},
           {R"("4:005:3E:7A:D2:FA:71:E9")",
            R"("4:005:3E:7A:D2:FA:71:E9" is not a bridge id as "8.000.02:00:00:00:00:01")"},
           {R"("G.005.3E:7A:D2:FA:71:E9")",
            R"("G.005.3E:7A:D2:FA:71:E9" is not a bridge id as "8.000.02:00:00:00:00:01")"},
           {R"("4.-05.3E:7A:D2:FA:71:E9")",
            R"("4.-05.3E:7A:D2:FA:71:E9" is not a bridge id as "8.000.02:00:00:00:00:01")"}}};
}
Attribute port(std::string_view name) {
  return {name,
          "null",
          {R"("8.001")", R"("F.FFF")", R"("0.000")", "null"},
          {{"1", R"(1 is not a port id as "8.001")"},
           {R"("8.01")", R"("8.01" is not a port id as "8.001")"},
           {R"("8.0001")", R"("8.0001" is not a port id as "8.001")"},
           {R"("8-001")", R"("8-001" is not a port id as "8.001")"},
           {R"(" 8.001")", R"(" 8.001" is not a port id as "8.001")"}}};
}

class OperationalAttributes : public SessionTest {
 protected:
  OperationalAttributes() {
    for (char const* const path :
         {R"(["operational","tree","MST5"])", R"(["operational","tree","MST5","port","E1"])",
          R"(["operational","port","E1"])"}) {
      apply(line("create", path));
    }
  }

  template <class Entity>
  void expectRanges(Entity const& entity, std::string const& steps,
                    std::vector<Attribute> const& attributes) {
    EXPECT_EQ(attributes.size(), plainAttributes<Entity>());
    for (Attribute const& given : attributes) {
      std::string const path =
          R"(["operational",)" + steps + "\"" + std::string(given.name) + "\"]";
      SCOPED_TRACE(path);
      EXPECT_EQ(shown(entity, given.name), given.fresh);
      for (char const* const value : given.accepted) {
        apply(line("set", path, value));
        EXPECT_EQ(shown(entity, given.name), value);
      }
      for (auto const& [value, reason] : given.refused) {
        EXPECT_EQ(refusalOf(line("set", path, value)), std::string("value: ") + reason);
        EXPECT_EQ(shown(entity, given.name), given.accepted.back());
      }
    }
  }

 private:
  template <class Entity>
  static std::size_t plainAttributes() {
    auto const isPlain = [](auto const& row) {
      return requires {
        row.get;
      }
      ? 1U : 0U;
    };
    return std::apply([&](auto const&... row) { return (std::size_t{0} + ... + isPlain(row)); },
                      Entity::attributes);
  }
};

TEST_F(OperationalAttributes, OfTheBridgeHaveTheirRanges) {
  expectRanges(*sources().operational, "",
               {{"running",
                 "false",
                 {"true", "false"},
                 {{"null", "null is not true or false"}, {"1", "1 is not true or false"}}},
                {"regionName",
                 R"("")",
                 {R"("west")", R"("")"},
                 {{"null", "null is not a string"}, {"5", "5 is not a string"}}},
                cost("revision"),
                byte("helloTime"),
                byte("bridgeMaxAge"),
                byte("bridgeForwardDelay"),
                byte("maxAge"),
                byte("forwardDelay"),
                byte("txHoldCount"),
                byte("maxHops")});
}

TEST_F(OperationalAttributes, OfATreeHaveTheirRanges) {
  expectRanges(*sources().operational->tree("MST5"), R"("tree","MST5",)",
               {bridge("bridgeId"),
                bridge("designatedRoot"),
                cost("externalRootCost"),
                bridge("regionalRoot"),
                cost("internalRootCost"),
                {"rootPort",
                 "null",
                 {"65535", "0", "null"},
                 {{"65536", "65536 is not an integer from 0 to 65535"}}},
                count("topologyChanges"),
                count("lastTopologyChange")});
}

TEST_F(OperationalAttributes, OfAPortOfATreeHaveTheirRanges) {
  expectRanges(
      *sources().operational->tree("MST5")->port("E1"), R"("tree","MST5","port","E1",)",
      {port("portId"),
       cost("externalCost"),
       cost("internalCost"),
       {"role",
        "null",
        {"0", "1", "2", "3", "4", "5", "null"},
        {{"6", "6 is not an integer from 0 to 5"},
         {R"("Root")", R"("Root" is not an integer from 0 to 5)"}}},
       {"state", "null", {"0", "1", "2", "3", "null"}, {{"4", "4 is not an integer from 0 to 3"}}},
       bridge("designatedRoot"),
       cost("designatedExternalCost"),
       bridge("designatedRegionalRoot"),
       cost("designatedInternalCost"),
       bridge("designatedBridge"),
       port("designatedPort"),
       count("forwardTransitions"),
       flag("disputed"),
       count("bpduSent"),
       count("bpduReceived")});
}

TEST_F(OperationalAttributes, OfAPortHaveTheirRanges) {
  expectRanges(*sources().operational->port("E1"), R"("port","E1",)",
               {flag("restrictedRole"), flag("bpduFilter"), flag("bpduGuardError")});
}

TEST_F(OperationalAttributes, DigitsAreOfEitherCase) {
  apply(line("set", R"(["operational","tree","MST5","bridgeId"])", R"("f.00a.3e:7a:d2:fa:71:e9")"));
  EXPECT_EQ(sources().operational->tree("MST5")->told().bridgeId,
            Stp::BridgeId(0xF000, 0x00A, 0x3E7AD2FA71E9));
  apply(line("set", R"(["operational","tree","MST5","port","E1","portId"])", R"("f.00a")"));
  EXPECT_EQ(sources().operational->tree("MST5")->port("E1")->told().portId,
            Stp::PortId(0xF0, 0x00A));
}

TEST_F(OperationalAttributes, AreGivenWithTheirEntity) {
  apply(
      line("create", R"(["operational","tree","Cist"])", R"({"rootPort":2,"topologyChanges":3})"));
  apply(line("create", R"(["operational","tree","Cist","port","E1"])",
             R"({"role":1,"portId":"8.001"})"));
  auto const tree = sources().operational->tree("Cist");
  EXPECT_EQ(tree->told().rootPort, 2);
  EXPECT_EQ(tree->told().topologyChanges, 3U);
  EXPECT_EQ(tree->port("E1")->told().role, Stp::Operational::PortRole::root);
  apply(line("replace", R"(["operational","tree","Cist"])", R"({"rootPort":null})"));
  EXPECT_EQ(sources().operational->tree("Cist")->told(), Stp::Operational::TreeTold());
  EXPECT_TRUE(sources().operational->tree("Cist")->port().empty());
}

TEST_F(OperationalAttributes, EntityWithAWrongOneIsNotCreated) {
  for (auto const& [given, reason] :
       Refusals{{R"({"rootPort":1,"role":2})", "value.role: unknown attribute"},
                {R"({"port":{}})", "value.port: a collection can't be given here"},
                {R"({"bridgeId":"8.000"})",
                 R"(value.bridgeId: "8.000" is not a bridge id as "8.000.02:00:00:00:00:01")"}}) {
    EXPECT_EQ(refusalOf(line("create", R"(["operational","tree","MST6"])", given)), reason);
    EXPECT_EQ(sources().operational->tree().size(), 1U);
  }
}

struct Record {
  char const* target;
  char const* key;  // null of a target that holds one record
  char const* fresh;
  char const* full;
  Refusals refused;
};

char const* const noParameters =
    R"({"helloTime":null,"maxAge":null,"forwardingDelay":null,"holdCount":null,"maxHop":null,)"
    R"("name":"","revision":null})";
char const* const parameters =
    R"({"helloTime":2,"maxAge":20,"forwardingDelay":15,"holdCount":6,"maxHop":255,)"
    R"("name":"west","revision":4294967295})";
Refusals const notParameters{
    {R"({"helloTime":256})", "value.helloTime: 256 is not an integer from 0 to 255"},
    {R"({"name":null})", "value.name: null is not a string"},
    {R"({"revision":-1})", "value.revision: -1 is not an integer from 0 to 4294967295"},
    {R"({"bridgePriority":0})", "value.bridgePriority: unknown member"},
    {"null", "value: null is not an object"}};

std::vector<Record> const records{
    {"ocRstpConfig", nullptr, noParameters, parameters, notParameters},
    {"ocRstpState", nullptr, noParameters, parameters, notParameters},
    {"ocMstpConfig", nullptr, noParameters, parameters, notParameters},
    {"ocMstpState", nullptr, noParameters, parameters, notParameters},
    {"ocTreeConfigDir",
     "Rst",
     R"({"tree":"Rst","bridgePriority":null})",
     R"({"tree":"Rst","bridgePriority":61440})",
     {{R"({"bridgePriority":61441})",
       "value.bridgePriority: 61441 is not an integer from 0 to 61440"},
      {R"({"tree":"Cist"})", R"(value.tree: not the key "Rst")"},
      {R"({"tree":"MST0"})", R"(value.tree: "MST0" is not "Rst", "Cist" or "MST1" to "MST4095")"}}},
    {"ocTreeStateDir",
     "Cist",
     R"({"tree":"Cist","bridge":null,"designatedRoot":null,"rootPort":null,"rootCost":null,)"
     R"("topologyChanges":null,"lastTopologyChange":null,"regionalRoot":null,)"
     R"("regionalRootCost":null})",
     R"({"tree":"Cist","bridge":"8.000.02:00:00:00:00:01",)"
     R"("designatedRoot":"1.000.02:00:00:00:00:02","rootPort":3,"rootCost":20000,)"
     R"("topologyChanges":18446744073709551615,"lastTopologyChange":1700000000000000000,)"
     R"("regionalRoot":"2.000.02:00:00:00:00:03","regionalRootCost":0})",
     {{R"({"bridge":true})",
       R"(value.bridge: true is not a bridge id as "8.000.02:00:00:00:00:01")"},
      {R"({"rootPort":65536})", "value.rootPort: 65536 is not an integer from 0 to 65535"},
      {R"({"tree":5})", R"(value.tree: 5 is not "Rst", "Cist" or "MST1" to "MST4095")"}}},
    {"ocTreePortConfigDir",
     "MST4095/Ethernet1/1",
     R"({"id":"MST4095/Ethernet1/1","portPriority":null})",
     R"({"id":"MST4095/Ethernet1/1","portPriority":240})",
     {{R"({"portPriority":256})", "value.portPriority: 256 is not an integer from 0 to 255"},
      {R"({"id":"MST4095/Ethernet1"})", R"(value.id: not the key "MST4095/Ethernet1/1")"},
      {R"({"id":"Ethernet1"})",
       R"(value.id: "Ethernet1" is not a tree and a port as "MST5/Ethernet1")"}}},
    {"ocTreePortStateDir",
     "MST5/E1",
     R"({"id":"MST5/E1","port":null,"cost":null,"role":null,"portState":null,)"
     R"("designatedRoot":null,"designatedCost":null,"designatedBridge":null,)"
     R"("designatedPort":null,"forwardTransitions":null,"disputed":null,"master":null})",
     R"({"id":"MST5/E1","port":"8.001","cost":20000,"role":3,"portState":4,)"
     R"("designatedRoot":"1.000.02:00:00:00:00:02","designatedCost":0,)"
     R"("designatedBridge":"8.000.02:00:00:00:00:01","designatedPort":"0.000",)"
     R"("forwardTransitions":7,"disputed":false,"master":true})",
     {{R"({"role":4})", "value.role: 4 is not an integer from 0 to 3"},
      {R"({"portState":5})", "value.portState: 5 is not an integer from 0 to 4"},
      {R"({"port":1})", R"(value.port: 1 is not a port id as "8.001")"},
      {R"({"master":1})", "value.master: 1 is not true or false"}}},
    {"ocTreePortCountersDir",
     "Cist/E1",
     R"({"id":"Cist/E1","bpduSent":null,"bpduReceived":null})",
     R"({"id":"Cist/E1","bpduSent":18446744073709551615,"bpduReceived":0})",
     {{R"({"bpduSent":-1})",
       "value.bpduSent: -1 is not an integer from 0 to 18446744073709551615"}}},
    {"ocProtectionConfigDir",
     "E1",
     R"({"name":"E1","guard":null,"bpduFilter":null})",
     R"({"name":"E1","guard":2,"bpduFilter":true})",
     {{R"({"guard":3})", "value.guard: 3 is not an integer from 0 to 2"},
      {R"({"name":"E2"})", R"(value.name: not the key "E1")"},
      {R"({"bpduGuardError":true})", "value.bpduGuardError: unknown member"}}},
    {"ocProtectionStateDir",
     "E1",
     R"({"name":"E1","guard":null,"bpduFilter":null,"bpduGuardError":null})",
     R"({"name":"E1","guard":0,"bpduFilter":false,"bpduGuardError":true})",
     {{R"({"bpduGuardError":"yes"})", R"(value.bpduGuardError: "yes" is not true or false)"}}},
};

class OperationalRecords : public SessionTest {
 protected:
  static std::string pathOf(Record const& given) {
    std::string const path = std::string(R"([")") + given.target + R"(","record")";
    return given.key == nullptr ? path + "]" : path + R"(,")" + given.key + R"("])";
  }
  std::string present(Record const& given) const {
    OrderedJson const shown = entitiesView(targets()).at(given.target);
    return given.key == nullptr ? shown.dump() : shown.at(given.key).dump();
  }
};

TEST_F(OperationalRecords, FreshOnesSayNothing) {
  for (Record const& given : records) {
    apply(line("set", pathOf(given)));
    EXPECT_EQ(present(given), given.fresh);
  }
}

TEST_F(OperationalRecords, WhatIsSetIsShownUnderThePathThatSetsIt) {
  for (Record const& given : records) {
    apply(line("set", pathOf(given), given.full));
    EXPECT_EQ(present(given), given.full);
    EXPECT_EQ(printed(), std::vector<std::string>{R"({"changed":)" + pathOf(given) +
                                                  R"(,"value":)" + given.full + "}"});
    apply(line("set", pathOf(given)));
    EXPECT_EQ(present(given), given.full);
    apply(line("set", pathOf(given), given.fresh));
    EXPECT_EQ(present(given), given.fresh);
    printed();
  }
}

TEST_F(OperationalRecords, WrongOneIsRefusedAndNothingChanges) {
  for (Record const& given : records) {
    apply(line("set", pathOf(given), given.full));
    printed();
    for (auto const& [value, reason] : given.refused) {
      EXPECT_EQ(refusalOf(line("set", pathOf(given), value)), reason);
      EXPECT_EQ(present(given), given.full);
      EXPECT_EQ(printed(), std::vector<std::string>());
    }
  }
}

TEST_F(OperationalRecords, GoneOnesAreNamed) {
  for (Record const& given : records) {
    if (given.key != nullptr) {
      apply(line("set", pathOf(given)));
      printed();
      apply(R"({"op":"delete","path":)" + pathOf(given) + "}");
      EXPECT_EQ(printed(), std::vector<std::string>{R"({"deleted":)" + pathOf(given) + "}"});
      EXPECT_EQ(target(given.target), "{}");
    }
  }
}

}  // namespace
}  // namespace Agent

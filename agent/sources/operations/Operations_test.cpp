#include "agent/sources/operations/Operations.h"

#include <string>
#include <vector>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

struct Refused {
  std::string line;
  char const* reason;
};

class OperationNotation : public SessionTest {};

TEST_F(OperationNotation, WhatIsNoOperationIsRefused) {
  for (auto const& [line, reason] : std::vector<Refused>{
           {"", "not JSON: a syntax error at byte 1"},
           {"{", "not JSON: a syntax error at byte 2"},
           {R"({"op":"show"} x)", "not JSON: a syntax error at byte 15"},
           {R"({"op":"show",})", "not JSON: a syntax error at byte 14"},
           {R"({'op':"show"})", "not JSON: a syntax error at byte 2"},
           {R"({"op":"show"}{"op":"show"})", "not JSON: a syntax error at byte 14"},
           {"{\"op\":\"sh\xFFow\"}", "not JSON: a syntax error at byte 10"},
           {"{\"op\":\"sh\tow\"}", "not JSON: a syntax error at byte 10"},
           {R"({"op":"\ud800"})", "not JSON: a syntax error at byte 14"},
           {std::string("{\"op\":\"show\"}\0{", 15), "not JSON: a NUL byte at byte 14"},
           {"[]", "not an object: an array of 0"},
           {"7", "not an object: 7"},
           {"\"set\"", "not an object: \"set\""},
           {R"({"op":"set","path":["input","mode"],"value":1e999})",
            "value: a number that is too large"},
           {R"({"op":"create","path":["a",["b"],{},-1e999],"value":{"priority":1}})",
            "path[3]: a number that is too large"},
           {R"({"op":"create","path":[],"value":{"a":[{},{"b":[],"c":[1,2,1e999]}]}})",
            "value.a[1].c[2]: a number that is too large"},
           {"[1e999]", "a number that is too large"},
           {"1e999", "a number that is too large"},
           {"{}", "op: missing"},
           {R"({"op":7})", "op: 7 is not a string"},
           {R"({"op":"Set"})", "op: \"Set\" is no operation"},
           {R"({"op":"erase","path":["input","mode"]})", "op: \"erase\" is no operation"},
       }) {
    SCOPED_TRACE(line);
    EXPECT_EQ(refusalOf(line), reason);
  }
}

TEST_F(OperationNotation, EachOperationHasItsMembers) {
  for (auto const& [line, reason] : std::vector<Refused>{
           {R"({"op":"set","value":1})", "path: missing"},
           {R"({"op":"set","path":["input","mode"]})", "value: missing"},
           {R"({"op":"set","path":"input","value":1})", "path: \"input\" is not an array"},
           {R"({"op":"set","path":["input","mode"],"value":1,"force":true})",
            "force: unknown member of \"set\""},
           {R"({"op":"set","path":["input","mode"],"value":1,"":true})",
            "\"\": unknown member of \"set\""},
           {R"({"op":"create"})", "path: missing"},
           {R"({"op":"replace"})", "path: missing"},
           {R"({"op":"touch"})", "path: missing"},
           {R"({"op":"touch","path":["input","mode"],"value":1})",
            "value: unknown member of \"touch\""},
           {R"({"op":"delete"})", "path: missing"},
           {R"({"op":"delete","path":["input","disabledVlan",1],"value":true})",
            "value: unknown member of \"delete\""},
           {R"({"op":"clear"})", "path: missing"},
           {R"({"op":"clear","path":["input","disabledVlan"],"object":"x"})",
            "object: unknown member of \"clear\""},
           {R"({"op":"start","path":[]})", "path: unknown member of \"start\""},
           {R"({"op":"start","object":5})", "object: 5 is not a string"},
           {R"({"op":"start","object":""})", "object: an empty name"},
           {R"({"op":"start","object":"OCPortConfigSm"})",
            "object: \"OCPortConfigSm\" is no class of top-level objects"},
           {R"({"op":"stop","object":null})", "object: null is not a string"},
           {R"({"op":"stop","object":"ocGlobalConfigSm"})",
            "object: \"ocGlobalConfigSm\" is no class of top-level objects"},
           {R"({"op":"call"})", "operation: missing"},
           {R"({"op":"call","operation":5})", "operation: 5 is not a string"},
           {R"({"op":"call","operation":"handleBpduguard"})",
            "operation: \"handleBpduguard\" is not \"syncDisabledVlan\""},
           {R"({"op":"call","operation":"syncDisabledVlan","object":"OCGlobalVlanSyncher"})",
            "object: unknown member of \"call\""},
           {R"({"op":"show","what":"all"})", "what: unknown member of \"show\""},
       }) {
    SCOPED_TRACE(line);
    EXPECT_EQ(refusalOf(line), reason);
  }
}

TEST_F(OperationNotation, LastOfAMemberGivenTwiceCounts) {
  apply(R"({"op":"show","op":"set","path":[],"path":["input","mode"],"value":"x","value":3})");
  EXPECT_EQ(sources().input->mode(), Stp::Mode::mstp);
  apply(R"({"op":"create","path":["input","portConfig","E1"],
            "value":{"linkType":9999},"value":{"linkType":7,"linkType":2}})");
  EXPECT_EQ(sources().input->portConfig("E1")->linkType(),
            Stp::Input::PortConfig::LinkType::shared);
}

TEST_F(OperationNotation, DeepNestingIsRefused) {
  std::string const deep(1'000'000, '[');
  EXPECT_EQ(refusalOf(R"({"op":"set","path":)" + deep), "nested deeper than 16 levels at byte 35");
  EXPECT_EQ(refusalOf(R"({"op":"show","x":)" + std::string(20, '[') + std::string(20, ']') + "}"),
            "nested deeper than 16 levels at byte 33");
}

TEST_F(OperationNotation, BracketsInTextsAreNoNesting) {
  std::string const name = std::string(100, '[') + R"(\"{\\)";
  apply(R"({"op":"create","path":["input","portConfig",")" + name + R"("]})");
  apply(R"({"op":"create","path":["input","portConfig","\"[[[[[[[[[[[[[[[[["]})");
  apply(R"({"op":"create","path":["input","portConfig","\\"],"value":{}})");
  EXPECT_EQ(sources().input->portConfig().size(), 3U);
}

TEST_F(OperationNotation, ReasonIsShortAndOnOneLine) {
  std::string const text = "first\\nsecond " + std::string(1'000'000, 'x');
  std::string const reason = refusalOf(R"({"op":")" + text + R"("})");
  EXPECT_THAT(reason, testing::StartsWith(R"(op: "first\nsecond xxx)"));
  EXPECT_LT(reason.size(), 100U);
}

TEST_F(OperationNotation, MemberThatIsNoPlainWordIsQuoted) {
  auto const refusal = [this](std::string const& name) {
    return refusalOf(R"({"op":"show",")" + name + R"(":1})");
  };
  EXPECT_EQ(refusal("azAZ09_-"), "azAZ09_-: unknown member of \"show\"");
  // What stands beside letters, digits and those two, and what would end a line or a name.
  for (char const* const no : {"`", "{", "@", "[", "/", ":", "^", ",", ".", " ", "\\n", "\\\""}) {
    std::string const name = std::string("a") + no + "b";
    EXPECT_EQ(refusal(name), "\"" + name + "\": unknown member of \"show\"");
  }
}

TEST_F(OperationNotation, TextsAreShownWholeUpToALength) {
  std::string const most(60, 'x');
  EXPECT_EQ(refusalOf(R"({"op":")" + most + "\"}"), "op: \"" + most + "\" is no operation");
  EXPECT_EQ(refusalOf(R"({"op":")" + most + "y\"}"), "op: \"" + most + "\"... is no operation");
  std::string const name = "a-Z_" + std::string(36, '9');
  EXPECT_EQ(refusalOf(R"({"op":"show",")" + name + R"(":1})"),
            name + ": unknown member of \"show\"");
  EXPECT_EQ(refusalOf(R"({"op":"show",")" + name + R"(9":1})"),
            "\"" + name + "9\": unknown member of \"show\"");
}

class OperationOnTheMirror : public SessionTest {
 protected:
  // Whether each of the ten exists, in their order.
  std::string objects() const {
    std::string present;
    for (TopLevelClass const& topLevel : topLevelClasses) {
      present += session.mirror().object(topLevel) ? '1' : '0';
    }
    return present;
  }
};

TEST_F(OperationOnTheMirror, NothingExistsBeforeItIsStarted) {
  EXPECT_EQ(objects(), "0000000000");
  apply(R"({"op":"set","path":["input","mode"],"value":3})");
  EXPECT_EQ(printed(), std::vector<std::string>());
}

TEST_F(OperationOnTheMirror, EachObjectStartsAndStopsByItsName) {
  std::vector<std::string> const names{"OCGlobalConfigSm",      "OCGlobalStateSm",
                                       "OCGlobalVlanSyncher",   "OCInterfaceConfigDirSm",
                                       "OCInterfaceStateDirSm", "OCMstpConfigWrapperSm",
                                       "OCMstpMainStateSm",     "OCProtocolParametersSm",
                                       "OCTreeDirSm",           "OCProtectionDirSm"};
  for (std::size_t at = 0; at < names.size(); ++at) {
    std::string expected = "0000000000";
    expected[at] = '1';
    apply(R"({"op":"start","object":")" + names[at] + "\"}");
    EXPECT_EQ(objects(), expected);
    apply(R"({"op":"stop","object":")" + names[at] + "\"}");
    EXPECT_EQ(objects(), "0000000000");
  }
}

TEST_F(OperationOnTheMirror, AllStartAndStopTogether) {
  apply(R"({"op":"start"})");
  EXPECT_EQ(objects(), "1111111111");
  apply(R"({"op":"stop","object":"OCGlobalStateSm"})");
  EXPECT_EQ(objects(), "1011111111");
  apply(R"({"op":"stop","object":"OCGlobalStateSm"})");
  apply(R"({"op":"stop"})");
  EXPECT_EQ(objects(), "0000000000");
  apply(R"({"op":"stop"})");
}

TEST_F(OperationOnTheMirror, ObjectThatExistsStaysAsItIs) {
  apply(R"({"op":"start","object":"OCGlobalConfigSm"})");
  auto const first = session.mirror().object(topLevelClasses[0]);
  printed();
  apply(R"({"op":"start","object":"OCGlobalConfigSm"})");
  EXPECT_EQ(session.mirror().object(topLevelClasses[0]), first);
  EXPECT_EQ(printed(), std::vector<std::string>());
  apply(R"({"op":"start"})");
  EXPECT_EQ(session.mirror().object(topLevelClasses[0]), first);
}

TEST_F(OperationOnTheMirror, StoppedObjectWritesNoMore) {
  apply(R"({"op":"start","object":"OCGlobalConfigSm"})");
  apply(R"({"op":"set","path":["input","mode"],"value":3})");
  apply(R"({"op":"stop","object":"OCGlobalConfigSm"})");
  printed();
  apply(R"({"op":"set","path":["input","mode"],"value":2})");
  EXPECT_EQ(printed(), std::vector<std::string>());
  EXPECT_EQ(target("ocGlobalConfig"),
            R"({"enabledProtocol":[1],"bpduGuard":false,"disabledVlan":[]})");
}

TEST_F(OperationOnTheMirror, CallNeedsItsObject) {
  EXPECT_EQ(refusalOf(R"({"op":"call","operation":"syncDisabledVlan"})"),
            "operation: no object of OCGlobalVlanSyncher exists");
}

TEST_F(OperationOnTheMirror, CallCarriesDisabledVlansBack) {
  apply(R"({"op":"start","object":"OCGlobalVlanSyncher"})");
  apply(R"({"op":"set","path":["input","disabledVlan",99],"value":true})");
  apply(R"({"op":"set","path":["ocGlobalConfig","config"],
            "value":{"disabledVlan":[[10,12],11,13,[30,20]]}})");
  apply(R"({"op":"call","operation":"syncDisabledVlan"})");
  EXPECT_EQ(target("ocGlobalConfig"),
            R"({"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[[10,13]]})");
  for (std::uint16_t const vlan : {10, 11, 12, 13}) {
    EXPECT_EQ(sources().input->disabledVlan(vlan), true);
  }
  EXPECT_EQ(sources().input->disabledVlan(99), std::nullopt);
}

TEST_F(OperationOnTheMirror, TouchRunsThoseWhoWatch) {
  apply(R"({"op":"start","object":"OCGlobalConfigSm"})");
  apply(R"({"op":"set","path":["ocGlobalConfig","config"],"value":{"bpduGuard":true}})");
  printed();
  apply(R"({"op":"touch","path":["input","portfastBpduguard"]})");
  EXPECT_EQ(target("ocGlobalConfig"),
            R"({"enabledProtocol":[0],"bpduGuard":false,"disabledVlan":[]})");
}

TEST_F(OperationOnTheMirror, EqualValuePublishesNothingButAFalseEntryDoes) {
  apply(R"({"op":"start","object":"OCGlobalConfigSm"})");
  printed();
  apply(R"({"op":"set","path":["input","mode"],"value":0})");
  apply(R"({"op":"set","path":["input","mstConfig"],"value":{}})");
  EXPECT_EQ(printed().size(), 0U);
  apply(R"({"op":"set","path":["input","disabledVlan",7],"value":false})");
  EXPECT_EQ(printed().size(), 1U);
  apply(R"({"op":"set","path":["input","disabledVlan",7],"value":false})");
  EXPECT_EQ(printed().size(), 0U);
}

TEST_F(OperationOnTheMirror, ClearAnnouncesEachEntryInTheOrderInWhichTheyCame) {
  apply(R"({"op":"start","object":"OCGlobalConfigSm"})");
  for (char const* const vlan : {"12", "10", "11"}) {
    apply(R"({"op":"set","path":["input","disabledVlan",)" + std::string(vlan) +
          R"(],"value":true})");
  }
  printed();
  apply(R"({"op":"clear","path":["input","disabledVlan"]})");
  EXPECT_THAT(printed(), testing::ElementsAre(testing::HasSubstr(R"("disabledVlan":[[10,11]])"),
                                              testing::HasSubstr(R"("disabledVlan":[11])"),
                                              testing::HasSubstr(R"("disabledVlan":[])")));
  apply(R"({"op":"clear","path":["input","disabledVlan"]})");
  EXPECT_EQ(printed().size(), 0U);
}

TEST_F(OperationOnTheMirror, ShowPrintsTheTargets) {
  apply(R"({"op":"set","path":["ocGlobalConfig","config"],"value":{"bpduGuard":true}})");
  printed();
  apply(R"({"op":"show"})");
  EXPECT_EQ(printed(), std::vector{entitiesView(targets()).dump()});
}

}  // namespace
}  // namespace Agent

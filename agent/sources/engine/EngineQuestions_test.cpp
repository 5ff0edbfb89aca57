// How what one batch of the engine's control program printed is taken apart.
#include "agent/sources/engine/EngineQuestions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "agent/sources/engine/EngineJson.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string const list = "{\"bridge\":\"br0\",\"mstids\":[\"0\",\"5\"]}";
std::string const bridge = "[{\"bridge\":\"br0\",\"enabled\":\"yes\"}]";
std::string const ports = "[{\"port\":\"e1\",\"bridge\":\"br0\"}]";
std::string const fids = "{\"bridge\":\"br0\",\"fid2mstid\":[{}}";
std::string const vlans = "{\"bridge\":\"br0\",\"vid2fid\":[{}}";
std::string const tree0 = "{\"bridge\":\"br0\",\"mstid\":\"0\",\"bridge-id\":\"8\"}";
std::string const tree5 = "{\"bridge\":\"br0\",\"mstid\":\"5\",\"bridge-id\":\"8\"}";
std::string const upToTrees = list + ports + bridge + fids + vlans + tree0 + tree5;

std::string region(std::string const& name) {
  return R"({"bridge":"br0","format-selector":"0","configuration-name":")" + name +
         "\",\"revision-level\":\"7\"}";
}

std::vector<std::string> answersIn(std::string const& output) {
  auto const answers = engineAnswers(output, engineQuestions("br0", {0, 5}));
  return {answers.begin(), answers.end()};
}

TEST(EngineQuestions, AskForTheInstancesFirstAndLast) {
  std::vector<std::string> commands;
  std::vector<std::string> files;
  for (EngineQuestion const& question : engineQuestions("br0", {0, 5})) {
    commands.push_back(question.command);
    files.push_back(question.file);
  }
  EXPECT_THAT(commands, ElementsAre("showmstilist br0", "showportdetail br0", "showbridge br0",
                                    "showfid2mstid br0", "showvid2fid br0", "showtree br0 0",
                                    "showtree br0 5", "showmstconfid br0", "showmstilist br0"));
  EXPECT_THAT(files, ElementsAre("showmstilist.json", "showportdetail.json", "showbridge.json",
                                 "showfid2mstid.json", "showvid2fid.json", "showtree-0.json",
                                 "showtree-5.json", "showmstconfid.json", "showmstilist.json"));
}

TEST(EngineAnswers, EachGoesUpToTheNext) {
  EXPECT_THAT(answersIn(upToTrees + region("west") + list),
              ElementsAre(list, ports, bridge, fids, vlans, tree0, tree5, region("west"), list));
}

TEST(EngineAnswers, NoRegionNamePassesForAnAnswer) {
  for (std::string const& name :
       {std::string("a\nb"), "\n" + list, "\"}\n" + list + "[", std::string("\n[")}) {
    SCOPED_TRACE(name);
    auto const answers = answersIn(upToTrees + region(name) + list);
    ASSERT_EQ(answers.size(), 9U);
    EXPECT_EQ(answers[7], region(name));
    EXPECT_EQ(answers[8], list);
  }
}

TEST(EngineAnswers, LineFeedsBetweenThemDoNotMatter) {
  std::string output;
  for (std::string const& answer :
       {list, ports, bridge, fids, vlans, tree0, tree5, region("west"), list}) {
    output += answer + "\n\r\n";
  }
  auto const answers = answersIn(output);
  ASSERT_EQ(answers.size(), 9U);
  EXPECT_EQ(answers[1], ports + "\n\r\n");
  EXPECT_EQ(answers[8], list + "\n\r\n");
}

TEST(EngineAnswers, NoNameOfAPortPassesForAnAnswer) {
  for (std::string const name : {"[{\"bridge\"", "}][", "\"}][", "[", "]", "{\"bridge\",", "]}["}) {
    SCOPED_TRACE(name);
    std::string const some = R"([{"port":")" + name + R"(","bridge":"br0"},{"port":"e2"}])";
    std::string const root = R"([{"bridge":"br0","root-port":")" + name +
                             " (#1)\",\"topology-change-port\":\"" + name +
                             R"(","last-topology-change-port":")" + name + R"("}])";
    std::string const rest = fids + vlans + tree0 + tree5 + region("west") + list;
    auto const answers = answersIn(list + some + root + rest);
    ASSERT_EQ(answers.size(), 9U);
    EXPECT_EQ(answers[1], some);
    EXPECT_EQ(answers[2], root);
    EXPECT_EQ(answers[3], fids);
  }
}

TEST(EngineAnswers, BridgeWithoutPortsHasAnEmptyList) {
  std::string const rest = bridge + fids + vlans + tree0 + tree5 + region("west") + list;
  auto const answers = answersIn(list + "[]" + rest);
  ASSERT_EQ(answers.size(), 9U);
  EXPECT_EQ(answers[1], "[]");
  EXPECT_EQ(answers[2], bridge);
}

TEST(EngineAnswers, WhatTheEngineSaysInsteadBelongsToTheLastAnswer) {
  std::string const left =
      "[CTL_get_cist_port_status: Got return code 0, -1\nbr0 Couldn't find port with index 7\n\n,"
      R"({"port":"e2","bridge":"br0"}])";
  EXPECT_THAT(answersIn(list + left), ElementsAre(list, left));
  EXPECT_THAT(answersIn(list + R"([,{"port":"e2","bridge":"br0"}])"),
              ElementsAre(list, R"([,{"port":"e2","bridge":"br0"}])"));
  std::string const noTree =
      "CTL_get_msti_bridge_status: Got return code 0, -1\nbr0 Couldn't find MSTI with ID 5\n\n";
  EXPECT_THAT(answersIn(list + ports + bridge + fids + vlans + tree0 + noTree),
              ElementsAre(list, ports, bridge, fids, vlans, tree0 + noTree));
}

TEST(EngineAnswers, EndedBatchHasFewer) {
  std::string const whole = upToTrees + region("west") + list;
  EXPECT_THAT(answersIn(upToTrees), testing::SizeIs(7));
  EXPECT_THAT(answersIn(upToTrees + region("west")), testing::SizeIs(8));
  EXPECT_THAT(answersIn(list + ports.substr(0, 5)), ElementsAre(list, ports.substr(0, 5)));
  EXPECT_THAT(answersIn(list), ElementsAre(list));
  EXPECT_THAT(answersIn(""), IsEmpty());
  EXPECT_THAT(answersIn("ctl_client_init: Couldn't connect to server\n" + whole), IsEmpty());
  EXPECT_THAT(answersIn("CTL_get_mstilist: Got return code 0, -1\n"), IsEmpty());
}

TEST(EngineAnswers, LastOneIsNoEarlierOne) {
  // Without the last answer, its opening is found in the first.
  EXPECT_THAT(engineAnswers(list, engineQuestions("br0", {})), ElementsAre(list));
  EXPECT_THAT(engineAnswers(upToTrees + region("west"), engineQuestions("br0", {0, 5})),
              testing::SizeIs(8));
}

std::string rawBatch(char const* file) {
  std::ifstream stream(std::string(STP_RAW_BATCH_DIR "/") + file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(EngineAnswers, TrueBytesOfABatchAreTakenApart) {
  // Their questions were asked in another order: ports behind the bridge.
  std::string output = rawBatch("answers");
  std::size_t const bridgeAt = output.find(R"([{"bridge":)");
  std::size_t const portsAt = output.find(R"([{"port":)");
  std::size_t const fidsAt = output.find(R"({"bridge":"br5","fid2mstid":)");
  output = output.substr(0, bridgeAt) + output.substr(portsAt, fidsAt - portsAt) +
           output.substr(bridgeAt, portsAt - bridgeAt) + output.substr(fidsAt);
  auto const questions = engineQuestions("br5", {0, 1, 5});
  auto const answers = engineAnswers(output, questions);
  ASSERT_EQ(answers.size(), questions.size());
  EXPECT_EQ(answers.front(), R"({"bridge":"br5","mstids":["0","1","5"]})");
  EXPECT_EQ(answers.back(), answers.front());
  for (std::size_t at = 0; at < answers.size(); ++at) {
    EXPECT_NO_THROW((void)engineJson(answers[at], at == 3 || at == 4)) << questions[at].command;
  }
  EXPECT_THAT(engineJson(answers[1], false).at(0).at("port"), "Far1");
  EXPECT_THAT(engineJson(answers[2], false).at(0).at("force-protocol-version"), "rstp");
}

TEST(TreePortQuestions, NameThePortAndTheInstanceAndAskForTheListAtTheEnd) {
  std::vector<std::string> commands;
  std::vector<std::string> files;
  for (EngineQuestion const& question : treePortQuestions("br0", {{"e1", 5}, {"e2", 64}})) {
    commands.push_back(question.command);
    files.push_back(question.file);
  }
  EXPECT_THAT(commands,
              ElementsAre("showtreeport br0 e1 5", "showtreeport br0 e2 64", "showmstilist br0"));
  EXPECT_THAT(
      files, ElementsAre("showtreeport-e1-5.json", "showtreeport-e2-64.json", "showmstilist.json"));
}

TEST(EngineAnswers, TrueBytesAboutPortsInInstancesAreTakenApart) {
  auto const questions =
      treePortQuestions("br0", {{"Ethernet1", 1}, {"Ethernet60", 1}, {"Ethernet1", 32}});
  std::string asked;
  for (EngineQuestion const& question : questions) {
    asked += question.command + "\n";
  }
  EXPECT_EQ(asked, rawBatch("tree-port-questions"));
  std::string const output = rawBatch("tree-port-answers");
  auto const answers = engineAnswers(output, questions);
  ASSERT_EQ(answers.size(), 4U);
  EXPECT_EQ(engineJson(answers[0], false).at("port-id"), "8.001");
  EXPECT_EQ(engineJson(answers[1], false).at("port-id"), "8.03C");
  EXPECT_EQ(engineJson(answers[2], false).at("mstid"), "32");
  EXPECT_EQ(engineJson(answers[3], false).at("mstids").size(), 33U);
  EXPECT_THAT(engineAnswers(output.substr(0, output.find(R"({"port":"Ethernet60")")), questions),
              testing::SizeIs(1));
}

TEST(AnswerFiles, OfAQuestionAskedTwiceHaveTheFirstAnswer) {
  auto const questions = engineQuestions("br0", {});
  std::vector<std::string_view> const answers{"1", "2", "3", "4", "5", "6", "7"};
  AnswerFiles const files(questions, answers);
  EXPECT_EQ(files("showmstilist.json"), "1");
  EXPECT_EQ(files("showmstconfid.json"), "6");
  EXPECT_EQ(files("showtree-0.json"), std::nullopt);
}

TEST(EngineAnswers, TrueBytesOfAFailedBatchHaveItsReasonBehindTheLastAnswer) {
  std::string const output = rawBatch("answers-no-such-tree");
  std::size_t const saidAt = output.find("CTL_get_msti_bridge_status: Got return code 0, -1\n");
  ASSERT_NE(saidAt, std::string::npos);
  EXPECT_EQ(output.substr(saidAt - 2, 2), "}]");
  EXPECT_TRUE(engineAnswers(output, engineQuestions("br5", {99})).back().ends_with("ID 99\n\n"));
}

TEST(EngineAnswers, OfAnotherBridgeAreNone) {
  EXPECT_THAT(engineAnswers(list, engineQuestions("br1", {})), IsEmpty());
}

TEST(EngineQuestions, NamesAreThoseOfTheKernel) {
  for (char const* const name : {"br0", "b", "bridge.10@x_y-z", "fifteen-letters", "\xC3\xA4"}) {
    EXPECT_TRUE(isInterfaceName(name)) << name;
  }
  for (std::string const& name :
       {std::string(), std::string("."), std::string(".."), std::string("br 0"),
        std::string("br0\nsetbridge"), std::string("a/b"), std::string("a\"b"), std::string("a'b"),
        std::string("a\\b"), std::string("#br0"), std::string("a:b"), std::string("a\0b", 3),
        std::string("\x7F"), std::string("sixteen--letters")}) {
    EXPECT_FALSE(isInterfaceName(name)) << name;
  }
}

}  // namespace
}  // namespace Agent

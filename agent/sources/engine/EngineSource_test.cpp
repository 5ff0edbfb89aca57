// How what one batch of the engine's control program printed is taken apart.
#include "agent/sources/engine/EngineSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string const list = "{\"bridge\":\"br0\",\"mstids\":[\"0\",\"5\"]}\n";
std::string const bridge = "[{\"bridge\":\"br0\",\"enabled\":\"yes\"}]\n";
std::string const ports = "[{\"port\":\"e1\",\"bridge\":\"br0\"}]\n";
std::string const fids = "{\"bridge\":\"br0\",\"fid2mstid\":[{}}\n";
std::string const vlans = "{\"bridge\":\"br0\",\"vid2fid\":[{}}\n";
std::string const tree0 = "{\"bridge\":\"br0\",\"mstid\":\"0\",\"bridge-id\":\"8\"}\n";
std::string const tree5 = "{\"bridge\":\"br0\",\"mstid\":\"5\",\"bridge-id\":\"8\"}\n";
std::string const upToTrees = list + bridge + ports + fids + vlans + tree0 + tree5;

std::string region(std::string const& name) {
  return R"({"bridge":"br0","format-selector":"0","configuration-name":")" + name +
         "\",\"revision-level\":\"7\"}\n";
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
  EXPECT_THAT(commands, ElementsAre("showmstilist br0", "showbridge br0", "showportdetail br0",
                                    "showfid2mstid br0", "showvid2fid br0", "showtree br0 0",
                                    "showtree br0 5", "showmstconfid br0", "showmstilist br0"));
  EXPECT_THAT(files, ElementsAre("showmstilist.json", "showbridge.json", "showportdetail.json",
                                 "showfid2mstid.json", "showvid2fid.json", "showtree-0.json",
                                 "showtree-5.json", "showmstconfid.json", "showmstilist.json"));
}

TEST(EngineAnswers, EachGoesUpToTheNext) {
  EXPECT_THAT(answersIn(upToTrees + region("west") + list),
              ElementsAre(list, bridge, ports, fids, vlans, tree0, tree5, region("west"), list));
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

TEST(EngineAnswers, WhatTheEngineSaysInsteadBelongsToTheLastAnswer) {
  EXPECT_THAT(answersIn(list + bridge + "Can't get ports\n"),
              ElementsAre(list, bridge + "Can't get ports\n"));
  EXPECT_THAT(answersIn(list + bridge + "[Can't get e2\n{\"port\":\"e3\"}]\n" + fids),
              ElementsAre(list, bridge, "[Can't get e2\n{\"port\":\"e3\"}]\n", fids));
}

TEST(EngineAnswers, EndedBatchHasFewer) {
  std::string const whole = upToTrees + region("west") + list;
  EXPECT_THAT(answersIn(upToTrees), testing::SizeIs(7));
  EXPECT_THAT(answersIn(upToTrees + region("west")), testing::SizeIs(8));
  EXPECT_THAT(answersIn(list + bridge + ports.substr(0, 5)),
              ElementsAre(list, bridge, ports.substr(0, 5)));
  EXPECT_THAT(answersIn(""), IsEmpty());
  EXPECT_THAT(answersIn("Can't connect\n" + whole), IsEmpty());
}

TEST(EngineAnswers, OfAnotherBridgeAreNone) {
  EXPECT_THAT(engineAnswers(list, engineQuestions("br1", {})), IsEmpty());
}

TEST(EngineSource, BridgeNamesAreThoseOfTheKernel) {
  for (char const* const name : {"br0", "b", "bridge.10@x_y-z", "fifteen-letters", "\xC3\xA4"}) {
    EXPECT_TRUE(EngineSource::isBridgeName(name)) << name;
  }
  for (std::string const& name :
       {std::string(), std::string("."), std::string(".."), std::string("br 0"),
        std::string("br0\nsetbridge"), std::string("a/b"), std::string("a\"b"), std::string("a'b"),
        std::string("a\\b"), std::string("#br0"), std::string("a:b"), std::string("a\0b", 3),
        std::string("\x7F"), std::string("sixteen--letters")}) {
    EXPECT_FALSE(EngineSource::isBridgeName(name)) << name;
  }
}

}  // namespace
}  // namespace Agent

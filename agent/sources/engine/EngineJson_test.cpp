// The engine's text at the edges of what can be mended.
#include "agent/sources/engine/EngineJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(EngineJson, DepthIsLimited) {
  auto const nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_EQ(engineJson(nested(8), false).dump(), nested(8));
  EXPECT_THROW((void)engineJson(nested(9), false), Refusal);
}

TEST(EngineJson, QuoteBelongsToANameUnlessTheNextMemberFollows) {
  for (char const* const member : {"bridge", "port", "root-port", "topology-change-port"}) {
    SCOPED_TRACE(member);
    for (std::string const name : {"a\"b", "\"", "\"}", "a\",b", "a\"}]"}) {
      SCOPED_TRACE(name);
      Json const json = engineJson(
          "{\"" + std::string(member) + "\":\"" + name + "\",\"enabled\":\"yes\"}", false);
      EXPECT_EQ(json.at("enabled"), "yes");
      if (json.contains(member)) {  // some are only passed over
        EXPECT_EQ(json.at(member), name);
      }
    }
  }
  EXPECT_EQ(engineJson(R"([{"enabled":"yes","last-topology-change-port":"a"b"}])", false)
                .at(0)
                .at("enabled"),
            "yes");
}

TEST(EngineJson, RegionNameBehindItsRevisionEndsAtItsQuote) {
  EXPECT_EQ(engineJson(R"({"x":"","revision-level":"7","configuration-name":"west"})", false)
                .at("configuration-name"),
            "west");
}

std::string refusalOf(std::string const& text, bool lacksBracket = false) {
  try {
    (void)engineJson(text, lacksBracket);
  } catch (Refusal const& refused) {
    return refused.what();
  }
  return "";
}

TEST(EngineJson, RefusalShowsTheTextAboutWhatIsNotUnderstood) {
  EXPECT_EQ(refusalOf("[1,]"), R"(not understood as JSON near "[1,]")");
  EXPECT_EQ(refusalOf("{\"x\":[" + std::string(60, '1') + ",]}"),
            "not understood as JSON near \"" + std::string(38, '1') + ",]}\"");
}

TEST(EngineJson, OnlyTheOuterListMayBeLeftOpen) {
  std::string const inner = R"({"vid2fid":[{"fid":"0","vid":["1"}})";
  EXPECT_EQ(refusalOf(inner, true), R"("}" is out of place after 33 bytes)");
  std::string const outer = R"({"vid2fid":[{"fid":"0","vid":["1"]}})";
  EXPECT_EQ(refusalOf(outer, true), "");
  EXPECT_EQ(refusalOf(outer, false), R"("}" is out of place after 35 bytes)");
}

TEST(EngineJson, WrongBytesAreReplacedAndToldOfWhatIsMirrored) {
  std::vector<std::string> remarks;
  Json const json = engineJson(
      "{\"port\":\"e\xE4\",\"root-port\":\"e\xE4\",\"configuration-name\":\"w\xC3\xA4\xFFst"
      "\",\"revision-level\":\"0\"}",
      false, &remarks);
  EXPECT_EQ(json.at("port"), "e\xEF\xBF\xBD");
  EXPECT_EQ(json.at("configuration-name"), "w\xC3\xA4\xEF\xBF\xBDst");
  EXPECT_THAT(remarks,
              ElementsAre("member \"port\" is not UTF-8, shown as \"e\xEF\xBF\xBD\"",
                          "member \"configuration-name\" is not UTF-8, shown as \"w\xC3\xA4"
                          "\xEF\xBF\xBDst\""));
}

TEST(EngineJson, WhatIsUtf8IsNotToldOf) {
  std::vector<std::string> remarks;
  (void)engineJson("{\"port\":\"\xEF\xBF\xBD\\\xC3\xA4\",\"role\":\"b\"}", false, &remarks);
  EXPECT_THAT(remarks, IsEmpty());
}

TEST(EngineJson, ReadableTextIsUtf8) {
  EXPECT_EQ(readableText("br\xE4\"\\"), "br\xEF\xBF\xBD\"\\");
  EXPECT_EQ(readableText(""), "");
}

}  // namespace
}  // namespace Agent

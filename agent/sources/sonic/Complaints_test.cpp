// What is told of rows that can't be read, and how often.
#include "agent/sources/sonic/Complaints.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "agent/sources/sonic/SonicTestSupport.h"

namespace Agent::Sonic {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class SonicComplaints : public SonicTest {};

TEST_F(SonicComplaints, AreToldOnceUntilTheBytesChange) {
  write(configuration, "STP_PORT|E1", {{"bpdu_guard", "maybe"}, {"edge_port", "perhaps"}});
  EXPECT_THAT(complaints(),
              ElementsAre("CONFIG_DB \"STP_PORT|E1\": bpdu_guard: \"maybe\" can't be read",
                          "CONFIG_DB \"STP_PORT|E1\": edge_port: \"perhaps\" can't be read"));
  write(configuration, "STP_PORT|E1", {{"link_type", "shared"}});
  mapping.scanned(databases.all());
  EXPECT_THAT(complaints(), IsEmpty());
  EXPECT_EQ((follow(), at("/input/portConfig/E1/linkType")), 2);  // the other fields apply
  write(configuration, "STP_PORT|E1", {{"bpdu_guard", "never"}});
  EXPECT_THAT(complaints(),
              ElementsAre("CONFIG_DB \"STP_PORT|E1\": bpdu_guard: \"never\" can't be read"));
}

TEST_F(SonicComplaints, AreToldAgainWhenWhatIsWrongWentAndCameBack) {
  write(configuration, "STP_PORT|E1", {{"bpdu_guard", "maybe"}});
  write(configuration, "STP_PORT|E1", {{"bpdu_guard", "true"}});
  write(configuration, "STP_PORT|E1", {{"bpdu_guard", "maybe"}});
  EXPECT_EQ(complaints().size(), 2U);
  erase(configuration, "STP_PORT|E1");
  write(configuration, "STP_PORT|E1", {{"bpdu_guard", "maybe"}});
  EXPECT_EQ(complaints().size(), 1U);
  mapping.scanned({});
  mapping.scanned(databases.all());
  EXPECT_EQ(complaints().size(), 1U);
}

TEST_F(SonicComplaints, SomethingElseThanAHashIsAsNoRow) {
  write(configuration, "STP_PORT|E1");
  RowRead const list{configuration, "STP_PORT|E1", std::nullopt, true};
  mapping.changed({&list, 1});
  follow();
  EXPECT_EQ(at("/input/portConfig/E1"), absent());
  mapping.changed({&list, 1});
  EXPECT_THAT(complaints(),
              ElementsAre("CONFIG_DB \"STP_PORT|E1\": this is no hash, and is left out"));
}

TEST_F(SonicComplaints, FieldsThatAreNotReadDontCount) {
  write(configuration, "STP_PORT|E1", {{"priority", "many"}, {"enabled", "?"}, {"NULL", "NULL"}});
  write(application, "_STP_MST_INST_TABLE:0", {{"bridge_address", "?"}});
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(SonicComplaints, ValuesThatTakeTurnsAreToldOnceEach) {
  for (int i = 0; i < 10; ++i) {
    write(configuration, "STP_PORT|E1", {{"bpdu_guard", i % 2 == 0 ? "maybe" : "never"}});
  }
  EXPECT_THAT(complaints(), ElementsAre(HasSubstr("maybe"), HasSubstr("never")));
}

TEST_F(SonicComplaints, AFieldThatIsAlwaysWrongInAnotherWayIsToldOfNoMore) {
  auto const isToldOf = [this](std::size_t values) {
    for (std::size_t i = 0; i < values; ++i) {
      write(application, "_STP_MST_PORT_TABLE:0:E1", {{"bpdu_sent", "-" + std::to_string(i)}});
    }
    return complaints();
  };
  constexpr std::size_t most = Complaints::mostOfField;
  std::vector<std::string> told = isToldOf(10 * most);
  ASSERT_THAT(told, SizeIs(most));
  EXPECT_THAT(told.back(), EndsWith("\"-7\" can't be read, and nothing more is told of it until it "
                                    "is right or gone"));
  told.pop_back();
  EXPECT_THAT(told, Each(EndsWith("can't be read")));
  // Others are, and itself from when it was right.
  write(application, "_STP_MST_PORT_TABLE:0:E1", {{"role", "?"}});
  EXPECT_THAT(complaints(), ElementsAre(HasSubstr("role")));
  write(application, "_STP_MST_PORT_TABLE:0:E1", {{"bpdu_sent", "1"}});
  EXPECT_THAT(isToldOf(1), SizeIs(1));
}

TEST_F(SonicComplaints, OfVeryManyAtOnceTheRestIsCounted) {
  constexpr std::size_t most = Complaints::mostAtOnce;
  for (std::size_t i = 0; i < most + 5; ++i) {
    databases.write(configuration, "STP_PORT|E" + std::to_string(i), {{"bpdu_guard", "maybe"}});
  }
  mapping.scanned(databases.all());
  std::vector<std::string> told = complaints();
  ASSERT_THAT(told, SizeIs(most + 1));
  EXPECT_EQ(told.back(), "and 5 more that can't be read");
  mapping.scanned(databases.all());
  EXPECT_THAT(complaints(), IsEmpty());
  write(configuration, "STP_PORT|E", {{"bpdu_guard", "maybe"}});
  EXPECT_THAT(complaints(), SizeIs(1));
}

}  // namespace
}  // namespace Agent::Sonic

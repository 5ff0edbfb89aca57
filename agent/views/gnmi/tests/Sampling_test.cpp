// What one Subscribe call is told at times of its own: samples and heartbeats.
#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

std::uint64_t inNanoseconds(std::chrono::nanoseconds duration) {
  return static_cast<std::uint64_t>(duration.count());
}

class GnmiSampling : public HubTest {
 protected:
  static SubscribeRequest sampleOf(std::string const& path, std::chrono::nanoseconds interval) {
    SubscribeRequest request = streamOf({path}, PathMode::sample);
    request.paths[0].sampleInterval = inNanoseconds(interval);
    return request;
  }
  std::string refusalOf(SubscribeRequest const& request) {
    return failureOf([&] { hub.unsubscribe(subscribe(request)); });
  }
  void linkTypeIs(int value) {
    apply(stateIs("E1", R"({"linkType":)" + std::to_string(value) + "}"));
  }
  // The values that were told, without the names and times.
  std::vector<std::string> values(Stream& stream) {
    std::vector<std::string> all;
    for (std::string const& text : taken(stream)) {
      all.push_back(text.substr(text.rfind('/') + 1));
    }
    return all;
  }

  std::string const linkType = "/stp/interfaces/interface[name=E1]/state/link-type";
};

TEST_F(GnmiSampling, S8SamplesEveryInterval) {
  linkTypeIs(1);
  auto const stream = subscribe(sampleOf(linkType, 5s));
  EXPECT_THAT(taken(*stream), ElementsAre("1001: " + linkType + "=\"SHARED\"", "sync"));
  linkTypeIs(0);
  pass(4s);
  EXPECT_THAT(taken(*stream), IsEmpty());
  pass(1s);
  EXPECT_THAT(taken(*stream),
              ElementsAre(std::to_string(time.wall) + ": " + linkType + "=\"P2P\""));
  EXPECT_EQ(readyCalls, 1);
  pass(5s);
  EXPECT_THAT(taken(*stream),
              ElementsAre(std::to_string(time.wall) + ": " + linkType + "=\"P2P\""));
  // One that comes late is followed by the next in its time.
  pass(7s);
  EXPECT_THAT(taken(*stream), SizeIs(1));
  pass(2s);
  EXPECT_THAT(taken(*stream), IsEmpty());
  pass(1s);
  EXPECT_THAT(taken(*stream), SizeIs(1));
}

TEST_F(GnmiSampling, S8IntervalsAreChecked) {
  EXPECT_EQ(refusalOf(sampleOf("/stp", 999ms)),
            "3 /stp: sample_interval 999000000 ns is too short, the shortest is 1000000000 ns");
  EXPECT_EQ(refusalOf(sampleOf("/stp", 1s)), "none");
  auto request = sampleOf("/stp", 0s);
  request.paths[0].sampleInterval = (std::uint64_t{1} << 63U) - 1;
  EXPECT_EQ(refusalOf(request), "none");
  auto const stream = subscribe(request);
  taken(*stream);
  pass(24h * 365);
  EXPECT_THAT(taken(*stream), IsEmpty());
  request.paths[0].sampleInterval += 1;
  EXPECT_THAT(refusalOf(request), HasSubstr("sample_interval 9223372036854775808 is too long"));
  // Where nothing is sampled, nothing is checked.
  request.mode = CallMode::once;
  EXPECT_EQ(refusalOf(request), "none");
}

TEST_F(GnmiSampling, S8ZeroIsTheShortest) {
  linkTypeIs(1);
  auto const stream = subscribe(sampleOf(linkType, 0s));
  taken(*stream);
  pass(999ms);
  EXPECT_THAT(taken(*stream), IsEmpty());
  pass(1ms);
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"SHARED\""));
}

TEST_F(GnmiSampling, S8RedundantLeavesAreSuppressedOneByOne) {
  linkTypeIs(1);
  auto request = sampleOf("/stp/interfaces/interface/state", 1s);
  request.paths[0].suppressRedundant = true;
  auto const stream = subscribe(request);
  taken(*stream);
  pass(1s);
  EXPECT_THAT(taken(*stream), IsEmpty());
  linkTypeIs(0);
  pass(1s);
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"P2P\""));
  pass(1s);
  EXPECT_THAT(taken(*stream), IsEmpty());
}

TEST_F(GnmiSampling, S5RemovalIsToldOnce) {
  linkTypeIs(1);
  auto const stream = subscribe(sampleOf(linkType, 1s));
  taken(*stream);
  pass(500ms);
  apply(stateGone("E1"));
  hub.step();
  EXPECT_THAT(taken(*stream), ElementsAre(std::to_string(time.wall + 1) + ": -" + linkType));
  pass(5s);
  EXPECT_THAT(taken(*stream), IsEmpty());
}

TEST_F(GnmiSampling, S9HeartbeatSendsAllAgainFromTheSyncOn) {
  linkTypeIs(1);
  SubscribeRequest request = streamOf({linkType});
  request.paths[0].heartbeatInterval = inNanoseconds(10s);
  auto const stream = subscribe(request);
  pass(60s - 1ms);
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"SHARED\"", "sync"));
  pass(10s - 1ms);
  EXPECT_THAT(taken(*stream), IsEmpty());
  pass(1ms);
  EXPECT_THAT(taken(*stream),
              ElementsAre(std::to_string(time.wall) + ": " + linkType + "=\"SHARED\""));
  linkTypeIs(0);
  pass(1s);
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"P2P\""));
  pass(9s);
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"P2P\""));
}

TEST_F(GnmiSampling, S8StreamThatEndedIsSampledNoMore) {
  auto const stream = subscribe(sampleOf("/stp", 2s));
  taken(*stream);
  stream->end({Code::unavailable, "over"});
  pass(5s);
  EXPECT_THAT(taken(*stream), ElementsAre("end 14 over"));
  pass(5s);
  EXPECT_THAT(taken(*stream), IsEmpty());
}

TEST_F(GnmiSampling, S9HeartbeatBeatsSuppression) {
  linkTypeIs(1);
  auto request = sampleOf(linkType, 2s);
  request.paths[0].suppressRedundant = true;
  request.paths[0].heartbeatInterval = inNanoseconds(5s);
  auto const stream = subscribe(request);
  taken(*stream);
  std::vector<std::size_t> told;
  for (int second = 1; second <= 10; ++second) {
    pass(1s);
    told.push_back(taken(*stream).size());
  }
  EXPECT_THAT(told, ElementsAre(0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
  // What a heartbeat told is redundant in the next sample.
  pass(4500ms);
  taken(*stream);
  linkTypeIs(0);
  pass(500ms);
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"P2P\""));
  pass(1s);
  EXPECT_THAT(taken(*stream), IsEmpty());
}

TEST_F(GnmiSampling, S9HeartbeatAddsNothingWhereNothingIsSuppressed) {
  linkTypeIs(1);
  auto request = sampleOf(linkType, 2s);
  request.paths[0].heartbeatInterval = inNanoseconds(3s);
  auto const stream = subscribe(request);
  taken(*stream);
  std::vector<std::size_t> told;
  for (int second = 1; second <= 6; ++second) {
    pass(1s);
    told.push_back(taken(*stream).size());
  }
  EXPECT_THAT(told, ElementsAre(0, 1, 0, 1, 0, 1));
}

TEST_F(GnmiSampling, S9IntervalsAreChecked) {
  auto request = sampleOf("/stp", 2s);
  request.paths[0].heartbeatInterval = inNanoseconds(1999ms);
  EXPECT_EQ(refusalOf(request),
            "3 /stp: heartbeat_interval 1999000000 ns is shorter than the sample interval, "
            "2000000000 ns");
  request = streamOf({"/stp"});
  request.paths[0].heartbeatInterval = inNanoseconds(999ms);
  EXPECT_EQ(refusalOf(request),
            "3 /stp: heartbeat_interval 999000000 ns is too short, the shortest is 1000000000 ns");
  request.paths[0].mode = PathMode::targetDefined;
  EXPECT_THAT(refusalOf(request), HasSubstr("is too short"));
  request.paths[0].heartbeatInterval = std::uint64_t{1} << 63U;
  EXPECT_THAT(refusalOf(request), HasSubstr("is too long"));
}

TEST_F(GnmiSampling, S10TargetDefinedIsOnChange) {
  linkTypeIs(1);
  auto const stream = subscribe({linkType}, PathMode::targetDefined);
  taken(*stream);
  linkTypeIs(0);
  hub.step();
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"P2P\""));
  pass(60s);
  EXPECT_THAT(taken(*stream), IsEmpty());
  SubscribeRequest request = streamOf({"/stp"}, PathMode::targetDefined);
  request.paths[0].sampleInterval = inNanoseconds(10s);
  EXPECT_EQ(refusalOf(request),
            "3 /stp: sample_interval 10000000000 ns although the target is to define it");
}

TEST_F(GnmiSampling, S10CountersAreSampledWhereTheTargetDefines) {
  SubscribeLimits limits;
  limits.counters = resolve(pathFrom("/.../bridge-priority")).selection.everywhere();
  SubscribeRequest const request = streamOf({"/stp"}, PathMode::targetDefined);
  auto const planned = [&] { return planOf(request, limits); };
  ASSERT_THAT(planned().samplings, SizeIs(1));
  EXPECT_EQ(planned().samplings[0].interval, 10s);
  EXPECT_EQ(planned().samplings[0].selection.everywhere(), limits.counters);
  EXPECT_FALSE(planned().samplings[0].suppressesRedundant);
  EXPECT_TRUE((planned().onChange.everywhere() & limits.counters).none());
  EXPECT_EQ(planned().onDelete, planned().initial);
  limits.leastInterval = 30s;
  EXPECT_EQ(planned().samplings[0].interval, 30s);
}

TEST_F(GnmiSampling, S15ModesMixInOneList) {
  linkTypeIs(1);
  SubscribeRequest request = sampleOf(linkType, 2s);
  request.paths.push_back(streamOf({"/stp/global/state"}).paths[0]);
  request.paths.push_back(streamOf({"/stp/interfaces/interface/state/edge-port"}).paths[0]);
  auto const stream = subscribe(request);
  EXPECT_THAT(values(*stream), ElementsAre("bpdu-guard=false", "link-type=\"SHARED\"", "sync"));
  pass(1s);
  apply(stateIs("E1", R"({"linkType":0,"edgePort":0})"));
  hub.step();
  EXPECT_THAT(values(*stream),
              ElementsAre("edge-port=\"openconfig-spanning-tree-types:EDGE_ENABLE\""));
  pass(1s);
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"P2P\""));
}

TEST_F(GnmiSampling, S14ALeafThatIsDueTwiceIsToldOnce) {
  linkTypeIs(1);
  SubscribeRequest request = sampleOf(linkType, 2s);
  request.paths.push_back(sampleOf("/stp/interfaces/interface/state/link-type", 1s).paths[0]);
  auto const stream = subscribe(request);
  taken(*stream);
  pass(1s);
  EXPECT_THAT(values(*stream), SizeIs(1));
  pass(1s);
  EXPECT_THAT(values(*stream), ElementsAre("link-type=\"SHARED\""));
}

TEST_F(GnmiSampling, B1SkippedSamplesAreCounted) {
  linkTypeIs(1);
  auto const stream = subscribe(sampleOf(linkType, 1s));
  taken(*stream);
  for (int second = 0; second < 5; ++second) {
    pass(1s);
  }
  linkTypeIs(0);
  hub.step();
  Client client;
  client.drain(*stream);
  EXPECT_EQ(client.updates + client.duplicates, 5U);
  EXPECT_LT(client.updates, 3U);
  EXPECT_EQ(client.leaves[linkType], "\"SHARED\"");
}

}  // namespace
}  // namespace Agent::Gnmi

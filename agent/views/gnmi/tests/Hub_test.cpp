// All streams together: who is slow, who is stuck, how many there may be, and the end.
#include "agent/views/gnmi/Hub.h"

#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

class GnmiHub : public HubTest {
 protected:
  void edgePortIs(int value, char const* name = "E1") {
    apply(stateIs(name, R"({"edgePort":)" + std::to_string(value) + "}"));
    hub.step();
  }

  std::string const edgePort = "/stp/interfaces/interface[name=E1]/state/edge-port";
};

TEST_F(GnmiHub, B1WhoIsSlowIsToldTheLastValueAndHowManyWereSkipped) {
  edgePortIs(2);
  auto const stream = subscribe({edgePort});
  Client client;
  client.drain(*stream);
  for (int at = 0; at < 1'000; ++at) {
    edgePortIs(at % 2);
  }
  std::uint64_t const before = client.updates;
  client.drain(*stream);
  EXPECT_EQ(client.updates - before + client.duplicates, 1'000U);
  EXPECT_LE(client.updates - before, 65U);
  EXPECT_EQ(client.leaves, document(edgePort));
}

TEST_F(GnmiHub, B1UpTo64ChangesAreToldOneByOneAndMoreAsOne) {
  edgePortIs(2);
  auto const stream = subscribe({edgePort});
  Client client;
  client.drain(*stream);
  auto const toldOf = [&](int changes) {
    for (int at = 0; at < changes; ++at) {
      edgePortIs(at % 2);
    }
    std::uint64_t const before = client.updates;
    client.drain(*stream);
    return client.updates - before;
  };
  EXPECT_EQ(toldOf(64), 64U);
  EXPECT_EQ(client.duplicates, 0U);
  EXPECT_EQ(toldOf(65), 1U);
  EXPECT_EQ(client.duplicates, 64U);
}

TEST_F(GnmiHub, B1DeleteAndThenUpdateKeepTheirOrder) {
  edgePortIs(1);
  auto const stream = subscribe({edgePort});
  taken(*stream);
  edgePortIs(0);  // so that what is coalesced at once ends with an update
  for (int at = 0; at < 100; ++at) {
    apply(stateGone("E1"));
    hub.step();
    edgePortIs(0);
  }
  apply(stateIs("E2", "{}"));
  hub.step();
  auto const all = taken(*stream);
  ASSERT_FALSE(all.empty());
  // What was coalesced comes first.
  EXPECT_NE(all.front().find(": -" + edgePort + ", " + edgePort + "="), std::string::npos)
      << all.front();
}

TEST_F(GnmiHub, B1WhatComesAndGoesMeanwhileTakesNoRoom) {
  auto const stream = subscribe({"/stp/interfaces"});
  taken(*stream);
  for (int at = 0; at < 1'000; ++at) {
    std::string const name = "E" + std::to_string(at);
    edgePortIs(1, name.c_str());
    apply(stateGone(name));
    hub.step();
  }
  std::size_t messages = 0;
  while (stream->next()) {
    ++messages;
  }
  EXPECT_LE(messages, 66U);
}

TEST_F(GnmiHub, B1WhatChangesFasterThanItCanBeToldIsOneChangeSetWithTheLastValues) {
  HubSettings settings;
  settings.mostWaiting = 1;
  Hub busy(settings, time.clocks());
  Collector const its(session.observed(), busy);
  for (char const* const name : {"E1", "E2", "E3", "E6"}) {
    apply(stateIs(name, R"({"edgePort":1})"));
  }
  auto const stream =
      busy.subscribe(streamOf({"/stp/interfaces/interface/state/edge-port"}), [] {});
  (void)taken(*stream);
  auto const at = [&](Nanoseconds wall, std::string const& line) {
    time.wall = wall;
    apply(line);
  };
  at(2'000, stateIs("E1", R"({"edgePort":0})"));
  at(2'001, stateIs("E1", R"({"edgePort":1})"));
  at(2'002, stateIs("E1", R"({"edgePort":0})"));
  at(2'003, stateIs("E1", R"({"edgePort":1})"));
  at(2'004, stateGone("E2"));
  at(2'005, stateGone("E3"));
  at(2'006, stateIs("E3", R"({"edgePort":1})"));
  at(2'007, stateIs("E3", R"({"edgePort":0})"));
  at(2'008, stateIs("E4", R"({"edgePort":0})"));
  at(2'009, stateIs("E5", R"({"edgePort":0})"));
  at(2'010, stateGone("E5"));
  at(2'011, stateIs("E6", R"({"edgePort":0})"));
  at(2'012, stateGone("E6"));
  busy.step();
  std::string const interface = "/stp/interfaces/interface[name=";
  std::string const value = "]/state/edge-port=\"openconfig-spanning-tree-types:EDGE_";
  EXPECT_THAT(taken(*stream),
              ElementsAre("2000: " + interface + "E1" + value + "ENABLE\"",
                          "2012: -" + interface + "E2]/state/edge-port, -" + interface +
                              "E3]/state/edge-port, -" + interface + "E6]/state/edge-port, " +
                              interface + "E1" + value + "DISABLE\" (2), " + interface + "E3" +
                              value + "ENABLE\" (1), " + interface + "E4" + value + "ENABLE\""));
  // As many as before are told one by one again.
  at(3'000, stateGone("E4"));
  busy.step();
  EXPECT_EQ(taken(*stream).size(), 1U);
}

TEST_F(GnmiHub, B1WhatComesAndGoesFasterThanItCanBeToldIsNothing) {
  HubSettings settings;
  settings.mostWaiting = 0;
  Hub busy(settings, time.clocks());
  Collector const its(session.observed(), busy);
  auto const stream = busy.subscribe(streamOf({"/stp/interfaces"}), [] {});
  (void)taken(*stream);
  Nanoseconds const changed = busy.snapshot().time();
  apply(stateIs("E1", "{}"));
  apply(stateGone("E1"));
  busy.step();
  EXPECT_THAT(taken(*stream), IsEmpty());
  EXPECT_EQ(busy.snapshot().time(), changed);
}

TEST_F(GnmiHub, B2WhoTakesNothingIsEndedAndNobodyElse) {
  auto const stuck = subscribe({"/stp"});
  auto const idle = subscribe({"/stp"});
  EXPECT_TRUE(stuck->next());
  taken(*idle);
  edgePortIs(1);
  taken(*idle);
  pass(59s);
  EXPECT_FALSE(stuck->hasEnded());
  int const before = readyCalls;
  pass(1s);
  EXPECT_TRUE(stuck->hasEnded());
  EXPECT_EQ(readyCalls, before + 1);
  EXPECT_FALSE(idle->hasEnded());
  EXPECT_THAT(taken(*stuck), ElementsAre("end 8 the client took nothing for 60 s"));
  pass(1h);
  edgePortIs(0);
  EXPECT_EQ(taken(*idle).size(), 1U);
  EXPECT_THAT(taken(*stuck), IsEmpty());
}

TEST_F(GnmiHub, B2AOnceOfWhichNothingIsTakenIsEndedToo) {
  SubscribeRequest request = streamOf({"/stp"});
  request.mode = CallMode::once;
  auto const stuck = subscribe(request);
  EXPECT_TRUE(stuck->next());
  pass(60s);
  EXPECT_THAT(taken(*stuck), ElementsAre("end 8 the client took nothing for 60 s"));
}

TEST_F(GnmiHub, B2WhoSeesWhatFollowsIsGivenPatienceAnew) {
  auto const stream = subscribe({edgePort});
  EXPECT_TRUE(stream->next());
  pass(40s);
  EXPECT_FALSE(stream->following());
  pass(40s);
  EXPECT_FALSE(stream->hasEnded());
  pass(20s);
  EXPECT_TRUE(stream->hasEnded());
}

TEST_F(GnmiHub, B5AtTheEndAllAreUnavailable) {
  auto const idle = subscribe({"/stp"});
  taken(*idle);
  auto const busy = subscribe({"/stp"});
  hub.shutdown();
  EXPECT_EQ(readyCalls, 2);
  EXPECT_THAT(taken(*idle), ElementsAre("end 14 the agent ends"));
  EXPECT_THAT(taken(*busy), ElementsAre("end 14 the agent ends"));
  EXPECT_EQ(failureOf([&] { subscribe({"/stp"}); }), "14 the agent ends");
  edgePortIs(1);
  EXPECT_THAT(taken(*idle), IsEmpty());
}

TEST_F(GnmiHub, A6SubscriptionsAreLimited) {
  EXPECT_EQ(failureOf([&] { subscribe(std::vector<std::string>(257, "/stp")); }),
            "8 257 subscriptions, the most in one call are 256");
  EXPECT_EQ(failureOf([&] { hub.unsubscribe(subscribe(std::vector<std::string>(256, "/stp"))); }),
            "none");
  EXPECT_EQ(failureOf([&] { subscribe(std::vector<std::string>()); }),
            "3 the list of subscriptions is empty");
  HubSettings settings;
  settings.mostStreams = 2;
  Hub small(settings, time.clocks());
  auto const request = streamOf({"/stp"});
  auto const first = small.subscribe(request, [] {});
  auto const second = small.subscribe(request, [] {});
  EXPECT_EQ(failureOf([&] { small.subscribe(request, [] {}); }),
            "8 the most subscriptions at a time are 2");
  small.unsubscribe(first);
  EXPECT_EQ(failureOf([&] { small.subscribe(request, [] {}); }), "none");
}

TEST_F(GnmiHub, ModesThatAreNoneAreRefused) {
  SubscribeRequest request = streamOf({"/stp"}, static_cast<PathMode>(3));
  EXPECT_EQ(failureOf([&] { subscribe(request); }), "3 /stp: unknown mode 3");
  request.mode = static_cast<CallMode>(-1);
  EXPECT_EQ(failureOf([&] { subscribe(request); }),
            "3 unknown mode of the list of subscriptions: -1");
}

TEST_F(GnmiHub, G5ModelsPartWhatIsTold) {
  SubscribeRequest request = streamOf({"/stp/global"});
  request.useModels = {{"stp-openconfig-disabled-vlan", "", ""}};
  auto const stream = subscribe(request);
  EXPECT_THAT(taken(*stream), ElementsAre("sync"));
  applyAt(2'000,
          R"({"op":"set","path":["ocGlobalState","state"],
              "value":{"bpduGuard":true,"disabledVlan":[7,[9,12]]}})");
  EXPECT_THAT(taken(*stream), ElementsAre("2000: /stp/global/state/disabled-vlan=[7,\"9..12\"]"));
}

TEST_F(GnmiHub, IsDueWhenATimerIs) {
  EXPECT_EQ(hub.due(), Time::max());
  SubscribeRequest request = streamOf({"/stp"}, PathMode::sample);
  request.paths[0].sampleInterval = 500'000'000;
  EXPECT_THAT(failureOf([&] { subscribe(request); }), testing::HasSubstr("too short"));
  request.paths[0].sampleInterval = 1'500'000'000;
  auto const stream = subscribe(request);
  EXPECT_EQ(hub.due(), time.steady + 1s);  // to see who is stuck
  taken(*stream);
  time.pass(1s);
  hub.step();
  EXPECT_EQ(hub.due(), time.steady + 500ms);
  hub.unsubscribe(stream);
  EXPECT_EQ(hub.due(), Time::max());
}

TEST_F(GnmiHub, SnapshotsStayWhatTheyAre) {
  edgePortIs(1);
  Snapshot const before = hub.snapshot();
  edgePortIs(0);
  Snapshot const after = hub.snapshot();
  edgePortIs(0, "E2");
  EXPECT_GT(after.time(), before.time());
  auto const selection = resolve(pathFrom(edgePort)).selection;
  EXPECT_EQ(leavesIn(before.leaves(selection))[edgePort],
            "\"openconfig-spanning-tree-types:EDGE_DISABLE\"");
  EXPECT_EQ(leavesIn(after.leaves(selection))[edgePort],
            "\"openconfig-spanning-tree-types:EDGE_ENABLE\"");
  // What did not change is shared.
  EXPECT_EQ(before.find(0, {}), after.find(0, {}));
  EXPECT_NE(before.find(1, {"E1"}), after.find(1, {"E1"}));
  EXPECT_EQ(before.find(1, {"E2"}), nullptr);
}

}  // namespace
}  // namespace Agent::Gnmi

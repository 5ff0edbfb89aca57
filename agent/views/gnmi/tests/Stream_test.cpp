// What one Subscribe call is told: changes.
#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using GnmiStream = HubTest;

char const* const edgePort = "/stp/interfaces/interface[name=E1]/state/edge-port";

TEST_F(GnmiStream, S1OnceIsUpdatesSyncAndEnd) {
  applyAt(2'000, stateIs("E1", "{}"));
  SubscribeRequest request = streamOf({edgePort, "/stp/global/state"});
  request.mode = CallMode::once;
  auto const stream = subscribe(request);
  applyAt(3'000, stateIs("E1", R"({"edgePort":0})"));
  EXPECT_THAT(taken(*stream),
              ElementsAre("1000: /stp/global/state/bpdu-guard=false",
                          "2000: /stp/interfaces/interface[name=E1]/state/edge-port="
                          "\"openconfig-spanning-tree-types:EDGE_AUTO\"",
                          "sync", "end 0"));
  EXPECT_TRUE(stream->hasEnded());
  EXPECT_THAT(taken(*stream), IsEmpty());
}

TEST_F(GnmiStream, S1OnceOfAnAbsentPathIsTheSync) {
  SubscribeRequest request = streamOf({edgePort});
  request.mode = CallMode::once;
  EXPECT_THAT(taken(*subscribe(request)), ElementsAre("sync", "end 0"));
}

TEST_F(GnmiStream, S2PollIsUpdatesAndSyncAPoll) {
  applyAt(2'000, stateIs("E1", R"({"linkType":1})"));
  SubscribeRequest request =
      streamOf({"/stp/interfaces/interface[name=E1]/state/link-type", "/stp/mstp"});
  request.mode = CallMode::poll;
  auto const stream = subscribe(request);
  EXPECT_THAT(taken(*stream), IsEmpty());
  stream->poll();
  EXPECT_EQ(readyCalls, 1);
  std::string const path = "/stp/interfaces/interface[name=E1]/state/link-type=";
  EXPECT_THAT(taken(*stream), ElementsAre("2000: " + path + "\"SHARED\"", "sync"));
  applyAt(3'000, stateIs("E1", R"({"linkType":0})"));
  EXPECT_THAT(taken(*stream), IsEmpty());
  stream->poll();
  std::string const present = "3000: " + path + "\"P2P\"";
  EXPECT_THAT(taken(*stream), ElementsAre(present, "sync"));
  stream->poll();
  stream->poll();
  EXPECT_THAT(taken(*stream), ElementsAre(present, "sync", present, "sync"));
  applyAt(4'000, stateGone("E1"));
  stream->poll();
  stream->poll();
  EXPECT_THAT(taken(*stream), ElementsAre("sync", "sync"));
}

TEST_F(GnmiStream, PollBehindTheEndGivesNothing) {
  SubscribeRequest request = streamOf({"/stp"});
  request.mode = CallMode::poll;
  auto const stream = subscribe(request);
  stream->end({Code::unavailable, "over"});
  stream->poll();
  EXPECT_THAT(taken(*stream), ElementsAre("end 14 over"));
  stream->poll();
  EXPECT_THAT(taken(*stream), IsEmpty());
}

TEST_F(GnmiStream, S3InitialValuesSyncThenChanges) {
  applyAt(2'000, stateIs("E1", R"({"linkType":1})"));
  auto const stream = subscribe({"/stp/interfaces/interface/state/link-type"});
  applyAt(3'000, stateIs("E2", "{}"));
  applyAt(4'000, stateIs("E1", R"({"linkType":0})"));
  EXPECT_THAT(
      taken(*stream),
      ElementsAre("2000: /stp/interfaces/interface[name=E1]/state/link-type=\"SHARED\"", "sync",
                  "3000: /stp/interfaces/interface[name=E2]/state/link-type=\"P2P\"",
                  "4000: /stp/interfaces/interface[name=E1]/state/link-type=\"P2P\""));
  EXPECT_EQ(readyCalls, 0);
  applyAt(5'000, stateIs("E1", R"({"linkType":1})"));
  applyAt(6'000, stateIs("E1", R"({"linkType":0})"));
  EXPECT_EQ(readyCalls, 1);
  EXPECT_THAT(taken(*stream),
              ElementsAre("5000: /stp/interfaces/interface[name=E1]/state/link-type=\"SHARED\"",
                          "6000: /stp/interfaces/interface[name=E1]/state/link-type=\"P2P\""));
}

TEST_F(GnmiStream, S3WhatFollowsIsGivenOnceAndInOrder) {
  auto const stream = subscribe({edgePort});
  applyAt(2'000, stateIs("E1", R"({"edgePort":0})"));
  EXPECT_THAT(textOf(stream->next().value()), ElementsAre("sync"));
  EXPECT_THAT(textOf(stream->following().value()),
              ElementsAre("2000: " + std::string(edgePort) +
                          "=\"openconfig-spanning-tree-types:EDGE_ENABLE\""));
  EXPECT_FALSE(stream->following());
  applyAt(3'000, stateGone("E1"));
  EXPECT_EQ(readyCalls, 0);
  EXPECT_THAT(taken(*stream), ElementsAre("3000: -" + std::string(edgePort)));
  applyAt(4'000, stateIs("E1", "{}"));
  EXPECT_EQ(readyCalls, 1);
}

TEST_F(GnmiStream, S1TheEndDoesNotFollowButIsNext) {
  SubscribeRequest request = streamOf({"/stp/mstp"});
  request.mode = CallMode::once;
  auto const stream = subscribe(request);
  EXPECT_THAT(textOf(stream->next().value()), ElementsAre("sync"));
  EXPECT_FALSE(stream->following());
  EXPECT_FALSE(stream->hasEnded());
  EXPECT_THAT(taken(*stream), ElementsAre("end 0"));
}

TEST_F(GnmiStream, S3SubscribingAnywhereInARowOfChangesMissesNoneAndDoublesNone) {
  std::vector<std::shared_ptr<Stream>> streams;
  for (int at = 0; at < 200; ++at) {
    if (at % 3 == 0) {
      apply(stateIs("E1", at % 2 == 0 ? R"({"edgePort":0})" : R"({"edgePort":1})"));
    }
    streams.push_back(subscribe({edgePort}));
    if (at % 5 == 0) {
      hub.step();
    }
    apply(stateIs("E1", at % 2 == 0 ? R"({"edgePort":2})" : R"({"edgePort":1})"));
  }
  hub.step();
  Leaves const expected = document(edgePort);
  for (auto const& stream : streams) {
    Client client;
    Nanoseconds last = 0;
    while (auto const message = stream->next()) {
      for (Notification const& notification : notificationsOf(*message)) {
        EXPECT_GT(notification.time, last);
        last = notification.time;
      }
      Leaves const before = client.leaves;
      client.apply(*message);
      // What was coalesced may be what it has.
      EXPECT_TRUE(!std::holds_alternative<SharedChange>(*message) || client.leaves != before);
    }
    EXPECT_EQ(client.leaves, expected);
    hub.unsubscribe(stream);
  }
  EXPECT_EQ(hub.streamCount(), 0U);
}

TEST_F(GnmiStream, S4WritingTheSameSendsNothing) {
  applyAt(2'000, stateIs("E1", R"({"edgePort":1})"));
  auto const stream = subscribe({""});
  taken(*stream);
  Nanoseconds const changed = hub.snapshot().time();
  applyAt(3'000, stateIs("E1", R"({"edgePort":1})"));
  EXPECT_EQ(hub.snapshot().time(), changed);
  EXPECT_THAT(taken(*stream), IsEmpty());
  EXPECT_EQ(readyCalls, 0);
}

TEST_F(GnmiStream, S4DeleteAndRecreateWithEqualValuesSendsNothing) {
  applyAt(2'000, stateIs("E1", R"({"edgePort":1,"bpduGuard":1})"));
  auto const stream = subscribe({""});
  taken(*stream);
  time.wall = 3'000;
  ObservedTargets& observed = session.observed();
  auto const place = [](char const* name) {
    return TargetPlace{"ocInterfaceStateDir", "state", Lanx::IntfId::of(name)};
  };
  Stp::InterfaceState const record = *targets().interfaceStateDir->state(Lanx::IntfId::of("E1"));
  observed.happened(place("E1"), std::nullopt);
  observed.happened(place("E1"), record);
  // What comes and goes within one change set was never there.
  observed.happened(place("E9"), record);
  observed.happened(place("E9"), std::nullopt);
  observed.changeSetEnds();
  hub.step();
  EXPECT_THAT(taken(*stream), IsEmpty());
  // And of what comes back otherwise, only that is told.
  Stp::InterfaceState other = record;
  other.edgePort = Stp::OcEdgePort::edgeEnable;
  observed.happened(place("E1"), std::nullopt);
  observed.happened(place("E1"), other);
  observed.changeSetEnds();
  hub.step();
  EXPECT_EQ(taken(*stream).size(), 1U);
}

TEST_F(GnmiStream, S5RemovalIsTold) {
  applyAt(2'000, stateIs("E1", R"({"edgePort":1})"));
  auto const stream = subscribe({edgePort, "/stp/interfaces/interface[name=E1]/config"});
  taken(*stream);
  applyAt(3'000, stateGone("E1"));
  EXPECT_THAT(taken(*stream), ElementsAre("3000: -/stp/interfaces/interface[name=E1]/config/name, "
                                          "-/stp/interfaces/interface[name=E1]/state/edge-port"));
}

TEST_F(GnmiStream, S6WhatOneOperationChangesShareOneNotification) {
  auto const stream = subscribe({"/stp/interfaces"});
  taken(*stream);
  applyAt(2'000, stateIs("E1", R"({"edgePort":1,"linkType":1,"bpduGuard":1})"));
  std::string const state = "/stp/interfaces/interface[name=E1]/state/";
  EXPECT_THAT(taken(*stream),
              ElementsAre("2000: /stp/interfaces/interface[name=E1]/config/name=\"E1\", " + state +
                          "name=\"E1\", " + state +
                          "edge-port=\"openconfig-spanning-tree-types:EDGE_DISABLE\", " + state +
                          "link-type=\"SHARED\", " + state + "bpdu-guard=true"));
}

TEST_F(GnmiStream, S6WhatIsTooLargeIsSplit) {
  std::string const name(250, 'x');
  Changes changes;
  for (int at = 0; at < 1'500; ++at) {
    Stp::InterfaceState record{Lanx::IntfId::of(name + std::to_string(at))};
    changes.push_back(Change::setRecord(targets().interfaceStateDir,
                                        onlyAttribute<Stp::OCInterfaceStateDir>, record));
  }
  auto const stream = subscribe({"/stp/interfaces"});
  taken(*stream);
  time.wall = 2'000;
  session.apply(changes);
  hub.step();
  auto const message = stream->next();
  ASSERT_TRUE(message && std::holds_alternative<SharedChange>(*message));
  auto const notifications = notificationsOf(*message);
  EXPECT_GT(notifications.size(), 1U);
  Client client;
  for (Notification const& notification : notifications) {
    EXPECT_EQ(notification.time, 2'000);
    EXPECT_LT(textOf(notification).size(), largestNotification);
    client.apply(notification);
  }
  EXPECT_EQ(client.leaves.size(), 1'500U * 4);
  EXPECT_EQ(client.updates, 1'500U * 4);
}

TEST_F(GnmiStream, S6WhatIsTooLargeAloneIsToldAlone) {
  Stp::InterfaceState const record{Lanx::IntfId::of(std::string(largestNotification, 'x'))};
  auto const stream = subscribe({"/stp/interfaces"});
  taken(*stream);
  session.apply({Change::setRecord(targets().interfaceStateDir,
                                   onlyAttribute<Stp::OCInterfaceStateDir>, record)});
  hub.step();
  auto const message = stream->next();
  ASSERT_TRUE(message);
  auto const notifications = notificationsOf(*message);
  EXPECT_EQ(notifications.size(), 4U);
  for (Notification const& notification : notifications) {
    EXPECT_EQ(notification.updates.size(), 1U);
  }
}

TEST_F(GnmiStream, S7InitialValuesHaveTheTimeOfTheirLastChange) {
  applyAt(2'000, stateIs("E1", R"({"edgePort":1})"));
  applyAt(3'000, stateIs("E1", R"({"edgePort":1,"linkType":1})"));
  applyAt(9'000, stateIs("E2", "{}"));
  auto const stream = subscribe({"/stp/interfaces/interface[name=E1]/state"});
  std::string const state = "/stp/interfaces/interface[name=E1]/state/";
  EXPECT_THAT(taken(*stream),
              ElementsAre("2000: " + state + "name=\"E1\", " + state +
                              "edge-port=\"openconfig-spanning-tree-types:EDGE_DISABLE\"",
                          "3000: " + state + "link-type=\"SHARED\"", "sync"));
}

TEST_F(GnmiStream, S7TimesRiseAlthoughTheClockIsSetBack) {
  applyAt(5'000, stateIs("E1", "{}"));
  auto const stream = subscribe({edgePort});
  applyAt(2'000, stateIs("E1", R"({"edgePort":1})"));
  Nanoseconds last = 0;
  while (auto const message = stream->next()) {
    for (Notification const& notification : notificationsOf(*message)) {
      EXPECT_GT(notification.time, last);
      last = notification.time;
    }
  }
  EXPECT_GT(last, 5'000);
}

TEST_F(GnmiStream, S11UpdatesOnlyHasNoInitialValues) {
  applyAt(2'000, stateIs("E1", R"({"edgePort":1})"));
  SubscribeRequest request = streamOf({edgePort});
  request.updatesOnly = true;
  auto const stream = subscribe(request);
  EXPECT_THAT(taken(*stream), ElementsAre("sync"));
  applyAt(3'000, stateIs("E1", R"({"edgePort":0})"));
  applyAt(4'000, stateGone("E1"));
  EXPECT_THAT(taken(*stream), ElementsAre(std::string("3000: ") + edgePort +
                                              "=\"openconfig-spanning-tree-types:EDGE_ENABLE\"",
                                          std::string("4000: -") + edgePort));
  request.mode = CallMode::once;
  EXPECT_THAT(taken(*subscribe(request)), ElementsAre("sync", "end 0"));
  request.mode = CallMode::poll;
  auto const polled = subscribe(request);
  polled->poll();
  EXPECT_THAT(taken(*polled), ElementsAre("sync"));
}

TEST_F(GnmiStream, S12AbsentPathsDeliverWhenTheyAppear) {
  auto const named = subscribe({edgePort});
  auto const wild = subscribe({"/stp/.../mst-instance/*/bridge-priority"});
  EXPECT_THAT(taken(*named), ElementsAre("sync"));
  EXPECT_THAT(taken(*wild), ElementsAre("sync"));
  applyAt(2'000, stateIs("E1", "{}"));
  applyAt(3'000, R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{}})");
  EXPECT_THAT(taken(*named), ElementsAre(std::string("2000: ") + edgePort +
                                         "=\"openconfig-spanning-tree-types:EDGE_AUTO\""));
  EXPECT_THAT(taken(*wild), ElementsAre("3000: /stp/mstp/mst-instances/mst-instance[mst-id=5]/"
                                        "state/bridge-priority=32768"));
}

TEST_F(GnmiStream, S13APollOfAStreamEndsItAlone) {
  auto const wrong = subscribe({"/stp/global/state"});
  auto const other = subscribe({"/stp/global/state"});
  EXPECT_EQ(failureOf([&] { wrong->poll(); }),
            "3 a poll, but the mode of the subscription is not POLL");
  EXPECT_THAT(taken(*wrong),
              ElementsAre("end 3 a poll, but the mode of the subscription is not POLL"));
  taken(*other);
  applyAt(2'000, R"({"op":"set","path":["ocGlobalState","state"],"value":{"bpduGuard":true}})");
  EXPECT_THAT(taken(*other), ElementsAre("2000: /stp/global/state/bpdu-guard=true"));
  EXPECT_THAT(taken(*wrong), IsEmpty());
}

TEST_F(GnmiStream, S14OverlappingPathsGiveEachLeafOnce) {
  auto const stream = subscribe({"/stp", "/stp/global/state/bpdu-guard", "/stp/global"});
  EXPECT_THAT(taken(*stream), ElementsAre("1000: /stp/global/config/bpdu-guard=false, "
                                          "/stp/global/state/bpdu-guard=false",
                                          "sync"));
  applyAt(2'000, R"({"op":"set","path":["ocGlobalState","state"],"value":{"bpduGuard":true}})");
  EXPECT_THAT(taken(*stream), ElementsAre("2000: /stp/global/state/bpdu-guard=true"));
}

TEST_F(GnmiStream, EqualFiltersShareOneObject) {
  auto const one = subscribe({"/stp/interfaces"});
  auto const other =
      subscribe({"/stp/interfaces/interface[name=E1]", "/stp/interfaces/interface/*"});
  auto const third = subscribe({"/stp/global"});
  for (auto const& stream : {one, other, third}) {
    taken(*stream);
  }
  applyAt(2'000, stateIs("E1", "{}"));
  auto const first = std::get<SharedChange>(*one->next());
  auto const second = std::get<SharedChange>(*other->next());
  EXPECT_EQ(first.changes, second.changes);
  EXPECT_EQ(first.filter, second.filter);
  EXPECT_THAT(taken(*third), IsEmpty());
  int made = 0;
  std::function<std::shared_ptr<int const>()> const make = [&] {
    return std::make_shared<int const>(++made);
  };
  EXPECT_EQ(*first.changes->shared("JSON", make), 1);
  EXPECT_EQ(*second.changes->shared("JSON", make), 1);
  EXPECT_EQ(*second.changes->shared("PROTO", make), 2);
}

}  // namespace
}  // namespace Agent::Gnmi

// Which change of which entity runs which handlers, attribute by attribute.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Lumo/HideMe.h"
#include "Stp/frame/tests/FrameTestSupport.h"

namespace Stp {
namespace {

using FrameTest::Maker;
using FrameTest::makers;
using FrameTest::World;
using Lines = std::vector<std::string>;

// What the change of one attribute of an entity runs: the source lines that it traces. Of a
// collection the change is that of one member.
struct Listed {
  std::string_view key;
  Lines lines;
};

struct Source {
  std::string_view className;
  std::string_view attribute;
  std::function<Lumo::Publisher&(World&)> publisher;
  std::map<Lumo::FieldId, Listed> listed;
};

template <auto entity>
Lumo::Publisher& of(World& world) {
  return (world.*entity)->publisher();
}

std::vector<Source> const sources{
    {"OCGlobalConfigSm",
     "stpInputConfig",
     &of<&World::inputConfig>,
     {{267, {"", {"156"}}}, {294, {"", {"212"}}}, {303, {"", {"243"}}}}},
    {"OCGlobalStateSm",
     "stpConfig",
     &of<&World::config>,
     {{294, {"", {"222"}}}, {303, {"", {"324"}}}}},
    {"OCGlobalStateSm", "stpStatus", &of<&World::status>, {{258, {"", {"184"}}}}},
    {"OCGlobalStateSm", "stpVlanConfigDir", &of<&World::vlanDir>, {{258, {"", {"324"}}}}},
    {"OCPortConfigSm",
     "portConfig",
     &of<&World::inputPort>,
     {{260, {"", {"400"}}},
      {261, {"", {"356"}}},
      {263, {"", {"356"}}},
      {265, {"", {"356"}}},
      {270, {"", {"383"}}}}},
    {"OCStpiStatusConfigSm", "stpiStatus", &of<&World::mst>, {{261, {"Ethernet7", {"476"}}}}},
    {"OCInterfaceConfigDirSm",
     "stpInputConfig",
     &of<&World::inputConfig>,
     {{386, {"Ethernet7", {"434", "467"}}}}},
    {"OCInterfaceConfigDirSm", "stpStatus", &of<&World::status>, {{259, {"Mst", {"529"}}}}},
    {"OCStpiPortStatusSm", "stpConfig", &of<&World::config>, {{294, {"", {"612"}}}}},
    {"OCStpiPortStatusSm",
     "portConfig",
     &of<&World::port>,
     {{261, {"", {"612"}}}, {270, {"", {"612"}}}}},
    {"OCStpiPortStatusSm",
     "stpiPortStatus",
     &of<&World::portStatus>,
     {{260, {"", {"584", "612"}}}, {262, {"", {"564"}}}}},
    {"OCStpiStatusSm", "stpiStatus", &of<&World::mst>, {{261, {"Ethernet7", {"650"}}}}},
    {"OCInterfaceStateDirSm", "stpStatus", &of<&World::status>, {{259, {"Mst", {"679"}}}}},
    {"OCMstiConfigSm", "mstiConfig", &of<&World::inputMsti>, {{259, {"", {"706"}}}}},
    {"OCMstpConfigSm", "mst", &of<&World::inputMst>, {{259, {"MST7", {"715"}}}}},
    {"OCMstpConfigWrapperSm",
     "stpInputConfig",
     &of<&World::inputConfig>,
     {{298, {"", {"764"}}}, {387, {"Mst", {"822", "764"}}}}},
    {"OCMstSm", "stpiStatus", &of<&World::mst>, {{262, {"MST7", {"851"}}}}},
    {"OCMstiStatusSm", "mstiStatus", &of<&World::msti>, {{259, {"", {"858"}}}}},
    {"OCMstpMainStateSm", "stpConfig", &of<&World::config>, {{298, {"", {"865", "874"}}}}},
    {"OCMstpMainStateSm",
     "stpStatus",
     &of<&World::status>,
     {{258, {"", {"865", "874"}}}, {259, {"Mst", {"865", "874"}}}}},
};

Maker const& makerOf(std::string_view className) {
  for (Maker const& maker : makers()) {
    if (maker.className == className) {
      return maker;
    }
  }
  throw std::out_of_range(std::string(className));
}

// The source lines of the handlers that ran since this was last asked.
Lines linesOf(TestSupport::HandlerLines& traced) {
  Lines lines;
  for (std::string const& line : traced.lines()) {
    auto const begin = line.find(':') + 1;
    lines.push_back(line.substr(begin, line.find(' ', begin) - begin));
  }
  return lines;
}

void publishAll(Lumo::Publisher& publisher, std::map<Lumo::FieldId, Listed> const& listed) {
  TestSupport::HandlerLines traced;
  for (unsigned field = 0; field <= 0xFFFF; ++field) {
    auto const id = static_cast<Lumo::FieldId>(field);
    auto const found = listed.find(id);
    Lumo::String const key = found == listed.end() ? "Ethernet1" : found->second.key;
    publisher.publishChangeRecursive(id, &key, nullptr);
    Lines const lines = linesOf(traced);
    if (lines != (found == listed.end() ? Lines() : found->second.lines)) {
      ADD_FAILURE() << "field " << field << ": " << testing::PrintToString(lines);
    }
  }
}

TEST(Dispatch, RunsTheListedHandlersOfEachFieldAndNoOthers) {
  for (Source const& source : sources) {
    SCOPED_TRACE(std::string(source.className) + " " + std::string(source.attribute));
    World world;
    Lumo::Ptr<Lumo::Node> const object = makerOf(source.className).make(world);
    publishAll(source.publisher(world), source.listed);
  }
}

TEST(Dispatch, RunsTheRebuildForTheCounterAlone) {
  World world;
  Lumo::Ptr<Lumo::Node> const object = makerOf("OCMstpMainStateSm").make(world);
  Lumo::ClassInspectData const& data = *Lumo::classOf(*object);
  auto const trigger = std::get<Lumo::Ptr<Lumo::Node>>(
      data.hideMe->inspectOperation(*object, *data.field("ocMstpTrigger")));
  publishAll(dynamic_cast<OCMstpTrigger&>(*trigger).publisher(), {{130, {"", {"874"}}}});
}

TEST(Dispatch, RunsNothingUnderTheMarkAndSweepFlag) {
  for (Source const& source : sources) {
    SCOPED_TRACE(std::string(source.className) + " " + std::string(source.attribute));
    World world;
    Lumo::Ptr<Lumo::Node> const object = makerOf(source.className).make(world);
    object->markAndSweepFlagSet(true);
    publishAll(source.publisher(world), {});
  }
}

// The entities that each class watches; a watched child is not among them.
std::map<std::string_view, std::vector<std::string_view>> const watchedEntities{
    {"OCGlobalConfigSm", {"inputConfig"}},
    {"OCGlobalVlanSyncher", {}},
    {"OCGlobalStateSm", {"config", "status", "vlanDir"}},
    {"OCPortConfigSm", {"inputPort"}},
    {"OCStpiStatusConfigSm", {"mst"}},
    {"OCInterfaceConfigDirSm", {"inputConfig", "status"}},
    {"OCStpiPortStatusSm", {"config", "port", "portStatus"}},
    {"OCStpiStatusSm", {"mst"}},
    {"OCInterfaceStateDirSm", {"status"}},
    {"OCMstiConfigSm", {"inputMsti"}},
    {"OCMstpConfigSm", {"inputMst"}},
    {"OCMstpConfigWrapperSm", {"inputConfig"}},
    {"OCMstpTrigger", {}},
    {"OCMstSm", {"mst"}},
    {"OCMstiStatusSm", {"msti"}},
    {"OCMstpMainStateSm", {"config", "status"}},
};

TEST(Subscription, IsToTheWatchedEntitiesAlone) {
  for (Maker const& maker : makers()) {
    SCOPED_TRACE(maker.className);
    World world;
    // Nothing that children would watch.
    world.inputConfig->portConfig.delAll();
    world.inputConfig->stpiConfig.delAll();
    world.inputMst->mstiConfig.delAll();
    world.status->stpiStatus.delAll();
    world.mst->stpiPortStatus.delAll();
    Lumo::Ptr<Lumo::Node> const object = maker.make(world);
    std::vector<std::string_view> watched;
    world.eachSource([&](std::string_view name, auto const& entity) {
      if (!entity->publisher().empty()) {
        watched.push_back(name);
      }
    });
    EXPECT_EQ(watched, watchedEntities.at(maker.className));
    world.eachTarget([&](std::string_view name, auto const& entity) {
      EXPECT_TRUE(entity->publisher().empty()) << name;
    });
  }
}

}  // namespace
}  // namespace Stp

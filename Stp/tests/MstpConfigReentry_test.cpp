// What a reader of the configured instances may do from inside a notification: drop the mirror or
// what it is made of, and configure more. The pass under way must neither touch what has gone nor
// leave the mirror unable to go on.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "Lumo/Ptr.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/tests/MstpConfigTestSupport.h"
#include "Stp/tests/TestSupport.h"

namespace Stp {
namespace {

using testing::IsEmpty;
using TestSupport::ActsOnce;
using TestSupport::Deed;
using TestSupport::DropsAndThrows;
using TestSupport::MstiRecords;
using TestSupport::Watch;

class MstpConfigReentry : public TestSupport::MstpConfigFixture {
 protected:
  // A mirror of a bridge with "Mst" and a configured instance that has a VLAN.
  void start() {
    input_ = Lumo::make<Input::Config>();
    directory_ = Lumo::make<OCMstiConfigDir>();
    mapIs({{10, 5}});
    runMstp();
    msti_ = configure("MST5", 5);
    configure("MST6", 6);
    mirror_ = oCMstpConfigWrapperSmFactory(input_, directory_);
  }

  void priorityChanges() {
    // Nothing here holds the entity meanwhile.
    Input::MstiConfig& msti = *msti_;
    msti.bridgePriorityIs(msti.bridgePriority() + 1);
  }

  // Whatever happened, the mirror must work once it has what it needs.
  void expectAliveAndWell() {
    mirror_->hasNotificationActiveIs(true);
    stopMstp();
    EXPECT_EQ(configMirrors() + leaves(), 0U);
    directory_->mstInstanceDelAll();
    runMstp();
    mapIs({});
    mapIs({{10, 5}});
    configure("MST6", 6)->bridgePriorityIs(4096);
    EXPECT_EQ(
        directory(),
        (MstiRecords{{0, {0, 32768, "1-9 11-4094"}}, {5, {5, 32768, "10"}}, {6, {6, 4096, ""}}}));
  }

  std::vector<Deed> causes() {
    return {
        {"priority", [this] { priorityChanges(); }},
        {"new configuration", [this] { configure("MST7", 7); }},
        {"configuration gone", [this] { unconfigure("MST6"); }},
        {"map",
         [this] {
           mapIs({{10, 8}, {11, 5}});
         }},
        {"Mst gone", [this] { stopMstp(); }},
        {"Mst back",
         [this] {
           auto const input = input_;
           auto const mst = mst_;
           input->stpiConfig.del("Mst");
           input->stpiConfig.is("Mst", mst);
         }},
    };
  }

  std::vector<Deed> reactions() {
    return {
        {"drops the mirror", [this] { mirror_ = nullptr; }},
        {"drops the mirror and every source",
         [this] {
           mirror_ = nullptr;
           msti_ = nullptr;
           mst_ = nullptr;
           input_ = nullptr;
         }},
        {"drops the child", [this] { mirror_->ocMstpConfigSmDel("Mst"); }},
        {"switches the mirror off", [this] { mirror_->hasNotificationActiveIs(false); }},
        {"configures another instance", [this] { configure("MST9", 9); }},
        {"changes the map",
         [this] {
           mapIs({{12, 9}});
         }},
    };
  }

  bool happens(Deed const& cause, Deed const& reaction, int atChange, int nested) {
    ActsOnce reader(reaction, atChange, nested, [this] { priorityChanges(); });
    std::vector<std::unique_ptr<Watch<OCMsti>>> records;
    auto const react = [&reader](auto...) { reader.changed(); };
    Watch<OCMstiConfigDir> const members(directory_, [&](Lumo::FieldId, void const* key,
                                                         void const*) {
      if (auto const present = directory_->mstInstance(*static_cast<std::uint16_t const*>(key))) {
        records.push_back(std::make_unique<Watch<OCMsti>>(present, react));
      }
      react();
    });
    for (auto const& instance : directory_->mstInstance()) {
      records.push_back(std::make_unique<Watch<OCMsti>>(instance.value, react));
    }
    cause.act();
    return reader.acted();
  }

  Lumo::Ptr<Input::MstiConfig> msti_;
  Lumo::Ptr<OCMstpConfigWrapperSm> mirror_;
};

TEST_F(MstpConfigReentry, IsSafeWhateverAReaderOfTheInstancesDrops) {
  auto const run = [this](Deed const& cause, Deed const& reaction, int atChange, int nested) {
    start();
    bool const acted = happens(cause, reaction, atChange, nested);
    if (mirror_) {
      expectAliveAndWell();
    }
    mirror_ = nullptr;
    EXPECT_THAT(TestSupport::liveObjects(), IsEmpty());
    return acted;
  };
  TestSupport::everyReaction(causes(), reactions(), 8, 1, run);
}

// Only a handler that is called directly has a caller whom the exception reaches.
TEST_F(MstpConfigReentry, SurvivesAReaderThatDropsEverythingAndThrows) {
  start();
  mirror_ = nullptr;
  auto child = oCMstpConfigSmFactory("Mst", mst_, input_, directory_);
  OCMstpConfigSm& called = *child;
  child->hasNotificationActiveIs(false);
  configure("MST7", 7);
  DropsAndThrows const reader(*directory_, [&] {
    child = nullptr;
    mst_ = nullptr;
    input_ = nullptr;
    directory_ = nullptr;
  });
  EXPECT_THROW(called.handleMstiConfig("MST7"), int);
  EXPECT_FALSE(child);
}

}  // namespace
}  // namespace Stp

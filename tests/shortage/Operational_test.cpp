// The mirrors of the operation while memory is short: what can't be made leaves nothing behind, and
// is made the next time.
#include <gtest/gtest.h>

#include <new>

#include "Memory.h"
#include "StpOper/tests/OperTestSupport.h"

namespace Stp::Oper {
namespace {

class OperationalShortage : public OperTest {
 protected:
  OperationalShortage() {
    mstpRuns();
    for (char const* const name : {"Cist", "MST5"}) {
      auto const tree = treeIs(name);
      for (char const* const port : {"E1", "E2"}) {
        tell<TreePort::Id::bpduSent>(portIs(tree, port), std::uint64_t{1});
        bridge->port.is(port, Lumo::make<Port>());
      }
    }
    tell<Bridge::Id::regionName>(bridge, Lumo::String("region"));
  }

  void targetsCleared() {
    treeConfig->recordDelAll();
    treeState->recordDelAll();
    portConfig->recordDelAll();
    portState->recordDelAll();
    portCounters->recordDelAll();
    protectionConfig->recordDelAll();
    protectionState->recordDelAll();
    mstpConfig->recordIs({});
    mstpState->recordIs({});
  }
  std::size_t records() const {
    return treeConfig->record().size() + treeState->record().size() + portConfig->record().size() +
           portState->record().size() + portCounters->record().size() +
           protectionConfig->record().size() + protectionState->record().size();
  }
  bool isWatched() const { return !bridge->publisher().empty() || !input->publisher().empty(); }

  // Makes it with less memory than it needs, one allocation more each time.
  template <class Make>
  void sweep(Make const& make, std::size_t expected) {
    { make(); }  // what a process makes once
    targetsCleared();
    for (unsigned allowed = 0;; ++allowed) {
      SCOPED_TRACE("after " + std::to_string(allowed));
      bool failed = false;
      {
        Lumo::Ptr<Lumo::Node> made;
        try {
          Shortage::Limit const limit(allowed);
          made = make();
        } catch (std::bad_alloc const&) {
          failed = true;
        }
        EXPECT_EQ(isWatched(), !failed);
      }
      EXPECT_FALSE(isWatched());
      EXPECT_EQ(TestSupport::liveObjects(), (std::map<std::string, std::uint64_t>()));
      { EXPECT_TRUE(make()); }
      EXPECT_EQ(records(), expected);
      if (!failed || HasFailure()) {
        EXPECT_GT(allowed, 0U);
        return;
      }
      targetsCleared();
    }
  }
};

TEST_F(OperationalShortage, OfTrees) {
  sweep(
      [this]() -> Lumo::Ptr<Lumo::Node> {
        return oCTreeDirSmFactory(input, bridge, treeConfig, treeState, portConfig, portState,
                                  portCounters);
      },
      1 + 2 + 4 + 4 + 2);
}

TEST_F(OperationalShortage, OfParameters) {
  sweep(
      [this]() -> Lumo::Ptr<Lumo::Node> {
        return oCProtocolParametersSmFactory(input, bridge, rstpConfig, rstpState, mstpConfig,
                                             mstpState);
      },
      0);
  EXPECT_EQ(mstpState->record().name, "region");
}

TEST_F(OperationalShortage, OfProtections) {
  sweep(
      [this]() -> Lumo::Ptr<Lumo::Node> {
        return oCProtectionDirSmFactory(bridge, protectionConfig, protectionState);
      },
      2 + 2);
}

}  // namespace
}  // namespace Stp::Oper

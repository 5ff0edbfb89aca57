// What becomes of a client's wish where something else keeps the configuration.
#include "agent/program/Session.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SessionKeeper : public MirroredSessionTest {
 protected:
  SessionKeeper() {
    session.keeperIs([this](Session::Wish const& wish, Session::Written written) {
      asked.push_back(text(wish({})));
      answer = std::move(written);
    });
  }

  /// Wishes for one VLAN more.
  void wish(std::uint16_t vlan) {
    session.write(
        [vlan](Stp::VlanSet present) {
          present.insert(vlan);
          return present;
        },
        [this, vlan](std::optional<std::string> const& refusal) {
          told.push_back(std::to_string(vlan) + ": " + refusal.value_or("written"));
        });
  }

  static std::string text(Stp::VlanSet const& vlans) {
    std::string text;
    for (unsigned vlan = vlans.next(0); vlan < Stp::VlanSet::size; vlan = vlans.next(vlan + 1)) {
      text.append(" ").append(std::to_string(vlan));
    }
    return text;
  }

  std::vector<std::string> asked;
  std::vector<std::string> told;
  Session::Written answer;
};

TEST_F(SessionKeeper, IsAskedForOneAfterTheOther) {
  wish(10);
  wish(11);
  wish(12);
  EXPECT_THAT(asked, ElementsAre(" 10"));
  EXPECT_THAT(told, IsEmpty());
  std::exchange(answer, nullptr)("no");
  EXPECT_THAT(told, ElementsAre("10: no"));
  EXPECT_THAT(asked, ElementsAre(" 10", " 11"));
  std::exchange(answer, nullptr)(std::nullopt);
  std::exchange(answer, nullptr)(std::nullopt);
  EXPECT_THAT(told, ElementsAre("10: no", "11: written", "12: written"));
  wish(13);
  EXPECT_THAT(asked, ElementsAre(" 10", " 11", " 12", " 13"));
}

TEST_F(SessionKeeper, AloneChangesAnything) {
  auto const before = target("ocGlobalConfig");
  wish(10);
  EXPECT_THAT(printed(), IsEmpty());
  answer("no");
  wish(10);
  EXPECT_THAT(asked, ElementsAre(" 10", " 10"));
  answer(std::nullopt);
  EXPECT_THAT(printed(), IsEmpty());
  EXPECT_EQ(target("ocGlobalConfig"), before);
}

TEST_F(SessionKeeper, LeavesNobodyWaitingWhenItGoes) {
  wish(10);
  wish(11);
  session.keeperGoes("it has gone");
  EXPECT_THAT(told, ElementsAre("10: it has gone", "11: it has gone"));
  wish(12);
  EXPECT_THAT(told, ElementsAre("10: it has gone", "11: it has gone", "12: it has gone"));
  EXPECT_THAT(asked, ElementsAre(" 10"));
  EXPECT_THAT(printed(), IsEmpty());
}

}  // namespace
}  // namespace Agent

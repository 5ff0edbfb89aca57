#include "Vel/Reinstantiation.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>

#include "Lumo/ModuleInspect.h"
#include "Lumo/Ptr.h"

namespace Vel {
namespace {

constexpr std::array fields{
    Lumo::FieldDescriptor{130, Lumo::FieldKind::key, "name", "Lumo::String"},
    Lumo::FieldDescriptor{131, Lumo::FieldKind::source, "portConfig", "Stp::PortConfig"},
};
constexpr std::array classes{
    Lumo::ClassInspectData{"Stp::Other", {}, nullptr},
    Lumo::ClassInspectData{"Stp::Child", fields, nullptr},
};
constexpr Lumo::ModuleInspectData module{"Module", "/src/Module", {}, classes};

class Probe final : public Lumo::Node {};

TEST(Reinstantiation, NamesTheClassAndTheArgument) {
  auto const stored = Lumo::make<Probe>();
  auto const given = Lumo::make<Probe>();
  try {
    Impl::throwMutatorReinstantiating({&module, 1}, 131, stored.get(), given.get());
  } catch (ReinstantiationException const& exception) {
    EXPECT_STREQ(exception.what(),
                 "Stp::Child exists with another portConfig (field 131): it can't be instantiated "
                 "again");
    EXPECT_EQ(exception.type(), (Lumo::VelTypeBase{&module, 1}));
    EXPECT_EQ(exception.field(), 131);
    EXPECT_EQ(exception.stored(), stored.get());
    EXPECT_EQ(exception.given(), given.get());
    EXPECT_EQ(stored->references(), 1U);
    EXPECT_EQ(given->references(), 1U);
  }
}

TEST(Reinstantiation, IsALogicErrorAndTakesAbsentEntities) {
  EXPECT_THROW(Impl::throwMutatorReinstantiating({&module, 1}, 131, nullptr, nullptr),
               std::logic_error);
}

TEST(Reinstantiation, NumbersWhatTheRegistryDoesNotKnow) {
  struct Case {
    Lumo::VelTypeBase type;
    char const* expected;
  };
  for (Case const& given : {
           Case{{&module, 0},
                "Stp::Other exists with another 7 (field 7): it can't be instantiated again"},
           Case{{&module, 2},
                "a child exists with another 7 (field 7): it can't be instantiated again"},
           Case{{}, "a child exists with another 7 (field 7): it can't be instantiated again"},
       }) {
    try {
      Impl::throwMutatorReinstantiating(given.type, 7, nullptr, nullptr);
    } catch (ReinstantiationException const& exception) {
      EXPECT_STREQ(exception.what(), given.expected);
    }
  }
}

}  // namespace
}  // namespace Vel

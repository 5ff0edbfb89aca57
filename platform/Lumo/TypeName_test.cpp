#include "Lumo/TypeName.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace Lumo {

struct TypeNameTestRecord {
  enum class Kind { one };
};

namespace {

static_assert(typeName<int>() == "int");
static_assert(typeName<TypeNameTestRecord>() == "Lumo::TypeNameTestRecord");
static_assert(typeName<TypeNameTestRecord::Kind>() == "Lumo::TypeNameTestRecord::Kind");

TEST(TypeName, NamesConstnessToo) {
  constexpr std::string_view name = typeName<TypeNameTestRecord const>();
  EXPECT_TRUE(name == "const Lumo::TypeNameTestRecord" || name == "Lumo::TypeNameTestRecord const")
      << name;
}

}  // namespace
}  // namespace Lumo

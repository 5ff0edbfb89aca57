#include "Lumo/ModuleInspect.h"

#include <gtest/gtest.h>

#include <array>

#include "Lumo/HideMe.h"

namespace Lumo {
namespace {

constexpr std::array fields{
    FieldDescriptor{130, FieldKind::key, "name", "Lumo::String"},
    FieldDescriptor{131, FieldKind::target, "target", "Stp::Target"},
    FieldDescriptor{132, FieldKind::operation, "handle", ""},
};
constexpr std::array classes{
    ClassInspectData{"Stp::First", {}, nullptr},
    ClassInspectData{"Stp::Second", fields, nullptr},
};
constexpr std::array<std::string_view, 2> strings{"Stp::First", "Stp::Second"};
constexpr ModuleInspectData firstModule{"FirstModule", "/src/First", strings, classes};
constexpr ModuleInspectData secondModule{"SecondModule", "/src/Second", {}, {}};

class Probe final : public Node {
 public:
  explicit Probe(VelTypeBase type) : type_(type) {}
  VelTypeBase typeData() const override { return type_; }

 private:
  VelTypeBase type_;
};

TEST(ModuleInspect, KnowsModulesInTheOrderInWhichTheyWereLoaded) {
  std::size_t const before = ModuleInspectData::modules().size();
  ModuleInspectData::loaded(secondModule);
  ModuleInspectData::loaded(firstModule);
  auto const modules = ModuleInspectData::modules();
  ASSERT_EQ(modules.size(), before + 2);
  EXPECT_EQ(modules[before], &secondModule);
  EXPECT_EQ(modules[before + 1], &firstModule);
}

TEST(ModuleInspect, FindsTheClassOfANode) {
  EXPECT_EQ(classOf(*make<Probe>(VelTypeBase{&firstModule, 1})), &firstModule.classes[1]);
  EXPECT_EQ(classOf(*make<Probe>(VelTypeBase{&firstModule, 0})), &firstModule.classes[0]);
  EXPECT_EQ(classOf(*make<Probe>(VelTypeBase{})), nullptr);
}

TEST(ModuleInspect, FindsFieldsByNameAndNumber) {
  ClassInspectData const& second = firstModule.classes[1];
  for (FieldDescriptor const& field : fields) {
    EXPECT_EQ(second.field(field.name), &field);
    EXPECT_EQ(second.field(field.id), &field);
  }
  EXPECT_EQ(second.field("nam"), nullptr);
  EXPECT_EQ(second.field(""), nullptr);
  EXPECT_EQ(second.field(FieldId{129}), nullptr);
  EXPECT_EQ(second.field(FieldId{133}), nullptr);
  EXPECT_EQ(firstModule.classes[0].field("name"), nullptr);
}

// Answers with the number of arguments that it got.
class CountsArguments final : public HideMe {
 public:
  using HideMe::inspectOperation;
  InspectValue inspectOperation(Node&, FieldDescriptor const&,
                                std::span<InspectValue const> arguments) const override {
    return std::uint64_t{arguments.size()};
  }
  Ptr<Node> genericIfConstructFromCtorArgs(std::span<InspectValue const>) const override {
    throw InspectException("no");
  }
  std::unique_ptr<ChildIterator> childIterator(Node&, FieldDescriptor const&) const override {
    return nullptr;
  }
};

TEST(HideMe, ReadsWithoutArgumentsWhereNoneAreGiven) {
  CountsArguments const inspector;
  HideMe const& hideMe = inspector;
  auto const node = make<Probe>(VelTypeBase{});
  EXPECT_EQ(std::get<std::uint64_t>(hideMe.inspectOperation(*node, fields[0])), 0U);
  std::array<InspectValue, 2> const arguments{String("a"), Ptr<Node>(node)};
  EXPECT_EQ(std::get<std::uint64_t>(hideMe.inspectOperation(*node, fields[0], arguments)), 2U);
  EXPECT_THROW(hideMe.genericIfConstructFromCtorArgs({}), std::invalid_argument);
}

}  // namespace
}  // namespace Lumo

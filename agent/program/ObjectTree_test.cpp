// What is shown of the library's objects and wiring.
#include "agent/program/ObjectTree.h"

#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "agent/program/TestSupport.h"
#include "agent/program/Wiring.h"
#include "agent/program/WiringGraph.h"
#include "agent/text/TextTable.h"

namespace Agent {
namespace {

using testing::HasSubstr;

class ObjectTree : public SessionTest {
 protected:
  void start(std::string const& name) { apply(R"({"op":"start","object":")" + name + "\"}"); }
  std::string tree() const { return objectTree(session.database(), session.mirror()); }
};

TEST_F(ObjectTree, NoObjectsMakeNoTree) {
  EXPECT_EQ(tree(), "");
}

TEST_F(ObjectTree, ObjectsStandWithTheirFieldsAndChildren) {
  apply(R"({"op":"create","path":["input","portConfig","Ethernet1"]})");
  apply(R"({"op":"create","path":["status","stpiStatus","Rst"]})");
  apply(R"({"op":"create","path":["status","stpiStatus","Rst","stpiPortStatus","Ethernet1"]})");
  start("OCInterfaceConfigDirSm");
  start("OCGlobalVlanSyncher");
  EXPECT_EQ(tree(), R"(OCGlobalVlanSyncher: inactive
  130 ocGlobalConfig writes ["ocGlobalConfig"]
  131 stpInputConfig writes ["input"]
OCInterfaceConfigDirSm: active
  130 stpInputConfig watches ["input"]
  131 stpStatus watches ["status"]
  132 externalIntfConfigDir writes ["ocInterfaceConfigDir"]
  133 portConfigSm owns 1
    OCPortConfigSm [Ethernet1]: active
      130 name key "Ethernet1"
      131 portConfig watches ["input","portConfig","Ethernet1"]
      132 externalIntf writes ["ocInterfaceConfigDir","interface","Ethernet1"]
  134 stpiStatusConfigSm owns 1
    OCStpiStatusConfigSm [Rst]: active
      130 name key "Rst"
      131 stpInputConfig holds ["input"]
      132 stpiStatus watches ["status","stpiStatus","Rst"]
      133 externalIntfConfigDir writes ["ocInterfaceConfigDir"]
)");
}

TEST_F(ObjectTree, SingleChildrenAndValuesAreShown) {
  start("OCMstpMainStateSm");
  EXPECT_THAT(tree(), HasSubstr("  134 ocMstSm owns none\n  135 ocMstiStatusSm owns 0\n"));
  apply(R"({"op":"create","path":["status","stpiStatus","Mst"]})");
  apply(R"({"op":"set","path":["status","activeProtocol"],"value":3})");
  EXPECT_THAT(tree(), HasSubstr("  133 ocMstpTrigger owns\n"
                                "    OCMstpTrigger: inactive\n"
                                "      130 counter value "));
  EXPECT_THAT(tree(), HasSubstr("  134 ocMstSm owns\n"
                                "    OCMstSm: active\n"
                                "      130 stpiStatus watches [\"status\",\"stpiStatus\",\"Mst\"]\n"
                                "      131 ocMstpTrigger holds an object of Stp::OCMstpTrigger\n"));
}

TEST_F(ObjectTree, FlagsAreThoseOfTheMoment) {
  start("OCGlobalConfigSm");
  auto const object = session.mirror().object(*topLevelClass("OCGlobalConfigSm"));
  object->markAndSweepFlagSet(true);
  EXPECT_THAT(tree(), HasSubstr("OCGlobalConfigSm: active, zombie\n"));
  Lumo::hasNotificationActiveSet(*object, false);
  object->markAndSweepFlagSet(false);
  EXPECT_THAT(tree(), HasSubstr("OCGlobalConfigSm: inactive\n"));
}

TEST_F(ObjectTree, EntityThatLeftTheDatabaseIsNoneOfIts) {
  apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface","Ethernet1"]})");
  apply(R"({"op":"create","path":["input","portConfig","Ethernet1"]})");
  start("OCInterfaceConfigDirSm");
  apply(R"({"op":"delete","path":["ocInterfaceConfigDir","interface","Ethernet1"]})");
  EXPECT_THAT(tree(), HasSubstr("132 externalIntf writes an entity outside the database\n"));
}

TEST_F(ObjectTree, AllocationsAreCountedByClass) {
  EXPECT_THAT(allocationTable(), HasSubstr("| Stp::OCGlobalConfigSm             | 0    | "));
  start("OCGlobalConfigSm");
  EXPECT_THAT(allocationTable(), HasSubstr("| Stp::OCGlobalConfigSm             | 1    | "));
}

TEST(TextTable, ColumnsAreAsWideAsTheirWidestCell) {
  EXPECT_EQ(textTable({{"id", "name"}, {"7", "a longer one"}}),
            "| id  | name         |\n"
            "| --- | ------------ |\n"
            "| 7   | a longer one |\n");
}

std::string contentOf(std::string const& path) {
  std::ifstream file(path);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

TEST(Wiring, PageOfTheDocumentationIsFresh) {
  EXPECT_EQ(contentOf(STP_DOC_DIR "/wiring.md"), wiringPage())
      << "write it anew: stp-openconfig-agent inspect --wiring >doc/wiring.md";
}

// Pictures of one graph differ from one Graphviz to the next: each holds the graph it was made of.
TEST(Wiring, PictureOfTheDocumentationIsFresh) {
  constexpr std::string_view begin = "<metadata><![CDATA[";
  std::string const picture = contentOf(STP_DOC_DIR "/wiring.svg");
  auto const start = picture.find(begin);
  ASSERT_NE(start, std::string::npos);
  auto const text = start + begin.size();
  EXPECT_EQ(picture.substr(text, picture.find("]]></metadata>", text) - text), wiringGraph())
      << "draw it anew: tools/draw-wiring";
}

TEST(Wiring, GraphShowsWatchingWritingOwningAndHolding) {
  std::string const graph = wiringGraph();
  for (std::string const edge :
       {"\"PortConfig\":270:e -> \"OCStpiPortStatusSm\":137:w;",
        "\"OCGlobalStateSm\":0:e -> \"OCGlobalState\":0:w;",
        "\"OCGlobalVlanSyncher\":0:w -> \"Input::Config\":0:e [constraint=false];",
        "\"OCMstpTrigger\":130:e -> \"OCMstpMainStateSm\":",
        "\"OCStpiStatusSm\":0:e -> \"OCStpiPortStatusSm\":0:w [style=dashed",
        "\"OCMstSm\":0:e -> \"OCMstpTrigger\":0:e [constraint=false];"}) {
    EXPECT_THAT(graph, HasSubstr("  " + edge));
  }
}

}  // namespace
}  // namespace Agent

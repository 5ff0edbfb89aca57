// The rows of one switch as each of the writers of these tables has them, and the document that
// comes of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "agent/sources/sonic/SonicTestSupport.h"
#include "agent/views/document/OpenConfigView.h"

namespace Agent::Sonic {
namespace {

// The hashes that commands for redis-cli write, a command a line, without quotes.
std::vector<RowRead> rowsOf(std::filesystem::path const& commands) {
  std::map<std::string, Store> const stores{{"0", application}, {"4", configuration}, {"6", state}};
  std::vector<RowRead> rows;
  Store store = application;
  std::ifstream file(commands);
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string command;
    std::string key;
    words >> command >> key;
    if (command == "SELECT") {
      store = stores.at(key);
    } else if (command == "HSET") {
      Fields fields;
      for (std::string field, value; words >> field >> value;) {
        fields.insert_or_assign(field, value);
      }
      rows.push_back({store, key, fields});
    } else {
      EXPECT_EQ(command, "SADD") << line;
      rows.push_back({store, key, std::nullopt, true});
    }
  }
  return rows;
}

Json documentIn(std::filesystem::path const& file) {
  std::ifstream stream(file);
  return Json::parse(stream);
}

TEST(SonicDialects, SayTheSameOfOneSwitch) {
  auto const folder = std::filesystem::path(STP_CAPTURES_DIR).parent_path() / "captures-sonic";
  for (char const* const dialect : {"cli", "yang", "hld"}) {
    SCOPED_TRACE(dialect);
    auto const rows = rowsOf(folder / dialect / "rows.redis");
    ASSERT_GT(rows.size(), 20U);
    TestSession read;
    read.apply(R"({"op":"start"})");
    Mapping mapping;
    mapping.scanned(rows);
    read.session.apply(mapping.differences(read.sources()));
    EXPECT_THAT(mapping.takeComplaints(), testing::IsEmpty());
    EXPECT_EQ(Json::parse(openConfigView(read.targets()).dump()).dump(2),
              documentIn(folder / "document.json").dump(2));
  }
}

}  // namespace
}  // namespace Agent::Sonic

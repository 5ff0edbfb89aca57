// Every leaf of the document of every captured moment, as somebody worked it out of what the engine
// said (leaves/*.json). A leaf's line there tells which value it has from which moment on, a moment
// by the number that its folder begins with; null is no leaf.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <string>

#include "Process.h"

namespace Test {
namespace {

using nlohmann::json;
using std::filesystem::path;
using Leaves = std::map<std::string, json>;

json literalsOf(std::string const& series) {
  std::ifstream file(path(STP_LEAVES_DIR) / (series + ".json"));
  return json::parse(file);
}

std::string numberOf(path const& moment) {
  return moment.filename().string().substr(0, 2);
}

Leaves expectedAt(std::string const& number, json const& literals) {
  Leaves leaves;
  for (auto const& [container, rows] : literals.items()) {
    for (auto const& [leaf, values] : rows.items()) {
      json value;
      for (auto const& [from, told] : values.items()) {
        value = from <= number ? told : value;
      }
      if (!value.is_null()) {
        leaves[container + "/" + leaf] = value;
      }
    }
  }
  return leaves;
}

// What is empty is taken for a leaf, too, since it must not be there.
void collect(json const& node, std::string const& place, Leaves& leaves) {
  bool const isList = node.is_array() && !node.empty() && node.front().is_object();
  if (isList) {
    for (json const& entry : node) {
      std::string const key = entry.contains("mst-id") ? "mst-id" : "name";
      json const& value = entry.at(key);
      std::string const text = value.is_string() ? value.get<std::string>() : value.dump();
      collect(entry, place + "[" + key + "=" + text + "]", leaves);
    }
  } else if (node.is_object() && !node.empty()) {
    for (auto const& [name, member] : node.items()) {
      collect(member, place + "/" + name, leaves);
    }
  } else {
    EXPECT_TRUE(leaves.emplace(place, node).second) << place << " is there twice";
  }
}

std::chrono::nanoseconds sinceEpoch() {
  return std::chrono::system_clock::now().time_since_epoch();
}

// The literal of a time is how long ago it was: the replay's own time decides what is told.
void tellAges(Leaves& leaves, Leaves const& expected, std::chrono::nanoseconds earliest,
              std::chrono::nanoseconds latest) {
  static std::regex const sinceEpochInNs("[0-9]{19}");
  for (auto& [place, value] : leaves) {
    auto const wanted = expected.find(place);
    if (!place.ends_with("/last-topology-change") || wanted == expected.end() ||
        !value.is_string() || !std::regex_match(value.get<std::string>(), sinceEpochInNs)) {
      continue;
    }
    std::chrono::seconds const age(std::stoll(wanted->second.get<std::string>()));
    auto const replayed = std::chrono::nanoseconds(std::stoll(value.get<std::string>())) + age;
    if (earliest <= replayed && replayed <= latest) {
      value = std::to_string(age.count()) + " s ago";
    }
  }
}

// Values are compared as they are written: a number in quotes is another thing than one without.
std::string told(Leaves const& leaves, std::string const& place) {
  auto const found = leaves.find(place);
  return found == leaves.end() ? "no leaf" : found->second.dump();
}

void compare(std::string const& bridge, path const& captures) {
  json const literals = literalsOf(captures.filename());
  std::filesystem::directory_iterator const folders(captures);
  std::set<path> const moments(begin(folders), end(folders));
  std::set<std::string> numbers;
  for (path const& moment : moments) {
    numbers.insert(numberOf(moment));
    auto const before = sinceEpoch();
    Outcome const outcome = runAgent({"replay", "--bridge", bridge, moment});
    auto const after = sinceEpoch();
    ASSERT_EQ(outcome.status, 0) << moment << ": " << outcome.err;
    Leaves const expected = expectedAt(numberOf(moment), literals);
    Leaves leaves;
    collect(json::parse(outcome.out), "", leaves);
    tellAges(leaves, expected, before, after);
    Leaves all = leaves;
    all.insert(expected.begin(), expected.end());
    for (auto const& [place, value] : all) {
      EXPECT_EQ(told(leaves, place), told(expected, place)) << moment.filename() << ": " << place;
    }
  }
  std::set<std::string> named;
  for (json const& rows : literals) {
    for (json const& values : rows) {
      for (auto const& [from, value] : values.items()) {
        named.insert(from);
      }
    }
  }
  EXPECT_EQ(named, numbers) << "no moment but these, and none without a leaf of its own";
}

TEST(CaptureLeaves, OfBridge0AreThoseWrittenDown) {
  compare("br0", STP_CAPTURES_DIR);
}

TEST(CaptureLeaves, OfBridge4AreThoseWrittenDown) {
  compare("br4", STP_OPERATIONAL_CAPTURES_DIR);
}

}  // namespace
}  // namespace Test

// What the tests of SONiC's rows share: the databases, written in a line each, a mapping that
// follows them, and the sources that it leads.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "agent/program/TestSupport.h"
#include "agent/sources/sonic/Mapping.h"
#include "agent/text/Values.h"

namespace Agent::Sonic {

/// All that a tree of sources says; what is in a collection, in the order of the keys.
class ShownSources {
 public:
  static Json of(SourceView const& sources) {
    Json result = Json::object();
    std::apply(
        [&](auto const&... root) {
          ((result[std::string(root.name)] = entity(*(sources.*root.entity))), ...);
        },
        SourceView::roots());
    return result;
  }

 private:
  template <class Entity>
  static Json entity(Entity const& shown) {
    Json result = Json::object();
    std::apply([&](auto const&... row) { (add(result[std::string(row.name)], shown, row), ...); },
               Entity::attributes);
    return result;
  }
  template <class Entity, class Row>
  static void add(Json& to, Entity const& shown, Row const& row) {
    if constexpr (requires { row.get; }) {
      to = value((shown.*row.get)());
    } else if constexpr (requires { row.members; }) {
      to = Json::object();
      for (auto const& member : (shown.*row.members)()) {
        to[member.key.toString()] = entity(*member.value);
      }
    } else {
      to = Json::object();
      for (std::uint16_t const vlan : (shown.*row.entries)().inOrder()) {
        if constexpr (requires { shown.disabledVlan(vlan); }) {
          to[std::to_string(vlan)] = *shown.disabledVlan(vlan);
        } else {
          to[std::to_string(vlan)] = true;
        }
      }
    }
  }
  template <class Value>
  static Json value(Value const& shown) {
    if constexpr (std::is_same_v<Value, Stp::MstConfig>) {
      Json pairs = Json::array();
      for (std::size_t at = 0; at + 3 < shown.vidToMsti.size(); at += 4) {
        pairs.push_back({shown.vidToMsti[at] << 8U | shown.vidToMsti[at + 1],
                         shown.vidToMsti[at + 2] << 8U | shown.vidToMsti[at + 3]});
      }
      return {{"regionName", shown.regionName.toString()},
              {"revision", shown.revision},
              {"vidToMsti", std::move(pairs)}};
    } else {
      return Json::parse(showValue(shown).dump());
    }
  }
};

/// Databases, as they lie in Redis.
class Databases {
 public:
  using Rows = std::map<std::pair<Store, std::string>, Fields>;

  Rows const& rows() const { return rows_; }

  RowRead write(Store store, std::string const& key, Fields const& fields) {
    Fields& row = rows_[{store, key}];
    for (auto const& [field, value] : fields) {
      row.insert_or_assign(field, value);
    }
    return {store, key, row};
  }
  RowRead erase(Store store, std::string const& key) {
    rows_.erase({store, key});
    return {store, key, std::nullopt};
  }
  std::vector<RowRead> all() const {
    std::vector<RowRead> result;
    for (auto const& [key, fields] : rows_) {
      result.push_back({key.first, key.second, fields});
    }
    return result;
  }

 private:
  Rows rows_;
};

inline constexpr Store application = Store::application;
inline constexpr Store configuration = Store::configuration;
inline constexpr Store state = Store::state;

/// Rows of few ports, instances and VLANs, so that they meet often, some of which can't be read.
class RandomRows {
 public:
  explicit RandomRows(std::uint64_t seed) : random_(seed) {}

  RowRead next(Databases& databases) {
    auto const store =
        oneOf<Store>({application, application, configuration, configuration, state});
    std::string const key = keyIn(store);
    if (oneIn(3)) {
      return databases.erase(store, key);
    }
    Fields fields;
    for (int count = static_cast<int>(random_() % 4); count > 0; --count) {
      fields.insert_or_assign(
          oneOf<char const*>({"mode", "name", "revision", "bridge_priority", "vlan_list", "vlan@",
                              "edge_port", "portfast", "bpdu_guard", "link_type", "enabled",
                              "state", "role", "port_state", "path_cost", "port_fast"}),
          oneOf<char const*>({"true", "false", "yes", "no", "shared", "auto", "4096", "1-3", "2,",
                              "3", "ok", "ROOT", "FORWARDING", "DISABLED", "", "?", "\xFF"}));
    }
    if (key == "STP|GLOBAL") {
      fields["mode"] = oneOf<char const*>({"mst", "mst", "mst", "pvst", "rpvst", "rstp", "?"});
    }
    return databases.write(store, key, fields);
  }

  bool oneIn(unsigned count) { return random_() % count == 0; }

 private:
  template <class Value>
  Value oneOf(std::vector<Value> const& values) {
    return values.at(random_() % values.size());
  }
  std::string port() { return oneOf<char const*>({"E1", "E2", "E3"}); }
  std::string id() { return std::to_string(random_() % 4); }
  std::string vlan() { return "Vlan" + std::to_string(1 + random_() % 3); }
  std::string keyIn(Store store) {
    if (store == state) {
      return "VLAN_TABLE|" + vlan();
    }
    if (store == configuration) {
      return oneOf<std::string>({"STP|GLOBAL", "STP_MST|GLOBAL",
                                 "STP_MST_INST|MST_INSTANCE|" + id(),
                                 "STP_MST_INST|MST_INSTANCE:Instance" + id(),
                                 "STP_MST_INST|" + id(), "STP_PORT|" + port(), "STP_PORT|" + port(),
                                 "STP_VLAN|" + vlan(), "VLAN|" + vlan(), "STP_VLAN|VlanX"});
    }
    return oneOf<std::string>({"_", "_", ""}) +
           oneOf<std::string>(
               {"STP_MST_INST_TABLE:" + id(), "STP_MST_PORT_TABLE:" + id() + ":" + port(),
                "STP_MST_PORT_TABLE:0:" + port(), "STP_VLAN_TABLE:" + vlan(),
                "STP_VLAN_PORT_TABLE:" + vlan() + ":" + port(), "STP_PORT_TABLE:" + port()});
  }

  std::mt19937_64 random_;
};

/// Databases that are followed from when they are empty.
class SonicTest : public SessionTest {
 protected:
  SonicTest() {
    mapping.scanned({});
    follow();
  }

  /// Writes fields of a row, and has the sources follow.
  void write(Store store, std::string const& key, Fields const& fields = {{"NULL", "NULL"}}) {
    RowRead const row = databases.write(store, key, fields);
    mapping.changed({&row, 1});
    follow();
  }
  void erase(Store store, std::string const& key) {
    RowRead const row = databases.erase(store, key);
    mapping.changed({&row, 1});
    follow();
  }
  void follow() {
    session.apply(mapping.differences(sources()));
    EXPECT_TRUE(mapping.differences(sources()).empty());
  }

  /// What is at a place in the sources: "/input/mode".
  Json at(std::string const& place) const {
    Json const all = ShownSources::of(sources());
    Json::json_pointer const pointer(place);
    return all.contains(pointer) ? all.at(pointer) : Json("nothing is there");
  }
  static Json absent() { return "nothing is there"; }

  /// What a scan of the same databases comes to when nothing was known before.
  Json fresh() const {
    Mapping anew;
    anew.scanned(databases.all());
    Database database;
    database.apply(anew.differences(database.sources()));
    return ShownSources::of(database.sources());
  }

  std::vector<std::string> complaints() { return mapping.takeComplaints(); }

  Databases databases;
  Mapping mapping;
};

}  // namespace Agent::Sonic

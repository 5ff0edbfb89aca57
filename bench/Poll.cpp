// What a look at the engine costs the agent when nothing has changed: its answers are read and
// compared with the state. The texts are generated, for so many ports and MST instances.
#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "agent/sources/engine/EngineDifference.h"
#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/state/Database.h"
#include "bench/World.h"

namespace Bench {

namespace {

using Answers = std::map<std::string, std::string>;

// As the engine prints it: every value is a string.
std::string members(std::initializer_list<std::pair<char const*, std::string>> all) {
  std::string text;
  for (auto const& [name, value] : all) {
    text.append(text.empty() ? "" : ",").append("\"").append(name).append("\":\"");
    text.append(value).append("\"");
  }
  return text;
}

std::string const address = ".000.52:05:0B:AE:5C:AA";

std::string portDetail(unsigned port) {
  std::string const root = "4" + address;
  std::string const id = "8." + std::to_string(100 + port);
  return "{" +
         members({{"port", portName(port).toString()},
                  {"bridge", "br0"},
                  {"enabled", "yes"},
                  {"role", "Designated"},
                  {"port-id", id},
                  {"state", "forwarding"},
                  {"external-port-cost", "2000"},
                  {"internal-port-cost", "2000"},
                  {"admin-external-cost", "0"},
                  {"admin-internal-cost", "0"},
                  {"designated-root", root},
                  {"dsgn-external-cost", "0"},
                  {"dsgn-regional-root", root},
                  {"dsgn-internal-cost", "0"},
                  {"designated-bridge", root},
                  {"designated-port", id},
                  {"admin-edge-port", "no"},
                  {"auto-edge-port", "yes"},
                  {"oper-edge-port", "no"},
                  {"topology-change-ack", "no"},
                  {"point-to-point", "yes"},
                  {"admin-point-to-point", "auto"},
                  {"restricted-role", "no"},
                  {"restricted-TCN", "no"},
                  {"port-hello-time", "2"},
                  {"disputed", "no"},
                  {"bpdu-guard-port", "no"},
                  {"bpdu-guard-error", "no"},
                  {"bpdu-filter-port", "no"},
                  {"network-port", "no"},
                  {"ba-inconsistent", "no"},
                  {"num-tx-bpdu", "123456"},
                  {"num-rx-bpdu", "7"},
                  {"num-rx-bpdu-filtered", "0"},
                  {"num-tx-tcn", "9"},
                  {"num-rx-tcn", "10"},
                  {"num-transition-fwd", "9"},
                  {"num-transition-blk", "9"},
                  {"received-bpdu", "no"},
                  {"received-stp", "no"},
                  {"received-rstp", "yes"},
                  {"received-tc-ack", "no"},
                  {"received-tcn", "no"},
                  {"send-rstp", "yes"}}) +
         "}";
}

std::string tree(unsigned instance) {
  return "{" +
         members({{"bridge", "br0"},
                  {"mstid", std::to_string(instance)},
                  {"bridge-id", "8" + address},
                  {"regional-root", "8" + address},
                  {"root-port", "Ethernet1 (#1)"},
                  {"internal-path-cost", "2000"},
                  {"time-since-topology-change", "33"},
                  {"topology-change-count", "3"},
                  {"topology-change", "no"},
                  {"topology-change-port", "Ethernet2"},
                  {"last-topology-change-port", "Ethernet1"}}) +
         "}";
}

Answers answers(unsigned ports, unsigned instances) {
  Answers all;
  all["showbridge.json"] = "[{" +
                           members({{"bridge", "br0"},
                                    {"stp-enabled", "yes"},
                                    {"enabled", "yes"},
                                    {"bridge-id", "4" + address},
                                    {"designated-root", "4" + address},
                                    {"root-port", ""},
                                    {"force-protocol-version", "mstp"},
                                    {"time-since-topology-change", "33"},
                                    {"topology-change-port", "Ethernet1"},
                                    {"last-topology-change-port", "Ethernet2"}}) +
                           "}]";
  std::string details;
  for (unsigned port = 0; port < ports; ++port) {
    details += (details.empty() ? "" : ",") + portDetail(port);
  }
  all["showportdetail.json"] = "[" + details + "]";
  std::string ids;
  std::string fids;
  std::string vlans;
  for (unsigned instance = 0; instance <= instances; ++instance) {
    std::string const id = std::to_string(instance);
    std::string const first = std::to_string(instance * 100 + 1);
    std::string const last = std::to_string(instance * 100 + 50);
    all["showtree-" + id + ".json"] = tree(instance);
    ids += (ids.empty() ? "\"" : ",\"") + id + "\"";
    fids += (fids.empty() ? "" : ",") + (R"({"mstid":")" + id + R"(","fid":[ ")" + id + "\"]}");
    vlans += (vlans.empty() ? "" : ",") +
             (R"({"fid":")" + id + R"(","vid":[ ")" + first + "-" + last + "\"]}");
  }
  all["showmstilist.json"] = R"({"bridge":"br0","mstids":[)" + ids + "]}";
  all["showfid2mstid.json"] = R"({"bridge":"br0","fid2mstid":[)" + fids + "}";
  all["showvid2fid.json"] = R"({"bridge":"br0","vid2fid":[)" + vlans + "}";
  all["showmstconfid.json"] =
      R"({"bridge":"br0","format-selector":"0","configuration-name":"west","revision-level":"7"})";
  return all;
}

Answers answers(benchmark::State const& state) {
  return answers(unsigned(state.range(0)), unsigned(state.range(1)));
}

Agent::EngineSnapshot parsed(Answers const& all) {
  return Agent::parseSnapshot(
      [&all](std::string const& file) { return std::optional(all.at(file)); }, "br0");
}

// The least that reading can cost: each byte is looked at once.
void onePass(benchmark::State& state) {
  Answers const all = answers(state);
  std::size_t bytes = 0;
  for ([[maybe_unused]] auto const& iteration : state) {
    for (auto const& [file, text] : all) {
      std::uint32_t hash = 0;
      for (char const c : text) {
        hash = hash * 31 + static_cast<unsigned char>(c);
      }
      benchmark::DoNotOptimize(hash);
    }
  }
  for (auto const& [file, text] : all) {
    bytes += text.size();
  }
  state.counters["bytes"] = static_cast<double>(bytes);
}

void unchanged(benchmark::State& state) {
  Answers const all = answers(state);
  Agent::Database database;
  database.apply(Agent::differences(parsed(all), database.sources()));
  std::uint64_t const before = heapAllocations;
  std::size_t changes = 0;
  for ([[maybe_unused]] auto const& iteration : state) {
    changes += Agent::differences(parsed(all), database.sources()).size();
  }
  if (changes != 0) {
    state.SkipWithError("something changed");
  }
  state.counters["allocations"] =
      static_cast<double>(heapAllocations - before) / double(state.iterations());
}

void difference(benchmark::State& state) {
  Agent::EngineSnapshot const snapshot = parsed(answers(state));
  Agent::Database database;
  database.apply(Agent::differences(snapshot, database.sources()));
  for ([[maybe_unused]] auto const& iteration : state) {
    benchmark::DoNotOptimize(Agent::differences(snapshot, database.sources()));
  }
}

}  // namespace

BENCHMARK(onePass)->Name("poll/floor")->Args({4, 2})->Args({60, 32});
BENCHMARK(unchanged)->Name("poll/unchanged")->Args({4, 2})->Args({60, 32});
BENCHMARK(difference)->Name("poll/difference")->Args({4, 2})->Args({60, 32});

}  // namespace Bench

#include "Comparison.h"

#include <array>
#include <sstream>
#include <string_view>

namespace Harness {

namespace {

bool same(Stp::SharedList<Stp::VlanIdOrRange> const& list, Model::VlanList const& entries) {
  return std::ranges::equal(list, entries, [](auto const& real, Model::VlanEntry const& entry) {
    if (real.tag() == Stp::VlanIdOrRange::Tag::vlanId) {
      return !entry.range && real.vlanId().value() == entry.first;
    }
    return entry.range && real.vlanRange().first.value() == entry.first &&
           real.vlanRange().last.value() == entry.last;
  });
}

bool same(Stp::OCGlobalContainer const& real, Model::GlobalRecord const& record) {
  return std::ranges::equal(real.enabledProtocol, record.enabledProtocol, {},
                            [](auto protocol) { return static_cast<int>(protocol); }) &&
         real.bpduGuard == record.bpduGuard && same(real.disabledVlan, record.disabledVlan);
}

template <class Real>
bool sameInterface(Real const& real, Model::InterfaceRecord const& record) {
  return real.name == interfaceId(record.name) &&
         static_cast<int>(real.linkType) == record.linkType &&
         static_cast<int>(real.edgePort) == record.edgePort &&
         static_cast<int>(real.bpduGuard) == record.bpduGuard && real.filler == 0;
}

bool same(Stp::InterfaceConfig const& real, Model::InterfaceRecord const& record) {
  return sameInterface(real, record);
}
bool same(Stp::InterfaceState const& real, Model::InterfaceRecord const& record) {
  return sameInterface(real, record);
}
bool same(Stp::OCMstiRecord const& real, Model::MstiRecord const& record) {
  return real.mstId == record.mstId && real.bridgePriority.value() == record.bridgePriority &&
         same(real.vlan, record.vlan);
}

void print(std::ostream& out, Stp::SharedList<Stp::VlanIdOrRange> const& list) {
  for (Stp::VlanIdOrRange const& entry : list) {
    if (entry.tag() == Stp::VlanIdOrRange::Tag::vlanId) {
      out << ' ' << entry.vlanId().value();
    } else {
      out << ' ' << entry.vlanRange().first.value() << '-' << entry.vlanRange().last.value();
    }
  }
}

void print(std::ostream& out, Model::VlanList const& list) {
  for (Model::VlanEntry const& entry : list) {
    out << ' ' << entry.first;
    if (entry.range) {
      out << '-' << entry.last;
    }
  }
}

void print(std::ostream& out, Stp::OCGlobalContainer const& record) {
  out << "protocols";
  for (auto const protocol : record.enabledProtocol) {
    out << ' ' << static_cast<int>(protocol);
  }
  out << ", guard " << record.bpduGuard << ", disabled VLANs";
  print(out, record.disabledVlan);
}

void print(std::ostream& out, Model::GlobalRecord const& record) {
  out << "protocols";
  for (int const protocol : record.enabledProtocol) {
    out << ' ' << protocol;
  }
  out << ", guard " << record.bpduGuard << ", disabled VLANs";
  print(out, record.disabledVlan);
}

template <class Record>
void printInterface(std::ostream& out, std::string_view name, Record const& record) {
  out << "name " << (name.empty() ? "-" : name) << ", link type "
      << static_cast<int>(record.linkType) << ", edge port " << static_cast<int>(record.edgePort)
      << ", guard " << static_cast<int>(record.bpduGuard);
}

void print(std::ostream& out, Stp::InterfaceConfig const& record) {
  printInterface(out, record.name.stringValue().toString(), record);
}
void print(std::ostream& out, Stp::InterfaceState const& record) {
  printInterface(out, record.name.stringValue().toString(), record);
}
void print(std::ostream& out, Model::InterfaceRecord const& record) {
  printInterface(out, record.name < 0 ? "" : Model::portName(record.name), record);
}

void print(std::ostream& out, Stp::OCMstiRecord const& record) {
  out << "id " << record.mstId << ", priority " << record.bridgePriority.value() << ", VLANs";
  print(out, record.vlan);
}
void print(std::ostream& out, Model::MstiRecord const& record) {
  out << "id " << record.mstId << ", priority " << record.bridgePriority << ", VLANs";
  print(out, record.vlan);
}

template <class Real, class Record>
void compare(std::ostream& out, std::string const& what, Real const* real, Record const* record) {
  if (real != nullptr && record != nullptr && same(*real, *record)) {
    return;
  }
  out << "  " << what << "\n    library  ";
  real == nullptr ? void(out << "none") : print(out, *real);
  out << "\n    model    ";
  record == nullptr ? void(out << "none") : print(out, *record);
  out << '\n';
}

// Compares a directory: by the model's keys, and by the number of members.
template <class Records, class Find, class Key>
void compareAll(std::ostream& out, std::string_view what, std::size_t size, Records const& records,
                Find const& find, Key const& nameOf) {
  for (auto const& [key, record] : records) {
    compare(out, std::string(what) + " " + nameOf(key), find(key), &record);
  }
  if (size != records.size()) {
    out << "  " << what << ": the library has " << size << ", the model " << records.size() << '\n';
  }
}

template <class Number>
void compareNumber(std::ostream& out, std::string_view what, Number library, Number model) {
  if (library != model) {
    out << "  " << what << "\n    library  " << library << "\n    model    " << model << '\n';
  }
}

void compareInterfaces(std::ostream& out, Library const& library, Model::Targets const& targets) {
  auto const& directory = *library.targets().interfaces;
  std::map<int, Model::InterfaceRecord> records;
  for (auto const& [port, interface] : targets.interfaces) {
    records.emplace(port, interface.record);
  }
  compareAll(
      out, "interface config", directory.interface().size(), records,
      [&](int port) {
        auto const interface = directory.interface(interfaceId(port));
        return interface ? &interface->config() : nullptr;
      },
      Model::portName);
  auto const& states = *library.targets().interfaceStates;
  compareAll(
      out, "interface state", states.state().size(), targets.interfaceStates,
      [&](int port) { return states.state(interfaceId(port)); }, Model::portName);
}

void compareMstis(std::ostream& out, Library const& library, Model::Targets const& targets) {
  auto const& directory = *library.targets().mstis;
  std::map<int, Model::MstiRecord> records;
  for (auto const& [id, msti] : targets.mstis) {
    records.emplace(id, msti.record);
  }
  compareAll(
      out, "MST instance config", directory.mstInstance().size(), records,
      [&](int id) {
        auto const msti = directory.mstInstance(static_cast<std::uint16_t>(id));
        return msti ? &msti->config() : nullptr;
      },
      Model::mstiName);
  auto const& states = *library.targets().mstiStates;
  compareAll(
      out, "MST instance state", states.state().size(), targets.mstiStates,
      [&](int id) { return states.state(static_cast<std::uint16_t>(id)); }, Model::mstiName);
}

void compareWrites(std::ostream& out, Model::Writes const& library, Model::Writes const& model) {
  compareNumber(out, "writes of global config", library.globalConfig, model.globalConfig);
  compareNumber(out, "writes of global state", library.globalState, model.globalState);
  compareNumber(out, "interfaces come and gone", library.interfaceMembers, model.interfaceMembers);
  compareNumber(out, "writes of interface config", library.interfaceRecords,
                model.interfaceRecords);
  compareNumber(out, "writes of interface state", library.interfaceStates, model.interfaceStates);
  compareNumber(out, "MST instances come and gone", library.mstiMembers, model.mstiMembers);
  compareNumber(out, "writes of MST instance config", library.mstiRecords, model.mstiRecords);
  compareNumber(out, "writes of MST instance state", library.mstiStates, model.mstiStates);
}

void compareDisabledVlans(std::ostream& out, Stp::VlanTable const& real,
                          Model::VlanTable const& table) {
  unsigned last = 0;
  std::size_t entries = 0;
  for (unsigned vlan = real.entries().ids().next(0); vlan < Stp::VlanSet::size;
       vlan = real.entries().ids().next(vlan + 1)) {
    ++entries;
    last = vlan;
    if (!table.present[vlan] ||
        table.disabled[vlan] != real.trueEntries().contains(static_cast<std::uint16_t>(vlan))) {
      out << "  entry " << vlan << " of the input configuration's disabled VLANs\n";
    }
  }
  compareNumber(
      out,
      "entries of the input configuration's disabled VLANs, the last is " + std::to_string(last),
      entries, table.present.count());
}

}  // namespace

std::string difference(Library const& library, Model::State const& state) {
  thread_local std::ostringstream out;
  out.str("");
  Targets const& targets = library.targets();
  compare(out, "global config", &targets.globalConfig->config(), &state.targets.globalConfig);
  compare(out, "global state", &targets.globalState->state(), &state.targets.globalState);
  compareInterfaces(out, library, state.targets);
  compareMstis(out, library, state.targets);
  if (Model::Writes const writes = library.writes(); writes != state.targets.writes) {
    compareWrites(out, writes, state.targets.writes);
  }
  compareDisabledVlans(out, library.sources().inputConfig->disabledVlan(),
                       state.sources.inputConfig.disabledVlan);
  auto const live = library.live();
  auto const expected = Model::liveObjects(state);
  for (std::size_t index = 0; index < live.size(); ++index) {
    compareNumber(out, "live objects of class " + std::to_string(index), live[index],
                  expected[index]);
  }
  return out.str();
}

}  // namespace Harness

#include "Operation.h"

#include <array>
#include <sstream>
#include <string_view>

#include "State.h"

namespace Model {

namespace {

struct Collection {
  Kind owner;
  Kind member;
  int field;
  std::string_view name;
};

constexpr std::array<Collection, collections> collectionTable{{
    {Kind::inputConfig, Kind::inputPort, 386, "portConfig"},
    {Kind::inputConfig, Kind::stpiConfig, 387, "stpiConfig"},
    {Kind::config, Kind::portConfig, 386, "portConfig"},
    {Kind::status, Kind::stpiStatus, 259, "stpiStatus"},
    {Kind::stpiStatus, Kind::portStatus, 261, "stpiPortStatus"},
    {Kind::stpiStatus, Kind::mstiStatus, 262, "mstiStatus"},
    {Kind::stpiConfig, Kind::mstiConfig, 259, "mstiConfig"},
}};

Collection const& rowOf(Members collection) {
  return collectionTable.at(static_cast<std::size_t>(collection));
}

struct CallRow {
  Tree tree;
  std::string_view name;
};

constexpr std::array<CallRow, calls> callTable{{
    {Tree::globalConfig, "handleEnabledProtocol"},
    {Tree::globalConfig, "handleBpduguard"},
    {Tree::globalConfig, "handleDisabledVlan"},
    {Tree::globalState, "handleEnabledProtocol"},
    {Tree::globalState, "handleBpduguard"},
    {Tree::globalState, "handleDisabledVlan"},
    {Tree::vlanSyncher, "syncDisabledVlan"},
    {Tree::interfaceConfig, "handleInitialized"},
    {Tree::interfaceConfig, "handleInterface"},
    {Tree::interfaceConfig, "handleStpiStatusConfig"},
    {Tree::interfaceConfig, "maybeCleanUpExternalIntfConfigs"},
    {Tree::interfaceConfig, "portConfigSmDel"},
    {Tree::interfaceConfig, "stpiStatusConfigSmDel"},
    {Tree::interfaceState, "handleInitialized"},
    {Tree::interfaceState, "handleStpiStatus"},
    {Tree::interfaceState, "ocStpiStatusSmDel"},
    {Tree::mstpConfig, "handleInitialized"},
    {Tree::mstpConfig, "handleMstVlanMapping"},
    {Tree::mstpConfig, "handleMstpConfigSm"},
    {Tree::mstpConfig, "ocMstpConfigSmDel"},
    {Tree::mstpState, "handleInitialized"},
    {Tree::mstpState, "update"},
    {Tree::mstpState, "triggerInc"},
    {Tree::mstpState, "ocMstSmDel"},
    {Tree::mstpState, "ocMstiStatusSmDelAll"},
}};

constexpr std::array<std::string_view, kinds> kindNames{"input configuration",
                                                        "configuration",
                                                        "status",
                                                        "VLAN directory",
                                                        "input port",
                                                        "port",
                                                        "port status",
                                                        "MSTI status",
                                                        "MSTI configuration",
                                                        "instance configuration",
                                                        "instance status"};

constexpr std::array<std::string_view, trees> treeNames{
    "OCGlobalConfigSm",       "OCGlobalStateSm",       "OCGlobalVlanSyncher",
    "OCInterfaceConfigDirSm", "OCInterfaceStateDirSm", "OCMstpConfigWrapperSm",
    "OCMstpMainStateSm"};

template <class Names>
std::string_view nameIn(Names const& names, int number) {
  return names.at(static_cast<std::size_t>(number));
}

std::string entity(int kind, int hand) {
  std::string text(nameIn(kindNames, kind));
  return static_cast<std::size_t>(kind) < firstPooled ? text : text + " #" + std::to_string(hand);
}

std::string member(Members collection, int key) {
  switch (memberKind(collection)) {
    case Kind::mstiConfig:
    case Kind::mstiStatus: return mstiName(key);
    case Kind::stpiConfig:
    case Kind::stpiStatus: return instanceName(key);
    default: return portName(key);
  }
}

// The settable attributes, as the entities name them.
std::string attributeName(int kind, int field) {
  struct Row {
    Kind kind;
    int field;
    std::string_view name;
  };
  constexpr std::array rows{
      Row{Kind::inputPort, 260, "linkType"},
      Row{Kind::inputPort, 261, "edgePortEnable"},
      Row{Kind::inputPort, 263, "edgePortAuto"},
      Row{Kind::inputPort, 265, "edgePortDisable"},
      Row{Kind::inputPort, 270, "bpduguard"},
      Row{Kind::portConfig, 261, "adminEdgePort"},
      Row{Kind::portConfig, 270, "bpduguard"},
      Row{Kind::portStatus, 260, "operEdgePort"},
      Row{Kind::portStatus, 262, "operPointToPointMac"},
      Row{Kind::mstiStatus, 259, "bridgePriority"},
      Row{Kind::mstiConfig, 258, "mstiId"},
      Row{Kind::mstiConfig, 259, "bridgePriority"},
  };
  for (Row const& row : rows) {
    if (static_cast<int>(row.kind) == kind && row.field == field) {
      return std::string(row.name);
    }
  }
  return "attribute " + std::to_string(field);
}

std::string place(Operation const& operation) {
  auto const collection = static_cast<Members>(operation.a);
  return entity(static_cast<int>(ownerKind(collection)), operation.b) + "." +
         std::string(rowOf(collection).name);
}

std::string action(int number) {
  return number == 0 ? "appears" : number == 1 ? "goes" : "is changed";
}

}  // namespace

Kind memberKind(Members collection) {
  return rowOf(collection).member;
}
Kind ownerKind(Members collection) {
  return rowOf(collection).owner;
}
int fieldOf(Members collection) {
  return rowOf(collection).field;
}

int treeOf(Call call) {
  return static_cast<int>(callTable.at(static_cast<std::size_t>(call)).tree);
}

std::string portName(int port) {
  return "eth" + std::to_string(port);
}

std::string instanceName(int instance) {
  return instance == mstp ? "Mst" : "Other" + std::to_string(instance);
}

std::string mstiName(int id) {
  return id == 0 ? "Cist" : "MST" + std::to_string(id);
}

std::string describe(Operation const& operation) {
  auto const [what, a, b, c, d] = operation;
  auto const collection = static_cast<Members>(a);
  std::ostringstream out;
  switch (what) {
    case Do::setMode: out << "mode := " << a; break;
    case Do::setGuard: out << entity(a, 0) << ".portfastBpduguard := " << b; break;
    case Do::setMap: out << entity(a, 0) << ".mstConfig := map " << b << ", revision " << c; break;
    case Do::setVlans:
      out << entity(a, 0) << ".disabledVlan " << b << "-" << c
          << (d == 0   ? " := false"
              : d == 1 ? " := true"
                       : " deleted");
      break;
    case Do::clearVlans: out << entity(a, 0) << ".disabledVlan: all deleted"; break;
    case Do::setProtocol: out << "activeProtocol := " << a; break;
    case Do::setVlanDir: out << "VLANs " << a << "-" << b << (c != 0 ? " come" : " go"); break;
    case Do::clearVlanDir: out << "all VLANs go"; break;
    case Do::setAttribute: out << entity(a, b) << ", attribute " << c << " := " << d; break;
    case Do::renew: out << entity(a, b) << " is from now on a fresh one"; break;
    case Do::put:
      out << place(operation) << " " << member(collection, c)
          << " := " << entity(static_cast<int>(memberKind(collection)), d);
      break;
    case Do::remove: out << place(operation) << " " << member(collection, c) << " deleted"; break;
    case Do::clear: out << place(operation) << ": all deleted"; break;
    case Do::touch:
      out << "announce " << entity(a, b) << ", " << attributeName(a, c) << ", key " << d;
      break;
    case Do::start: out << "start " << nameIn(treeNames, a); break;
    case Do::stop: out << "stop " << nameIn(treeNames, a); break;
    case Do::activate: out << nameIn(treeNames, a) << (b != 0 ? " active" : " inactive"); break;
    case Do::sweep: out << nameIn(treeNames, a) << (b != 0 ? " zombie" : " no zombie"); break;
    case Do::call:
      out << nameIn(treeNames, treeOf(static_cast<Call>(a)))
          << "::" << callTable.at(static_cast<std::size_t>(a)).name << "(" << b << ")";
      break;
    case Do::stageGlobal:
      out << "from outside: global " << (a == 0 ? "config" : "state") << " := record " << b;
      break;
    case Do::stageInterface:
      out << "from outside: interface " << portName(a) << " " << action(b) << ", record " << c;
      break;
    case Do::stageIfState:
      out << "from outside: state of " << portName(a) << " " << action(b) << ", record " << c;
      break;
    case Do::stageMsti:
      out << "from outside: " << mstiName(a) << " " << action(b) << ", record " << c;
      break;
    case Do::stageMstiState:
      out << "from outside: state of " << mstiName(a) << " " << action(b) << ", record " << c;
      break;
  }
  return out.str();
}

}  // namespace Model

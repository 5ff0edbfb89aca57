#include "Generator.h"

#include <algorithm>
#include <numeric>

#include "Model.h"

namespace Harness {

namespace {

using Model::Do;
using Model::Kind;
using Model::Members;
using Model::Operation;

// By Do.
constexpr std::array<int, Model::operationKinds> usualWeights{
    2,   // setMode
    3,   // setGuard
    6,   // setMap
    5,   // setVlans
    1,   // clearVlans
    3,   // setProtocol
    4,   // setVlanDir
    1,   // clearVlanDir
    25,  // setAttribute
    3,   // renew
    24,  // put
    8,   // remove
    1,   // clear
    10,  // touch
    5,   // start
    2,   // stop
    8,   // activate
    6,   // sweep
    9,   // call
    1,   // stageGlobal
    3,   // stageInterface
    2,   // stageIfState
    3,   // stageMsti
    2,   // stageMstiState
};

struct Settable {
  Kind kind;
  int field;
};

constexpr std::array<Settable, 12> settables{{
    {Kind::inputPort, 260},
    {Kind::inputPort, 261},
    {Kind::inputPort, 263},
    {Kind::inputPort, 265},
    {Kind::inputPort, 270},
    {Kind::portConfig, 261},
    {Kind::portConfig, 270},
    {Kind::portStatus, 260},
    {Kind::portStatus, 262},
    {Kind::mstiStatus, 259},
    {Kind::mstiConfig, 258},
    {Kind::mstiConfig, 259},
}};

// How the hands of the members go with the owners and the keys, mostly.
int usualHand(Kind member, int owner, int key) {
  switch (member) {
    case Kind::portStatus: return owner % 2 * Model::ports + key;
    case Kind::mstiStatus:
    case Kind::mstiConfig:
      return static_cast<int>(std::ranges::find(Model::mstInstances, key) -
                              std::begin(Model::mstInstances));
    default: return key;
  }
}

std::vector<int> keysOf(Kind member) {
  std::vector<int> keys;
  switch (member) {
    case Kind::mstiStatus:
    case Kind::mstiConfig:
      return {Model::mstInstances, Model::mstInstances + Model::configuredMstInstances};
    case Kind::stpiStatus:
    case Kind::stpiConfig: keys.resize(Model::instances); break;
    default: keys.resize(Model::ports);
  }
  std::iota(keys.begin(), keys.end(), 0);
  return keys;
}

Model::Ordered<Model::Ref> const& membersOf(Model::Sources const& sources, Members collection,
                                            int owner) {
  Model::Kind const kind = Model::ownerKind(collection);
  auto const& refs = sources.hand[static_cast<std::size_t>(kind)];
  Model::Ref const ref = refs.empty() ? Model::none : refs[static_cast<std::size_t>(owner)];
  switch (collection) {
    case Members::inputPorts: return sources.inputConfig.ports;
    case Members::inputInstances: return sources.inputConfig.instances;
    case Members::runningPorts: return sources.config.ports;
    case Members::statusInstances: return sources.status.instances;
    case Members::portsOfStatus: return at(sources.stpiStatuses, ref).ports;
    case Members::mstisOfStatus: return at(sources.stpiStatuses, ref).mstis;
    default: return at(sources.stpiConfigs, ref).mstis;
  }
}

Model::Root const& rootOf(Model::State const& state, int tree) {
  std::array<Model::Root const*, Model::trees> const roots{
      &state.globalConfig,   &state.globalState, &state.vlanSyncher, &state.interfaceConfig,
      &state.interfaceState, &state.mstpConfig,  &state.mstpState};
  return *roots.at(static_cast<std::size_t>(tree));
}

}  // namespace

Generator::Generator(std::uint64_t seed) : numbers_(seed) {
  for (std::size_t kind = 0; kind < usualWeights.size(); ++kind) {
    constexpr std::array factors{0, 1, 1, 1, 4};
    weights_[kind] = usualWeights[kind] * among(factors);
  }
  weights_[static_cast<std::size_t>(Do::start)] += 3;
  weights_[static_cast<std::size_t>(Do::put)] += 8;
  sum_ = std::accumulate(weights_.begin(), weights_.end(), 0);
}

std::vector<Operation> Generator::opening() {
  std::vector<Operation> operations;
  if (oneIn(8)) {
    return operations;
  }
  for (int number = 0; number < Model::collections; ++number) {
    auto const collection = static_cast<Members>(number);
    Kind const member = Model::memberKind(collection);
    bool const ofStatus = Model::ownerKind(collection) == Kind::stpiStatus;
    for (int owner = 0; owner < (ofStatus ? Model::instances : 1); ++owner) {
      for (int const key : keysOf(member)) {
        operations.push_back({Do::put, number, owner, key, usualHand(member, owner, key)});
      }
    }
  }
  for (int tree = 0; tree < Model::trees; ++tree) {
    operations.push_back({Do::start, tree});
    operations.push_back(attribute());
  }
  operations.push_back({Do::setProtocol, 3});
  operations.push_back({Do::setVlanDir, 1, 70, 1});
  std::erase_if(operations, [this](Operation const&) { return oneIn(5); });
  std::ranges::shuffle(operations, numbers_);
  return operations;
}

int Generator::below(int limit) {
  return static_cast<int>(numbers_() % static_cast<std::uint64_t>(limit));
}

Do Generator::what() {
  int rest = below(sum_);
  std::size_t kind = 0;
  while (rest >= weights_[kind]) {
    rest -= weights_[kind++];
  }
  return static_cast<Do>(kind);
}

int Generator::vlan() {
  return oneIn(3) ? 4095 - below(16) : oneIn(3) ? 60 + below(10) : below(24);
}

int Generator::msti() {
  return Model::mstInstances[below(Model::configuredMstInstances)];
}

int Generator::instance() {
  return oneIn(2) ? Model::mstp : below(Model::instances);
}

int Generator::keyOf(Kind member) {
  bool const ofInstances = member == Kind::stpiStatus || member == Kind::stpiConfig;
  return ofInstances ? instance() : among(keysOf(member));
}

int Generator::hand(Kind kind) {
  bool const pooled = static_cast<std::size_t>(kind) >= Model::firstPooled;
  return pooled ? below(Model::handSize(kind)) : 0;
}

int Generator::presentOrAny(Model::State const& state, Members collection, int owner) {
  auto const keys = membersOf(state.sources, collection, owner).keys();
  return keys.empty() || oneIn(5) ? keyOf(Model::memberKind(collection)) : among(keys);
}

Operation Generator::vlans(Do what, int config) {
  int const first = vlan();
  int const length = oneIn(40) ? below(300) : oneIn(3) ? below(8) : 0;
  if (what == Do::setVlanDir) {
    int const from = std::clamp(first, 1, 4094);
    return {what, from, std::min(4094, from + length), below(3) != 0 ? 1 : 0};
  }
  return {what, config, first, std::min(4095, first + length), below(8) < 5 ? 1 : below(3)};
}

Operation Generator::attribute() {
  Settable const settable = among(settables);
  int value = below(2);
  bool const priority = settable.field == 259;
  if (priority) {
    constexpr std::array fine{0, 4096, 4097, 8192, 32768, 61440};
    constexpr std::array wrong{61441, 65535};
    value = oneIn(4) ? among(wrong) : among(fine);
  } else if (settable.field == 258) {
    value = oneIn(4) ? below(65536) : msti();
  } else if (settable.field == 270 || (settable.kind == Kind::inputPort && settable.field == 260)) {
    value = oneIn(8) ? among(std::array{3, 254, 255}) : below(3);
  }
  return {Do::setAttribute, static_cast<int>(settable.kind), hand(settable.kind), settable.field,
          value};
}

Operation Generator::members(Model::State const& state, Do what) {
  auto const collection = static_cast<Members>(below(Model::collections));
  Kind const owner = Model::ownerKind(collection);
  Kind const member = Model::memberKind(collection);
  int const ownerHand = hand(owner);
  if (what == Do::put) {
    int const key = keyOf(member);
    int const usual = usualHand(member, ownerHand, key);
    return {what, static_cast<int>(collection), ownerHand, key, oneIn(5) ? hand(member) : usual};
  }
  int const key = what == Do::clear ? 0 : presentOrAny(state, collection, ownerHand);
  return {what, static_cast<int>(collection), ownerHand, key};
}

Operation Generator::touch(Model::State const& state) {
  if (oneIn(2)) {
    auto const collection = static_cast<Members>(below(Model::collections));
    Kind const owner = Model::ownerKind(collection);
    int const ownerHand = hand(owner);
    return {Do::touch, static_cast<int>(owner), ownerHand, Model::fieldOf(collection),
            presentOrAny(state, collection, ownerHand)};
  }
  auto const kind = static_cast<Kind>(below(Model::kinds));
  constexpr std::array fields{258, 259, 260, 261, 262, 263, 265, 267, 270, 294, 298, 303};
  int const field = oneIn(8) ? below(65536) : among(fields);
  bool ofCollection = false;
  for (int number = 0; number < Model::collections; ++number) {
    auto const collection = static_cast<Members>(number);
    ofCollection |= Model::ownerKind(collection) == kind && Model::fieldOf(collection) == field;
  }
  return {Do::touch, static_cast<int>(kind), hand(kind), ofCollection ? field + 1000 : field};
}

Operation Generator::flag(Model::State const& state, Do what) {
  int const tree = below(Model::trees);
  Model::Root const& root = rootOf(state, tree);
  if (what == Do::activate) {
    return {what, tree, root.active ? below(3) == 0 ? 0 : 1 : below(4) != 0 ? 1 : 0};
  }
  return {what, tree, root.zombie ? 0 : oneIn(2) ? 1 : 0};
}

Operation Generator::call() {
  auto const call = static_cast<Model::Call>(below(Model::calls));
  bool const ofPort =
      call == Model::Call::interfaceConfigPort || call == Model::Call::interfaceConfigPortDel;
  return {Do::call, static_cast<int>(call), ofPort ? below(Model::stagedPorts) : instance()};
}

Operation Generator::stage(Do what) {
  int const seed = below(500);
  // Rarely one that has no name: whoever comes across it ends.
  int const msti = oneIn(150) ? 5000 : among(Model::mstInstances);
  switch (what) {
    case Do::stageGlobal: return {what, below(2), seed};
    case Do::stageInterface: return {what, below(Model::stagedPorts), below(3), seed};
    case Do::stageIfState: return {what, below(Model::stagedPorts), 1 + below(2), seed};
    case Do::stageMsti: return {what, msti, below(3), seed};
    default: return {what, msti, 1 + below(2), seed};
  }
}

Operation Generator::next(Model::State const& state) {
  Do const kind = what();
  int const config = static_cast<int>(oneIn(2) ? Kind::inputConfig : Kind::config);
  constexpr std::array modes{0, 1, 2, 3, 3, 3, 3, 101, 102, 7, -1, -2};
  switch (kind) {
    case Do::setMode:
    case Do::setProtocol: return {kind, among(modes)};
    case Do::setGuard: return {kind, config, below(2)};
    case Do::setMap:
      return {kind, config, below(oneIn(20) ? Model::maps : Model::maps - 1), oneIn(4) ? 1 : 0};
    case Do::setVlans:
    case Do::setVlanDir: return vlans(kind, config);
    case Do::clearVlans: return {kind, config};
    case Do::clearVlanDir: return {kind};
    case Do::setAttribute: return attribute();
    case Do::renew: {
      auto const first = static_cast<int>(Model::firstPooled);
      int const pooled = first + below(static_cast<int>(Model::kinds) - first);
      return {kind, pooled, hand(static_cast<Kind>(pooled))};
    }
    case Do::put:
    case Do::remove:
    case Do::clear: return members(state, kind);
    case Do::touch: return touch(state);
    case Do::start:
    case Do::stop: return {kind, below(Model::trees)};
    case Do::activate:
    case Do::sweep: return flag(state, kind);
    case Do::call: return call();
    default: return stage(kind);
  }
}

}  // namespace Harness

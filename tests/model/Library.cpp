#include "Library.h"

#include <map>
#include <string>

#include "Vel/Reinstantiation.h"

namespace Harness {

namespace {

// The name of every number, made once.
template <std::string (*text)(int)>
Lumo::String const& nameOf(int number) {
  static std::map<int, Lumo::String> names;
  auto const found = names.find(number);
  return found != names.end() ? found->second : names.emplace(number, text(number)).first->second;
}

template <class... Classes>
std::array<std::uint64_t, sizeof...(Classes)> liveOf() {
  return {Classes::memAllocationTracker_.live()...};
}

bool isTarget(Model::Do what) {
  return what >= Model::Do::stageGlobal;
}

bool isMirror(Model::Do what) {
  return what >= Model::Do::start && what <= Model::Do::call;
}

}  // namespace

Lumo::String const& portName(int port) {
  return nameOf<Model::portName>(port);
}
Lumo::String const& instanceName(int instance) {
  return nameOf<Model::instanceName>(instance);
}
Lumo::String const& mstiName(int id) {
  return nameOf<Model::mstiName>(id);
}
Lanx::IntfId interfaceId(int port) {
  return port < 0 ? Lanx::IntfId() : Lanx::IntfId::of(portName(port));
}

Sources::Sources() {
  auto const fill = [](auto& hand, Model::Kind kind) {
    for (int size = Model::handSize(kind); size > 0; --size) {
      hand.push_back(Lumo::make<std::remove_reference_t<decltype(*hand.front())>>());
    }
  };
  fill(std::get<0>(hands), Model::Kind::inputPort);
  fill(std::get<1>(hands), Model::Kind::portConfig);
  fill(std::get<2>(hands), Model::Kind::portStatus);
  fill(std::get<3>(hands), Model::Kind::mstiStatus);
  fill(std::get<4>(hands), Model::Kind::mstiConfig);
  fill(std::get<5>(hands), Model::Kind::stpiConfig);
  fill(std::get<6>(hands), Model::Kind::stpiStatus);
}

Writes::Writes(Targets const& targets)
    : globalConfig_(targets.globalConfig),
      globalState_(targets.globalState),
      interfaces_(targets.interfaces),
      interfaceStates_(targets.interfaceStates),
      mstis_(targets.mstis),
      mstiStates_(targets.mstiStates) {
}

Model::Writes Writes::counts() const {
  return Model::Writes{.globalConfig = globalConfig_.changes(),
                       .globalState = globalState_.changes(),
                       .interfaceMembers = interfaces_.changes(),
                       .interfaceRecords = interfaces_.records(),
                       .interfaceStates = interfaceStates_.changes(),
                       .mstiMembers = mstis_.changes(),
                       .mstiRecords = mstis_.records(),
                       .mstiStates = mstiStates_.changes()};
}

Model::Outcome Library::apply(Model::Operation const& operation) {
  try {
    if (isTarget(operation.what)) {
      changeTarget(targets_, operation);
    } else if (isMirror(operation.what)) {
      changeMirrors(mirrors_, sources_, targets_, operation);
    } else {
      changeSource(sources_, operation);
    }
    return Model::Outcome::done;
  } catch (Lumo::RangeException const&) {
    return Model::Outcome::outOfRange;
  } catch (Vel::ReinstantiationException const&) {
    return Model::Outcome::reinstantiated;
  }
}

void Library::dropAll(unsigned order) {
  // Sources, counts, targets and mirrors go in turn, from any of them on.
  for (unsigned part = order; part < order + 4; ++part) {
    switch (part % 4) {
      case 0: mirrors_ = {}; break;
      case 1: writes_.reset(); break;
      case 2: targets_ = Targets{nullptr, nullptr, nullptr, nullptr, nullptr, nullptr}; break;
      default:
        sources_.inputConfig = nullptr;
        sources_.config = nullptr;
        sources_.status = nullptr;
        sources_.vlanDir = nullptr;
        sources_.hands = {};
    }
  }
}

std::array<std::uint64_t, 16> Library::live() const {
  auto live = liveObjects();
  for (std::size_t index = 0; index < live.size(); ++index) {
    live[index] -= liveElsewhere_[index];
  }
  return live;
}

std::array<std::uint64_t, 16> liveObjects() {
  using namespace Stp;
  return liveOf<OCGlobalConfigSm, OCGlobalVlanSyncher, OCGlobalStateSm, OCPortConfigSm,
                OCStpiStatusConfigSm, OCInterfaceConfigDirSm, OCStpiPortStatusSm, OCStpiStatusSm,
                OCInterfaceStateDirSm, OCMstiConfigSm, OCMstpConfigSm, OCMstpConfigWrapperSm,
                OCMstpTrigger, OCMstSm, OCMstiStatusSm, OCMstpMainStateSm>();
}

}  // namespace Harness

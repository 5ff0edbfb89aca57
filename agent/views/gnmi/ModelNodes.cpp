#include "agent/views/gnmi/ModelNodes.h"

#include <array>

namespace Agent::Gnmi {

namespace {

constexpr std::string_view global =
    "enabled-protocol bridge-assurance etherchannel-misconfig-guard bpduguard-timeout-recovery "
    "loop-guard bpdu-guard bpdu-filter";
constexpr std::string_view rstp = "hello-time max-age forwarding-delay hold-count bridge-priority";
constexpr std::string_view mstp =
    "name revision max-hop hello-time max-age forwarding-delay hold-count";
constexpr std::string_view mstInstance = "mst-id vlan bridge-priority";
constexpr std::string_view vlan =
    "vlan-id hello-time max-age forwarding-delay hold-count bridge-priority";
constexpr std::string_view tree =
    "bridge-address designated-root-priority designated-root-address root-port root-cost hold-time "
    "topology-changes last-topology-change";
constexpr std::string_view treePort = "name cost port-priority";
constexpr std::string_view treePortState =
    "port-num role port-state designated-root-priority designated-root-address designated-cost "
    "designated-bridge-priority designated-bridge-address designated-port-priority "
    "designated-port-num forward-transisitions";
constexpr std::string_view counters = "bpdu-sent bpdu-received";
constexpr std::string_view interface = "name edge-port link-type guard bpdu-guard bpdu-filter";

constexpr std::array nodes{
    ModelNodes{"/stp/global/config", global},
    ModelNodes{"/stp/global/state", global},
    ModelNodes{"/stp/rstp/config", rstp},
    ModelNodes{"/stp/rstp/state", rstp},
    ModelNodes{"/stp/rstp/state", tree},
    ModelNodes{"/stp/rstp/interfaces/interface[name]", "name"},
    ModelNodes{"/stp/rstp/interfaces/interface[name]/config", treePort},
    ModelNodes{"/stp/rstp/interfaces/interface[name]/state", treePort},
    ModelNodes{"/stp/rstp/interfaces/interface[name]/state", treePortState},
    ModelNodes{"/stp/rstp/interfaces/interface[name]/state/counters", counters},
    ModelNodes{"/stp/mstp/config", mstp},
    ModelNodes{"/stp/mstp/state", mstp},
    ModelNodes{"/stp/mstp/mst-instances/mst-instance[mst-id]", "mst-id"},
    ModelNodes{"/stp/mstp/mst-instances/mst-instance[mst-id]/config", mstInstance},
    ModelNodes{"/stp/mstp/mst-instances/mst-instance[mst-id]/state", mstInstance},
    ModelNodes{"/stp/mstp/mst-instances/mst-instance[mst-id]/state", tree},
    ModelNodes{"/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]", "name"},
    ModelNodes{"/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]/config",
               treePort},
    ModelNodes{"/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]/state",
               treePort},
    ModelNodes{"/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]/state",
               treePortState},
    ModelNodes{
        "/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]/state/counters",
        counters},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]", "vlan-id"},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/config", vlan},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/state", vlan},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/state", tree},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/interfaces/interface[name]", "name"},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/interfaces/interface[name]/config", treePort},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/interfaces/interface[name]/state", treePort},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/interfaces/interface[name]/state", treePortState},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/interfaces/interface[name]/state/counters", counters},
    ModelNodes{"/stp/rapid-pvst/vlan[vlan-id]/interfaces/interface[name]/state",
               "stp-openconfig-cist:disputed"},
    ModelNodes{"/stp/mstp/stp-openconfig-cist:cist/state", tree},
    ModelNodes{"/stp/mstp/stp-openconfig-cist:cist/interfaces/interface[name]", "name"},
    ModelNodes{"/stp/mstp/stp-openconfig-cist:cist/interfaces/interface[name]/config", treePort},
    ModelNodes{"/stp/interfaces/interface[name]", "name"},
    ModelNodes{"/stp/interfaces/interface[name]/config", interface},
    ModelNodes{"/stp/interfaces/interface[name]/state", interface},
};

}  // namespace

std::span<ModelNodes const> modelNodes() {
  return nodes;
}

}  // namespace Agent::Gnmi

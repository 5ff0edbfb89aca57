/// One moment of a running MSTP engine: what `mstpctl -f json` says about one bridge, reduced to
/// the settings and states that the agent's sources hold.
///
/// The engine prints JSON by hand, so its text isn't always JSON. It is mended before it is parsed:
/// - `showvid2fid` and `showfid2mstid` don't close their outer list; the bracket is added before
///   the brace that ends the file. Nothing is ever added at the end: a cut file stays refused.
/// - Strings aren't escaped. A backslash stands for itself. A quote inside a port's or a bridge's
///   name belongs to the name unless the next member follows it; a name holds no colon and a member
///   does, so that is exact. A region name may hold anything; it ends at the last
///   `","revision-level":`, after which the engine prints nothing but digits.
/// - A string that isn't UTF-8 gets U+FFFD for its wrong bytes.
/// - Where the engine fails in the middle of a list, its message stands between the entries. That
///   can't be mended: which entry is missing is unknown.
///
/// A snapshot is good as a whole or refused as a whole; nothing is guessed. What isn't read (the
/// other members, the other bridges of `showbridge`, other files) may hold anything that parses; of
/// a member given twice the last counts.

#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Lumo/String.h"
#include "StpTypes/ConfigBase.h"
#include "StpTypes/Input.h"
#include "StpTypes/Operational.h"

namespace Agent {

/// What one snapshot says. Members name the `mstpctl` command and the member they come from.
struct EngineSnapshot {
  using Guard = Stp::PortConfigBase::BpduguardEnabledState;

  /// One spanning-tree instance of the bridge.
  struct Msti {
    /// 0 (the CIST) to 4095, `showmstilist` `mstids`.
    std::uint16_t id = 0;
    /// 0 to 61440 in steps of 4096: the first hexadecimal digit of `showtree` `bridge-id`, which
    /// is the settable part of the identifier's priority (IEEE 802.1Q, 14.2.5).
    std::uint16_t bridgePriority = 32768;

    bool operator==(Msti const&) const = default;
  };

  /// One port of the bridge, all of it from its entry in `showportdetail`, as is what its base says
  /// of its operation.
  struct Port : Stp::Operational::PortTold {
    /// Not empty, valid UTF-8, `port`.
    Lumo::String name;
    /// `admin-point-to-point`: `auto`, `yes` (point-to-point), `no` (shared).
    Stp::Input::PortConfig::LinkType linkType = Stp::Input::PortConfig::LinkType::automatic;
    /// Exactly one of the three is true. Enabled with `admin-edge-port` `yes`, ...
    bool edgePortEnable = false;
    /// ... else automatic with `auto-edge-port` `yes`, ...
    bool edgePortAuto = false;
    /// ... else disabled.
    bool edgePortDisable = false;
    /// `bpdu-guard-port`: enabled for `yes`, default for `no`. The engine doesn't tell a port that
    /// is disabled explicitly.
    Guard bpduguard = Guard::bpduguardDefault;
    /// `admin-edge-port`.
    bool adminEdgePort = false;
    /// `oper-edge-port`. Means nothing unless the snapshot is `running`.
    bool operEdgePort = false;
    /// `point-to-point`. Means nothing unless the snapshot is `running`.
    bool operPointToPointMac = false;

    bool operator==(Port const&) const = default;
  };

  /// A port as one tree has it.
  struct TreePort : Stp::Operational::TreePortTold {
    /// That of a port of the bridge.
    Lumo::String name;

    bool operator==(TreePort const&) const = default;
  };

  /// The CIST, or an MST instance. `lastTopologyChange` is left to those who know the time.
  struct Tree : Stp::Operational::TreeTold {
    /// 0 (the CIST) to 4095.
    std::uint16_t id = 0;
    /// `time-since-topology-change`, in seconds.
    std::optional<std::uint64_t> sinceTopologyChange;
    /// In the order of the bridge's ports. Of the CIST all of them; of an MST instance those that
    /// are told of.
    std::vector<TreePort> ports;

    bool operator==(Tree const&) const = default;
  };

  /// The configured protocol, `showbridge` `force-protocol-version`: `stp`, `rstp` or `mstp`.
  Stp::Mode mode = Stp::Mode::stp;
  /// `mode` while `showbridge` says `yes` to both `stp-enabled` and `enabled`, else `notRunning`.
  Stp::Mode activeProtocol = notRunning;
  /// Stands for the protocol while none runs.
  static constexpr Stp::Mode notRunning{-1};
  /// `regionName` is `showmstconfid` `configuration-name` (IEEE 802.1Q, 13.8); it may be empty, and
  /// is valid UTF-8. `revision` is `revision-level`; the engine prints 0 to 65535, and any unsigned
  /// 64-bit value is taken. `vidToMsti` has the VLANs 1 to 4094 that belong to an instance from 1
  /// to 4095, each once: `showvid2fid` joined with `showfid2mstid`. A VLAN that no FID lists, and a
  /// FID that no instance lists, belong to instance 0, as everything does that isn't allocated.
  Stp::MstConfig mstConfig;
  /// "Mst" while `mode` is `mstp`, else "Rst".
  Lumo::String instanceName = "Rst";
  /// The instances in the engine's order, ids distinct. Empty unless `mode` is `mstp`. They are
  /// configured whether or not the snapshot is `running`.
  std::vector<Msti> mstis;
  /// The ports in the engine's order, names distinct. They are configured whether or not the
  /// snapshot is `running`.
  std::vector<Port> ports;
  /// What is said of the bridge's operation, in `showbridge` and `showmstconfid`.
  Stp::Operational::BridgeTold bridge;
  /// The CIST, whatever the mode (`showbridge` and `showportdetail`), and behind it the MST
  /// instances among `mstis` (`showtree` and `showtreeport`), in their order.
  std::vector<Tree> trees;

  /// Whether the protocol runs. While it doesn't, the running instance has neither ports nor MST
  /// instances; `ports` and `mstis` tell the configuration only.
  bool running() const { return activeProtocol != notRunning; }

  bool operator==(EngineSnapshot const&) const = default;
};

/// A snapshot that is refused. `what()` is `DIR/FILE: reason`, the reason on one line.
class SnapshotError : public std::runtime_error {
 public:
  /// An empty `dir` leaves `FILE: reason`.
  SnapshotError(std::filesystem::path const& dir, std::string const& file,
                std::string const& reason)
      : std::runtime_error((dir / file).string() + ": " + reason), file_(file), reason_(reason) {}

  /// The name of the file at fault, without its folder.
  std::string const& file() const { return file_; }
  /// What is wrong with it: the member, and the port or id, at fault.
  std::string const& reason() const { return reason_; }

 private:
  std::string file_;
  std::string reason_;
};

/// What is shown otherwise than the engine prints it.
struct SnapshotRemark {
  std::string file;
  /// The member, and how it is shown.
  std::string text;

  bool operator==(SnapshotRemark const&) const = default;
};

/// Gives the content of a file of the snapshot (`showbridge.json`, `showtree-5.json`, ...), or
/// nothing when there is no such file. May throw, a SnapshotError for instance: parseSnapshot lets
/// it pass.
using SnapshotFiles = std::function<std::optional<std::string>(std::string const& file)>;

/// The longest file that is read, in bytes: several times the ports that an engine can have.
inline constexpr std::size_t maxSnapshotFile = std::size_t{8} << 20U;

/// Reads the snapshot of the bridge `name`, which must not be empty, from `source`. Each file is
/// asked for once, in this order: `showbridge.json`, `showportdetail.json`, while the mode is MSTP
/// `showmstilist.json` and `showtree-ID.json` for each of its ids, then `showmstconfid.json`,
/// `showfid2mstid.json`, `showvid2fid.json`, and then those of readTreePorts. Throws SnapshotError
/// for the first file that is missing and needed, longer than `maxSnapshotFile`, about another
/// bridge or not understood; its `what()` has no folder. Adds to `remarks`, if there are to be any.
EngineSnapshot parseSnapshot(SnapshotFiles const& source, std::string const& name,
                             std::vector<SnapshotRemark>* remarks = nullptr);

/// The same without the ports of MST instances.
EngineSnapshot parseSnapshotButTreePorts(SnapshotFiles const& source, std::string const& name,
                                         std::vector<SnapshotRemark>* remarks = nullptr);

/// Adds to a snapshot that has none of them the ports of its MST instances that are told of. For
/// each, `showtreeport-PORT-ID.json` is asked for, the port's name as it is, and where there is
/// none `showtreeport-ID.json`, a list with an entry for each port; what that says of other ports
/// is ignored. None of these files is needed. Throws as parseSnapshot does.
void readTreePorts(SnapshotFiles const& source, std::string const& name, EngineSnapshot& snapshot);

/// The instances whose trees the snapshot consists of, in the engine's order: while the mode is
/// MSTP those of `showmstilist.json`, else none. Asks for no other file than that and
/// `showbridge.json`; throws as parseSnapshot does.
std::vector<std::uint16_t> instancesToRead(SnapshotFiles const& source, std::string const& name);

/// A snapshot from the files in `dir`. `what()` of a SnapshotError starts with `dir` as given here.
/// A file that can't be read is refused with the system's text for the error.
EngineSnapshot readSnapshot(std::filesystem::path const& dir, std::string const& bridge,
                            std::vector<SnapshotRemark>* remarks = nullptr);

}  // namespace Agent

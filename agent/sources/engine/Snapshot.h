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
#include <utility>
#include <vector>

namespace Agent {

/// What one snapshot says. Members name the `mstpctl` command and the member they come from.
struct Snapshot {
  /// One spanning-tree instance of the bridge.
  struct Msti {
    /// 0 (the CIST) to 4095, `showmstilist` `mstids`.
    std::uint16_t id = 0;
    /// 0 to 61440 in steps of 4096: the first hexadecimal digit of `showtree` `bridge-id`, which
    /// is the settable part of the identifier's priority (IEEE 802.1Q, 14.2.5).
    std::uint16_t bridgePriority = 32768;

    bool operator==(Msti const&) const = default;
  };

  /// One port of the bridge, all of it from its entry in `showportdetail`.
  struct Port {
    /// Not empty, valid UTF-8, `port`.
    std::string name;
    /// `admin-point-to-point`: 0 for `auto`, 1 for `yes` (point-to-point), 2 for `no` (shared).
    std::uint8_t linkType = 0;
    /// Exactly one of the three is true. Enabled with `admin-edge-port` `yes`, ...
    bool edgePortEnable = false;
    /// ... else automatic with `auto-edge-port` `yes`, ...
    bool edgePortAuto = false;
    /// ... else disabled.
    bool edgePortDisable = false;
    /// `bpdu-guard-port`: 1 (enabled) for `yes`, 0 (default) for `no`. The engine doesn't tell a
    /// port that is disabled explicitly, so 2 doesn't occur.
    std::uint8_t bpduguard = 0;
    /// `admin-edge-port`.
    bool adminEdgePort = false;
    /// `oper-edge-port`. Means nothing unless the snapshot is `running`.
    bool operEdgePort = false;
    /// `point-to-point`. Means nothing unless the snapshot is `running`.
    bool operPointToPointMac = false;

    bool operator==(Port const&) const = default;
  };

  /// The configured protocol, `showbridge` `force-protocol-version`: 0 `stp`, 2 `rstp`, 3 `mstp`.
  std::int32_t mode = 0;
  /// `mode` while `showbridge` says `yes` to both `stp-enabled` and `enabled`, else -1.
  std::int32_t activeProtocol = -1;
  /// `showmstconfid` `configuration-name` (IEEE 802.1Q, 13.8); may be empty, is valid UTF-8.
  std::string regionName;
  /// `showmstconfid` `revision-level` (IEEE 802.1Q, 13.8). The engine prints 0 to 65535; any
  /// unsigned 64-bit value is taken.
  std::uint64_t revision = 0;
  /// (VLAN 1 to 4094, instance 1 to 4095), by ascending VLAN, each VLAN at most once: `showvid2fid`
  /// joined with `showfid2mstid`. VLANs of instance 0 are left out. A VLAN that no FID lists, and a
  /// FID that no instance lists, belong to instance 0, as everything does that isn't allocated.
  std::vector<std::pair<std::uint16_t, std::uint16_t>> vidToMsti;
  /// "Mst" while `mode` is 3, else "Rst".
  std::string instanceName = "Rst";
  /// The instances in the engine's order, ids distinct. Empty unless `mode` is 3. They are
  /// configured whether or not the snapshot is `running`.
  std::vector<Msti> mstis;
  /// The ports in the engine's order, names distinct. They are configured whether or not the
  /// snapshot is `running`.
  std::vector<Port> ports;

  /// Whether the protocol runs. While it doesn't, the running instance has neither ports nor MST
  /// instances; `ports` and `mstis` tell the configuration only.
  bool running() const { return activeProtocol >= 0; }

  bool operator==(Snapshot const&) const = default;
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

/// Gives the content of a file of the snapshot (`showbridge.json`, `showtree-5.json`, ...), or
/// nothing when there is no such file. May throw, a SnapshotError for instance: parseSnapshot lets
/// it pass.
using SnapshotSource = std::function<std::optional<std::string>(std::string const& file)>;

/// The longest file that is read, in bytes: several times the ports that an engine can have.
inline constexpr std::size_t maxSnapshotFile = std::size_t{8} << 20U;

/// Reads the snapshot of the bridge named from `source`, which must not be empty. Each file is
/// asked for once, in this order: `showbridge.json`, `showportdetail.json`, while the mode is 3
/// `showmstilist.json` and `showtree-ID.json` for each of its ids, then `showmstconfid.json`,
/// `showfid2mstid.json`, `showvid2fid.json`. Throws SnapshotError for the first file that is
/// missing, longer than `maxSnapshotFile`, about another bridge or not understood; its `what()` has
/// no folder.
Snapshot parseSnapshot(SnapshotSource const& source, std::string const& bridge);

/// The instances whose trees the snapshot consists of, in the engine's order: while the mode is 3
/// those of `showmstilist.json`, else none. Asks for no other file than that and `showbridge.json`;
/// throws as parseSnapshot does.
std::vector<std::uint16_t> instancesToRead(SnapshotSource const& source, std::string const& bridge);

/// A snapshot from the files in `dir`. `what()` of a SnapshotError starts with `dir` as given here.
/// A file that can't be read is refused with the system's text for the error.
Snapshot readSnapshot(std::filesystem::path const& dir, std::string const& bridge);

}  // namespace Agent

#include "Snapshot.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <initializer_list>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>
#include <system_error>
#include <unordered_set>

namespace Agent {
namespace {

using Json = nlohmann::json;

/// The ids of VLANs, FIDs and instances are 0 to 4095.
constexpr std::uint16_t maxId = 4095;
/// Stands for "nowhere" in a table of FIDs or instances.
constexpr std::uint16_t nowhere = 0xFFFF;
using IdTable = std::array<std::uint16_t, maxId + 1>;

/// Twice the depth that the engine prints.
constexpr std::size_t maxDepth = 8;

constexpr std::string_view blanks = " \t\r\n";

/// What is wrong with a file; `parsed` makes it a SnapshotError by naming the file.
struct Refusal : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The text as it can stand in a message: its beginning, in quotes, on one line, in UTF-8.
std::string inQuotes(std::string_view text) {
  constexpr std::size_t enough = 60;
  std::string const more = text.size() > enough ? "..." : "";
  return Json(text.substr(0, enough)).dump(-1, ' ', false, Json::error_handler_t::replace) + more;
}

std::string_view withoutBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(blanks), text.size()));
}

/// Whether the quote before `rest` ends a value, because the next member or the end of the object
/// follows.
bool endsValue(std::string_view rest) {
  rest = withoutBlanks(rest);
  if (rest.starts_with(',')) {
    rest = withoutBlanks(rest.substr(1));
    if (!rest.starts_with('"')) {
      return false;
    }
    auto const end = rest.find_first_not_of(
        "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", 1);
    return end != std::string_view::npos && rest[end] == '"' &&
           withoutBlanks(rest.substr(end + 1)).starts_with(':');
  }
  if (!rest.starts_with('}')) {
    return false;
  }
  rest = withoutBlanks(rest.substr(1));
  if (rest.starts_with(']')) {
    return withoutBlanks(rest.substr(1)).empty();
  }
  return rest.empty() || rest.starts_with(',');
}

/// Makes JSON of what the engine prints, as Snapshot.h describes. Strings, brackets and the words
/// between them are taken care of here; the rest of the grammar is left to the JSON parser.
class Mender {
 public:
  /// `lacksBracket`: the outer list is expected to be left open.
  Mender(std::string_view text, bool lacksBracket)
      : text_(text),
        lacksBracket_(lacksBracket),
        regionEnd_(text.rfind(R"(","revision-level":)")) {}

  std::string mended() {
    while (position_ < text_.size()) {
      char const c = text_[position_];
      if (c == '"') {
        string();
      } else if (std::string_view("{}[]:,").find(c) != std::string_view::npos) {
        punctuation(c);
      } else if (blanks.find(c) != std::string_view::npos) {
        ++position_;
      } else {
        word();
      }
    }
    if (!open_.empty() || result_.empty()) {
      throw Refusal("ends too early, after " + std::to_string(text_.size()) + " bytes");
    }
    return std::move(result_);
  }

 private:
  void punctuation(char const c) {
    if (c == '{' || c == '[') {
      if (open_.size() == maxDepth) {
        throw Refusal("nested deeper than " + std::to_string(maxDepth) + " levels");
      }
      open_ += c;
    } else if (c == '}' && lacksBracket_ && open_ == "{[") {
      result_ += ']';
      open_.clear();
    } else if ((c == '}' || c == ']') && !open_.empty()) {
      open_.pop_back();
    }
    isValue_ = c == ':';
    result_ += c;
    ++position_;
  }

  void string() {
    auto const begin = position_ + 1;
    auto const end = isValue_ ? valueEnd(begin) : text_.find('"', begin);
    if (end == std::string_view::npos) {
      throw Refusal("ends too early, after " + std::to_string(text_.size()) + " bytes");
    }
    auto const content = text_.substr(begin, end - begin);
    if (!isValue_) {
      member_ = content;
    }
    try {
      result_ += Json(content).dump();
    } catch (Json::type_error const&) {
      throw Refusal("member " + inQuotes(member_) + " is not UTF-8: " + inQuotes(content));
    }
    isValue_ = false;
    position_ = end + 1;
  }

  /// Where the value of `member_` that starts at `begin` ends.
  std::size_t valueEnd(std::size_t const begin) const {
    if (member_ == "configuration-name" && regionEnd_ != std::string_view::npos &&
        regionEnd_ >= begin) {
      return regionEnd_;
    }
    constexpr std::array<std::string_view, 6> free{
        "bridge", "configuration-name", "last-topology-change-port",
        "port",   "root-port",          "topology-change-port",
    };
    bool const isFree = std::find(free.begin(), free.end(), member_) != free.end();
    auto end = text_.find('"', begin);
    while (isFree && end != std::string_view::npos && !endsValue(text_.substr(end + 1))) {
      end = text_.find('"', end + 1);
    }
    return end;
  }

  /// A number or literal. Anything else is no JSON, but the engine's message.
  void word() {
    auto const rest = text_.substr(position_);
    auto const word = rest.substr(0, rest.find_first_of("{}[]:,\" \t\r\n"));
    if (!Json::accept(word)) {
      throw Refusal("other text than JSON after " + std::to_string(position_) +
                    " bytes: " + inQuotes(rest.substr(0, rest.find('\n'))));
    }
    result_ += word;
    isValue_ = false;
    position_ += word.size();
  }

  std::string_view text_;
  bool lacksBracket_;
  std::size_t regionEnd_;
  std::size_t position_ = 0;
  std::string result_;
  std::string open_;
  std::string_view member_;
  bool isValue_ = false;
};

/// The text of a file as JSON.
Json parsed(std::string_view const text, bool const lacksBracket) {
  if (text.size() > maxSnapshotFile) {
    throw Refusal("longer than " + std::to_string(maxSnapshotFile) + " bytes");
  }
  auto const mended = Mender(text, lacksBracket).mended();
  try {
    return Json::parse(mended);
  } catch (Json::parse_error const& error) {
    throw Refusal("not understood as JSON: " +
                  inQuotes(std::string_view(mended).substr(
                      std::min(std::max<std::size_t>(error.byte, 1) - 1, mended.size()))));
  }
}

/// Hands the content of a file to `read`, which throws a Refusal if it doesn't understand it.
template <typename Read>
void inFile(SnapshotSource const& source, std::string const& file, Read const read) {
  auto const text = source(file);
  if (!text) {
    throw SnapshotError({}, file, std::generic_category().message(ENOENT));
  }
  try {
    read(parsed(*text, file == "showvid2fid.json" || file == "showfid2mstid.json"));
  } catch (Refusal const& refusal) {
    throw SnapshotError({}, file, refusal.what());
  }
}

/// Hands every entry of a list to `read`, with the name that a Refusal thrown by it starts with:
/// the entry's number until `read` knows better.
template <typename Read>
void eachEntry(Json const& list, Read const read) {
  if (!list.is_array()) {
    throw Refusal("a list is expected");
  }
  std::size_t number = 0;
  for (auto const& entry : list) {
    std::string name = "entry " + std::to_string(++number);
    try {
      read(entry, name);
    } catch (Refusal const& refusal) {
      throw Refusal(name + ": " + refusal.what());
    }
  }
}

Json const& member(Json const& object, char const* const name) {
  if (!object.is_object()) {
    throw Refusal("an object is expected");
  }
  auto const found = object.find(name);
  if (found == object.end()) {
    throw Refusal("member " + inQuotes(name) + " is missing");
  }
  return *found;
}

std::string const& stringMember(Json const& object, char const* const name) {
  auto const& value = member(object, name);
  if (!value.is_string()) {
    throw Refusal("member " + inQuotes(name) + " is no string");
  }
  return value.get_ref<std::string const&>();
}

/// The member, which is a list of strings, or nothing but a list if `ofStrings` is false.
Json const& listMember(Json const& object, char const* const name, bool const ofStrings) {
  auto const& value = member(object, name);
  if (!value.is_array()) {
    throw Refusal("member " + inQuotes(name) + " is no list");
  }
  if (ofStrings && !std::all_of(value.begin(), value.end(),
                                [](Json const& entry) { return entry.is_string(); })) {
    throw Refusal("member " + inQuotes(name) + " holds something else than strings");
  }
  return value;
}

void memberIs(Json const& object, char const* const name, std::string const& expected) {
  auto const& value = stringMember(object, name);
  if (value != expected) {
    throw Refusal("member " + inQuotes(name) + " is " + inQuotes(value) + ", not " +
                  inQuotes(expected));
  }
}

/// Which of the `choices` the member is.
std::size_t choiceMember(Json const& object, char const* const name,
                         std::initializer_list<std::string_view> const choices) {
  auto const& value = stringMember(object, name);
  auto const* const found = std::find(choices.begin(), choices.end(), value);
  if (found == choices.end()) {
    std::string list;
    for (auto const choice : choices) {
      list += (list.empty() ? "" : ", ") + inQuotes(choice);
    }
    throw Refusal("member " + inQuotes(name) + " is " + inQuotes(value) + ", not one of " + list);
  }
  return static_cast<std::size_t>(found - choices.begin());
}

bool isYes(Json const& object, char const* const name) {
  return choiceMember(object, name, {"yes", "no"}) == 0;
}

/// The decimal number up to `limit` that `text` is, if it is one.
template <typename Number>
std::optional<Number> number(std::string_view const text, Number const limit) {
  Number value = 0;
  auto const* const end = text.data() + text.size();
  auto const result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc{} || result.ptr != end || value > limit) {
    return std::nullopt;
  }
  return value;
}

/// The same of the text that `what` names.
template <typename Number>
Number numberOf(std::string_view const text, Number const limit, std::string const& what) {
  auto const value = number(text, limit);
  if (!value) {
    throw Refusal(what + " " + inQuotes(text) + ", no number from 0 to " + std::to_string(limit));
  }
  return *value;
}

/// Reads the list of ids and ranges of ids that belong to `owner`. An id may stand in one list
/// only, and once, which also bounds the time that ranges can take.
void idsAre(IdTable& owners, Json const& object, char const* const list, std::uint16_t const owner,
            std::string const& idKind, std::string const& ownerKind) {
  for (auto const& entry : listMember(object, list, true)) {
    std::string_view const range = entry.get_ref<std::string const&>();
    auto const dash = range.find('-');
    auto const first = number(range.substr(0, dash), maxId);
    auto const last =
        dash == std::string_view::npos ? first : number(range.substr(dash + 1), maxId);
    if (!first || !last || *first > *last) {
      throw Refusal("member " + inQuotes(list) + " holds " + inQuotes(range) +
                    ", no id and no range of ids from 0 to " + std::to_string(maxId));
    }
    for (std::uint16_t id = *first; id <= *last; ++id) {
      if (owners.at(id) != nowhere) {
        throw Refusal(idKind + std::to_string(id) + " is listed already, in " + ownerKind +
                      std::to_string(owners.at(id)));
      }
      owners.at(id) = owner;
    }
  }
}

void readBridge(Snapshot& snapshot, Json const& list, std::string const& bridge) {
  bool found = false;
  eachEntry(list, [&](Json const& entry, std::string& name) {
    if (stringMember(entry, "bridge") != bridge) {
      return;
    }
    name = "bridge " + inQuotes(bridge);
    if (found) {
      throw Refusal("listed twice");
    }
    found = true;
    constexpr std::array<std::int32_t, 3> modes{0, 2, 3};
    snapshot.mode =
        modes.at(choiceMember(entry, "force-protocol-version", {"stp", "rstp", "mstp"}));
    bool const stpEnabled = isYes(entry, "stp-enabled");
    bool const enabled = isYes(entry, "enabled");
    snapshot.activeProtocol = stpEnabled && enabled ? snapshot.mode : -1;
    snapshot.instanceName = snapshot.mode == 3 ? "Mst" : "Rst";
  });
  if (!found) {
    throw Refusal("bridge " + inQuotes(bridge) + " is missing");
  }
}

void readPorts(Snapshot& snapshot, Json const& list, std::string const& bridge) {
  std::unordered_set<std::string> names;
  eachEntry(list, [&](Json const& entry, std::string& name) {
    Snapshot::Port port;
    port.name = stringMember(entry, "port");
    if (port.name.empty()) {
      throw Refusal("member \"port\" is empty");
    }
    name = "port " + inQuotes(port.name);
    if (!names.insert(port.name).second) {
      throw Refusal("listed twice");
    }
    memberIs(entry, "bridge", bridge);
    port.linkType = static_cast<std::uint8_t>(
        choiceMember(entry, "admin-point-to-point", {"auto", "yes", "no"}));
    port.operPointToPointMac = isYes(entry, "point-to-point");
    port.adminEdgePort = isYes(entry, "admin-edge-port");
    bool const autoEdge = isYes(entry, "auto-edge-port");
    port.edgePortEnable = port.adminEdgePort;
    port.edgePortAuto = !port.adminEdgePort && autoEdge;
    port.edgePortDisable = !port.adminEdgePort && !autoEdge;
    port.operEdgePort = isYes(entry, "oper-edge-port");
    port.bpduguard = isYes(entry, "bpdu-guard-port") ? 1 : 0;
    snapshot.ports.push_back(std::move(port));
  });
}

void readMstis(Snapshot& snapshot, Json const& object, std::string const& bridge) {
  memberIs(object, "bridge", bridge);
  std::bitset<maxId + 1> seen;
  for (auto const& entry : listMember(object, "mstids", true)) {
    auto const id =
        numberOf(entry.get_ref<std::string const&>(), maxId, R"(member "mstids" holds)");
    if (seen.test(id)) {
      throw Refusal("instance " + std::to_string(id) + " is listed twice");
    }
    seen.set(id);
    snapshot.mstis.push_back({.id = id});
  }
}

void readTree(Snapshot::Msti& msti, Json const& object, std::string const& bridge) {
  memberIs(object, "bridge", bridge);
  memberIs(object, "mstid", std::to_string(msti.id));
  auto const& id = stringMember(object, "bridge-id");
  std::uint16_t digit = 0;
  auto const* const end = id.data() + id.find('.');
  if (id.find('.') != 1 || std::from_chars(id.data(), end, digit, 16).ptr != end) {
    throw Refusal("member \"bridge-id\" is " + inQuotes(id) +
                  ", doesn't start with a hexadecimal digit and a dot");
  }
  msti.bridgePriority = static_cast<std::uint16_t>(digit * 4096);
}

/// The instance of every FID.
IdTable instancesOfFids(Snapshot const& snapshot, Json const& object, std::string const& bridge) {
  memberIs(object, "bridge", bridge);
  IdTable instances{};
  instances.fill(nowhere);
  eachEntry(listMember(object, "fid2mstid", false), [&](Json const& entry, std::string& name) {
    auto const id = numberOf(stringMember(entry, "mstid"), maxId, R"(member "mstid" is)");
    name = "instance " + std::to_string(id);
    if (snapshot.mode == 3 && std::none_of(snapshot.mstis.begin(), snapshot.mstis.end(),
                                           [id](auto const& msti) { return msti.id == id; })) {
      throw Refusal("not in showmstilist.json");
    }
    idsAre(instances, entry, "fid", id, "FID ", "instance ");
  });
  return instances;
}

void readVlans(Snapshot& snapshot, Json const& object, IdTable const& instances,
               std::string const& bridge) {
  memberIs(object, "bridge", bridge);
  IdTable fids{};
  fids.fill(nowhere);
  eachEntry(listMember(object, "vid2fid", false), [&](Json const& entry, std::string& name) {
    auto const fid = numberOf(stringMember(entry, "fid"), maxId, R"(member "fid" is)");
    name = "FID " + std::to_string(fid);
    idsAre(fids, entry, "vid", fid, "VLAN ", "FID ");
  });
  for (std::uint16_t vlan = 0; vlan <= maxId; ++vlan) {
    auto const fid = fids.at(vlan);
    auto const instance = fid == nowhere ? nowhere : instances.at(fid);
    if (instance == nowhere || instance == 0) {
      continue;
    }
    if (vlan == 0 || vlan == maxId) {
      throw Refusal("VLAN " + std::to_string(vlan) + " is mapped to instance " +
                    std::to_string(instance) + ", only VLANs 1 to 4094 can be");
    }
    snapshot.vidToMsti.emplace_back(vlan, instance);
  }
}

/// The content of a file, or its first `maxSnapshotFile` + 1 bytes.
std::string contentOf(std::filesystem::path const& dir, std::string const& file) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const stream(
      std::fopen((dir / file).c_str(), "rb"), &std::fclose);
  std::string content;
  std::array<char, 65536> block{};
  while (stream && content.size() <= maxSnapshotFile) {
    auto const size = std::fread(block.data(), 1, block.size(), stream.get());
    content.append(block.data(), size);
    if (size < block.size()) {
      break;
    }
  }
  if (!stream || std::ferror(stream.get()) != 0) {
    throw SnapshotError({}, file, std::generic_category().message(errno));
  }
  return content;
}

}  // namespace

Snapshot parseSnapshot(SnapshotSource const& source, std::string const& bridge) {
  Snapshot snapshot;
  inFile(source, "showbridge.json", [&](Json const& json) { readBridge(snapshot, json, bridge); });
  inFile(source, "showportdetail.json",
         [&](Json const& json) { readPorts(snapshot, json, bridge); });
  if (snapshot.mode == 3) {
    inFile(source, "showmstilist.json",
           [&](Json const& json) { readMstis(snapshot, json, bridge); });
    for (auto& msti : snapshot.mstis) {
      inFile(source, "showtree-" + std::to_string(msti.id) + ".json",
             [&](Json const& json) { readTree(msti, json, bridge); });
    }
  }
  inFile(source, "showmstconfid.json", [&](Json const& json) {
    memberIs(json, "bridge", bridge);
    snapshot.regionName = stringMember(json, "configuration-name");
    snapshot.revision =
        numberOf(stringMember(json, "revision-level"), std::numeric_limits<std::uint64_t>::max(),
                 R"(member "revision-level" is)");
  });
  IdTable instances{};
  inFile(source, "showfid2mstid.json",
         [&](Json const& json) { instances = instancesOfFids(snapshot, json, bridge); });
  inFile(source, "showvid2fid.json",
         [&](Json const& json) { readVlans(snapshot, json, instances, bridge); });
  return snapshot;
}

Snapshot readSnapshot(std::filesystem::path const& dir, std::string const& bridge) {
  try {
    return parseSnapshot([&dir](std::string const& file) { return contentOf(dir, file); }, bridge);
  } catch (SnapshotError const& error) {
    throw SnapshotError(dir, error.file(), error.reason());
  }
}

}  // namespace Agent

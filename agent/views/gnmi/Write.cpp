#include "agent/views/gnmi/Write.h"

#include <charconv>
#include <string>
#include <string_view>
#include <tuple>

#include "Bridging/VlanId.h"
#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/Selection.h"

namespace Agent::Gnmi {

namespace {

constexpr std::string_view writable = "/stp/global/config/disabled-vlan";

bool isWritable(SchemaNode const& node) {
  return node.path() == writable;
}

[[noreturn]] void refuseAt(std::string const& path, std::string const& reason) {
  throw Failure(Code::invalidArgument, path + ": " + reason);
}

[[noreturn]] void refuseOwned(std::string const& path) {
  throw Failure(Code::permissionDenied, path + ": the mirror of the spanning-tree state owns it; " +
                                            std::string(writable) + " alone can be set");
}

bool isVlan(std::uint64_t number) {
  return number >= Bridging::VlanId::first && number <= Bridging::VlanId::last;
}

// The number that a text begins with, which is taken from it.
std::optional<std::uint64_t> takeNumber(std::string_view& text) {
  std::uint64_t number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) {
    return std::nullopt;
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

void addRange(Stp::VlanSet& vlans, std::uint64_t first, std::uint64_t last) {
  for (std::uint64_t vlan = first; vlan <= last; ++vlan) {
    vlans.insert(static_cast<std::uint16_t>(vlan));
  }
}

// One entry: a VLAN as a number, a range as "10..12".
void addEntry(Stp::VlanSet& vlans, std::string const& path, Json const& entry) {
  if (entry.is_number_unsigned() && isVlan(entry.get<std::uint64_t>())) {
    addRange(vlans, entry.get<std::uint64_t>(), entry.get<std::uint64_t>());
    return;
  }
  if (entry.is_string()) {
    constexpr std::string_view to = "..";
    std::string_view text = entry.get_ref<std::string const&>();
    auto const first = takeNumber(text);
    bool const isRange = first && text.substr(0, to.size()) == to;
    text.remove_prefix(isRange ? to.size() : 0);
    auto const last = isRange ? takeNumber(text) : std::nullopt;
    if (last && text.empty() && isVlan(*first) && isVlan(*last) && *first <= *last) {
      addRange(vlans, *first, *last);
      return;
    }
  }
  refuseAt(path,
           brief(entry) + " is neither a VLAN from 1 to 4094 nor a range of them as \"10..12\"");
}

Stp::VlanSet readVlans(std::string const& path, Json const& value) {
  Stp::VlanSet vlans;
  if (!value.is_array()) {
    addEntry(vlans, path, value);
    return vlans;
  }
  for (Json const& entry : value) {
    addEntry(vlans, path, entry);
  }
  return vlans;
}

// The only leaf that JSON for a container can set, if it has it. What else it has is refused.
std::optional<Stp::VlanSet> readContainer(SchemaNode const& node, std::string const& path,
                                          Json const& value) {
  if (!value.is_object()) {
    refuseAt(path, brief(value) + " is no object");
  }
  std::optional<Stp::VlanSet> vlans;
  for (auto const& [name, member] : value.items()) {
    SchemaNode const* const child = node.child(name);
    std::string const at = (path == "/" ? "" : path) + "/" + name;
    if (child == nullptr) {
      refuseAt(at, "not in the model");
    }
    if (isWritable(*child)) {
      vlans = readVlans(at, member);
    } else if (child->isLeaf() || child->isList()) {
      refuseOwned(at);
    } else if (!child->isServed()) {
      throw Failure(Code::unimplemented, at + ": not served");
    } else if (auto const below = readContainer(*child, at, member)) {
      vlans = below;
    }
  }
  return vlans;
}

}  // namespace

Write::Write(std::span<WriteRequest const> requests) {
  for (WriteRequest const& request : requests) {
    add(request);
  }
}

void Write::add(WriteRequest const& request) {
  using Kind = WriteRequest::Kind;
  ResolvedPath const path = resolve(request.path, Purpose::write);
  SchemaNode const& node = *path.nodes.front().node;
  if (isWritable(node)) {
    if (request.kind == Kind::remove) {
      steps_.push_back({Step::Kind::clear});
    } else {
      steps_.push_back({request.kind == Kind::replace ? Step::Kind::set : Step::Kind::add,
                        readVlans(path.text, request.value)});
    }
    return;
  }
  if (node.isLeaf() || request.kind != Kind::update) {
    refuseOwned(path.text);
  }
  if (auto const vlans = readContainer(node, path.text, request.value)) {
    steps_.push_back({Step::Kind::add, *vlans});
  }
}

Stp::VlanSet Write::disabledVlans(Stp::VlanSet vlans) const {
  for (Step const& step : steps_) {
    if (step.kind != Step::Kind::add) {
      vlans = {};
    }
    for (unsigned vlan = step.vlans.next(0); vlan < Stp::VlanSet::size;
         vlan = step.vlans.next(vlan + 1)) {
      vlans.insert(static_cast<std::uint16_t>(vlan));
    }
  }
  return vlans;
}

}  // namespace Agent::Gnmi

#include "agent/text/Identifiers.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <system_error>

#include "Lumo/RangeException.h"
#include "Stp/vlans/InstanceName.h"

namespace Agent {

namespace {

constexpr std::size_t octets = 6;

void digitsAdd(std::string& text, std::uint64_t value, unsigned count) {
  while (count != 0) {
    --count;
    text += "0123456789ABCDEF"[value >> (4U * count) & 0xFU];
  }
}

// Takes a text apart, from its beginning.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  std::uint64_t digits(std::size_t count) {
    std::uint64_t value = 0;
    auto const* const end = rest_.data() + std::min(count, rest_.size());
    auto const read = std::from_chars(rest_.data(), end, value, 16);
    isGood_ = isGood_ && rest_.size() >= count && read.ec == std::errc() && read.ptr == end;
    rest_.remove_prefix(std::min(count, rest_.size()));
    return value;
  }
  void separator(char expected) {
    isGood_ = isGood_ && rest_.starts_with(expected);
    rest_.remove_prefix(std::min(std::size_t{1}, rest_.size()));
  }
  bool isDone() const { return isGood_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool isGood_ = true;
};

}  // namespace

std::string textOf(Stp::BridgeId id) {
  std::string text;
  digitsAdd(text, id.priority() >> 12U, 1);
  text += '.';
  digitsAdd(text, id.systemId(), 3);
  for (std::size_t octet = 0; octet < octets; ++octet) {
    text += octet == 0 ? '.' : ':';
    digitsAdd(text, id.address() >> (8U * (octets - 1 - octet)), 2);
  }
  return text;
}

std::string textOf(Stp::PortId id) {
  std::string text;
  digitsAdd(text, id.priority() >> 4U, 1);
  text += '.';
  digitsAdd(text, id.number(), 3);
  return text;
}

std::string textOf(Stp::TreeId tree) {
  return tree == Stp::TreeId::rst() ? "Rst" : Stp::instanceIdToMstiName(tree.value()).toString();
}

std::string textOf(Stp::TreePortId id) {
  return textOf(id.tree) + "/" + id.port.stringValue().toString();
}

std::optional<Stp::BridgeId> bridgeIdOf(std::string_view text) {
  Reader reader(text);
  auto const priority = reader.digits(1);
  reader.separator('.');
  auto const systemId = reader.digits(3);
  std::uint64_t address = 0;
  for (std::size_t octet = 0; octet < octets; ++octet) {
    reader.separator(octet == 0 ? '.' : ':');
    address = address << 8U | reader.digits(2);
  }
  if (!reader.isDone()) {
    return std::nullopt;
  }
  return Stp::BridgeId(static_cast<std::uint16_t>(priority << 12U),
                       static_cast<std::uint16_t>(systemId), address);
}

std::optional<Stp::PortId> portIdOf(std::string_view text) {
  Reader reader(text);
  auto const priority = reader.digits(1);
  reader.separator('.');
  auto const number = reader.digits(3);
  if (!reader.isDone()) {
    return std::nullopt;
  }
  return Stp::PortId(static_cast<std::uint8_t>(priority << 4U), static_cast<std::uint16_t>(number));
}

std::optional<Stp::TreeId> treeIdOf(std::string_view text) {
  if (text == "Rst") {
    return Stp::TreeId::rst();
  }
  try {
    return Stp::TreeId::mst(Stp::mstiNameToInstanceId(Lumo::String(text)));
  } catch (Lumo::RangeException const&) {
    return std::nullopt;
  }
}

std::optional<Stp::TreePortId> treePortIdOf(std::string_view text) {
  auto const slash = text.find('/');
  auto const tree = treeIdOf(text.substr(0, slash));
  if (!tree || slash == std::string_view::npos || slash + 1 == text.size()) {
    return std::nullopt;
  }
  return Stp::TreePortId{*tree, Lanx::IntfId::of(Lumo::String(text.substr(slash + 1)))};
}

}  // namespace Agent

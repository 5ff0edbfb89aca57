#include "agent/sources/sonic/Keys.h"

#include <algorithm>
#include <array>

#include "agent/sources/sonic/Conversions.h"

namespace Agent::Sonic {

namespace {

// Decimal digits without leading zeros.
std::optional<std::uint16_t> id(std::string_view text, std::uint16_t greatest) {
  auto const value = number<std::uint16_t>(text);
  bool const isPlain = !text.starts_with('0') || text == "0";
  return isPlain && value && *value <= greatest ? value : std::nullopt;
}

constexpr char upper(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

// Takes a word, in any case, off the beginning of a text.
bool take(std::string_view& text, std::string_view word) {
  bool const isThere = text.size() >= word.size() &&
                       std::ranges::equal(text.substr(0, word.size()), word, {}, upper);
  if (isThere) {
    text.remove_prefix(word.size());
  }
  return isThere;
}

struct InstanceForm {
  std::string_view prefix;
  std::uint8_t rank;
};
constexpr std::array<InstanceForm, 3> instanceForms{
    {{"MST_INSTANCE|", 0}, {"MST_INSTANCE:", 2}, {"", 1}}};

// The two parts of a key that has them.
std::optional<std::pair<std::string_view, std::string_view>> parts(std::string_view rest,
                                                                   std::string_view separator) {
  std::size_t const at = rest.find(separator);
  if (at == std::string_view::npos) {
    return std::nullopt;
  }
  return std::pair(rest.substr(0, at), rest.substr(at + separator.size()));
}

}  // namespace

std::optional<ReadKey<OnlyRow>> globalKey(std::string_view rest, std::string_view /*separator*/) {
  return rest == "GLOBAL" ? std::optional(ReadKey<OnlyRow>{}) : std::nullopt;
}

std::optional<ReadKey<std::uint16_t>> vlanKey(std::string_view rest,
                                              std::string_view /*separator*/) {
  constexpr std::string_view word = "Vlan";
  auto const vlan =
      rest.starts_with(word) ? id(rest.substr(word.size()), largestVlan) : std::nullopt;
  return vlan && *vlan != 0 ? std::optional(ReadKey<std::uint16_t>{*vlan}) : std::nullopt;
}

std::optional<ReadKey<Lumo::String>> portKey(std::string_view rest,
                                             std::string_view /*separator*/) {
  return !rest.empty() && isUtf8(rest) ? std::optional(ReadKey<Lumo::String>{rest}) : std::nullopt;
}

std::optional<ReadKey<std::uint16_t>> instanceKey(std::string_view rest,
                                                  std::string_view /*separator*/) {
  auto const instance = id(rest, largestInstance);
  return instance ? std::optional(ReadKey<std::uint16_t>{*instance}) : std::nullopt;
}

std::optional<ReadKey<std::uint16_t>> anyInstanceKey(std::string_view rest,
                                                     std::string_view separator) {
  for (InstanceForm const& form : instanceForms) {
    if (take(rest, form.prefix)) {
      take(rest, "INSTANCE");
      auto key = instanceKey(rest, separator);
      if (key) {
        key->rank = form.rank;
      }
      return key;
    }
  }
  return std::nullopt;
}

std::optional<ReadKey<TreePortKey>> treePortKey(std::string_view rest, std::string_view separator) {
  auto const both = parts(rest, separator);
  auto const instance = both ? instanceKey(both->first, separator) : std::nullopt;
  auto const port = both ? portKey(both->second, separator) : std::nullopt;
  if (!instance || !port) {
    return std::nullopt;
  }
  return ReadKey<TreePortKey>{{instance->key, port->key}};
}

std::optional<ReadKey<Lumo::String>> vlanPortKey(std::string_view rest,
                                                 std::string_view separator) {
  auto const both = parts(rest, separator);
  return both && vlanKey(both->first, separator) ? portKey(both->second, separator) : std::nullopt;
}

}  // namespace Agent::Sonic

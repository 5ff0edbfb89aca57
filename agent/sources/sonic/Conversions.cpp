#include "agent/sources/sonic/Conversions.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <utility>

#include "agent/text/Json.h"

namespace Agent::Sonic {

namespace {

template <class Value>
using Word = std::pair<std::string_view, Value>;

template <class Value>
std::optional<Value> valueOf(std::span<Word<Value> const> words, std::string_view text) {
  auto const found = std::ranges::find(words, text, &Word<Value>::first);
  return found == words.end() ? std::nullopt : std::optional(found->second);
}

constexpr std::array<Word<bool>, 2> truths{{{"true", true}, {"false", false}}};
constexpr std::array<Word<bool>, 2> answers{{{"yes", true}, {"no", false}}};

constexpr std::array<Word<Stp::Mode>, 4> modes{{{"mst", Stp::Mode::mstp},
                                                {"rpvst", Stp::Mode::rapidPvst},
                                                {"rstp", Stp::Mode::rstp},
                                                {"pvst", pvst}}};

using LinkType = Stp::Input::PortConfig::LinkType;
constexpr std::array<Word<LinkType>, 3> linkTypes{{{"auto", LinkType::automatic},
                                                   {"point-to-point", LinkType::pointToPoint},
                                                   {"shared", LinkType::shared}}};

using Role = Stp::Operational::PortRole;
constexpr std::array<Word<Role>, 6> roles{{{"ROOT", Role::root},
                                           {"DESIGNATED", Role::designated},
                                           {"ALTERNATE", Role::alternate},
                                           {"BACKUP", Role::backup},
                                           {"MASTER", Role::master},
                                           {"DISABLED", Role::disabled}}};

constexpr std::array<Word<TreePortState>, 5> states{{{"DISABLED", TreePortState::disabled},
                                                     {"DISCARDING", TreePortState::discarding},
                                                     {"LEARNING", TreePortState::learning},
                                                     {"FORWARDING", TreePortState::forwarding},
                                                     {"ROOT-INC", TreePortState::inconsistent}}};

std::optional<std::uint16_t> vlan(std::string_view text) {
  auto const id = number<std::uint16_t, largestVlan>(text);
  return id == 0 ? std::nullopt : id;
}

}  // namespace

std::optional<bool> trueOrFalse(std::string_view text) {
  return valueOf<bool>(truths, text);
}

std::optional<bool> yesOrNo(std::string_view text) {
  return valueOf<bool>(answers, text);
}

std::optional<bool> isOk(std::string_view text) {
  return text == "ok";
}

std::optional<bool> isShared(std::string_view text) {
  return text == "shared";
}

std::optional<Stp::Mode> mode(std::string_view text) {
  return valueOf<Stp::Mode>(modes, text);
}

std::optional<LinkType> linkType(std::string_view text) {
  return valueOf<LinkType>(linkTypes, text);
}

std::optional<Role> treePortRole(std::string_view text) {
  return valueOf<Role>(roles, text);
}

std::optional<TreePortState> treePortState(std::string_view text) {
  return valueOf<TreePortState>(states, text);
}

// However often a list names the same VLANs, each is looked at once.
std::optional<Stp::VlanSet> vlans(std::string_view text) {
  std::array<std::int64_t, Stp::VlanSet::size + 1> begun{};  // ranges at each id, less the ended
  while (!text.empty()) {
    std::size_t const comma = text.find(',');
    std::string_view const entry = text.substr(0, comma);
    text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    std::size_t const dash = entry.find('-');
    auto const first = vlan(entry.substr(0, dash));
    auto const last = dash == std::string_view::npos ? first : vlan(entry.substr(dash + 1));
    if (!first || !last || *first > *last) {
      return std::nullopt;
    }
    ++begun[*first];
    --begun[*last + 1U];
  }
  Stp::VlanSet result;
  std::int64_t open = 0;
  for (std::uint16_t id = 0; id < Stp::VlanSet::size; ++id) {
    open += begun[id];
    if (open > 0) {
      result.insert(id);
    }
  }
  return result;
}

std::optional<Lumo::String> readableName(std::string_view text) {
  if (isUtf8(text)) {
    return Lumo::String(text);
  }
  std::string const shown = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
  return Lumo::String(Json::parse(shown).get<std::string>());
}

bool isUtf8(std::string_view text) {
  // As the parser has it, which knows of overlong forms and surrogates.
  if (std::ranges::all_of(text,
                          [](char byte) { return static_cast<unsigned char>(byte) < 0x80; })) {
    return true;
  }
  try {
    (void)Json(text).dump();
    return true;
  } catch (Json::type_error const&) {
    return false;
  }
}

}  // namespace Agent::Sonic

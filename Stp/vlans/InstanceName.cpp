#include "Stp/vlans/InstanceName.h"

#include <array>
#include <charconv>
#include <string>
#include <string_view>

#include "Lumo/RangeException.h"
#include "StpTypes/ConfigBase.h"

namespace Stp {

namespace {

constexpr std::string_view cist = "Cist";
constexpr std::string_view msti = "MST";

}  // namespace

Lumo::String const& mstpInstanceName() {
  static auto const& name = *new Lumo::String("Mst");
  return name;
}

Lumo::String const& instanceIdToMstiName(std::uint16_t instanceId) {
  // Names are asked for again and again; each is made once and kept.
  static auto& names = *new std::array<Lumo::String, largestMstInstanceId + 1>;
  if (instanceId > largestMstInstanceId) {
    Lumo::RangeException::throwException(
        "Stp::InstanceId::value < Stp::InstanceId::minInstanceId or > "
        "Stp::InstanceId::maxInternalInstanceId not allowed");
  }
  Lumo::String& name = names[instanceId];
  if (name.empty()) {
    name =
        instanceId == 0 ? std::string(cist) : std::string(msti).append(std::to_string(instanceId));
  }
  return name;
}

std::uint16_t mstiNameToInstanceId(Lumo::String const& name) {
  std::string_view const text = name.view();
  if (text == cist) {
    return 0;
  }
  if (text.starts_with(msti) && text.size() > msti.size() && text[msti.size()] != '0') {
    std::uint16_t id = 0;
    auto const [end, error] =
        std::from_chars(text.data() + msti.size(), text.data() + text.size(), id);
    if (error == std::errc() && end == text.data() + text.size() && id <= largestMstInstanceId) {
      return id;
    }
  }
  Lumo::RangeException::throwException("\"" + name.toString() +
                                       "\" is no MST instance name: neither Cist nor MST1 to "
                                       "MST4095");
}

}  // namespace Stp

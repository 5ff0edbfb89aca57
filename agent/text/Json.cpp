#include "agent/text/Json.h"

namespace Agent {

std::string inQuotes(std::string_view text) {
  constexpr std::size_t enough = 60;
  std::string const more = text.size() > enough ? "..." : "";
  return Json(text.substr(0, enough)).dump(-1, ' ', false, Json::error_handler_t::replace) + more;
}

std::string brief(Json const& value) {
  switch (value.type()) {
    case Json::value_t::string: return inQuotes(value.get_ref<std::string const&>());
    case Json::value_t::array: return "an array of " + std::to_string(value.size());
    case Json::value_t::object: return "an object";
    default: return value.dump();
  }
}

}  // namespace Agent

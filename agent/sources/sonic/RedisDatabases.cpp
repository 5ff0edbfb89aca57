#include "agent/sources/sonic/RedisDatabases.h"

#include <sys/un.h>

#include <charconv>
#include <fstream>
#include <iterator>
#include <system_error>

#include "agent/text/Json.h"
#include "agent/text/Refusal.h"

namespace Agent::Sonic {

namespace {

constexpr std::string_view unixPrefix = "unix:";
constexpr std::array<char const*, 3> databaseNames{"APPL_DB", "CONFIG_DB", "STATE_DB"};
constexpr std::size_t longestPath = sizeof(sockaddr_un::sun_path) - 1;

[[noreturn]] void refuseAddress(std::string_view text, char const* reason) {
  throw Refusal(inQuotes(text) + " " + reason);
}

void requirePath(std::string_view text, std::string_view path) {
  if (path.empty() || path.size() > longestPath || path.find('\0') != std::string_view::npos) {
    refuseAddress(text, "names no path of a unix socket");
  }
}

// The member of an object, which must have the kind that it is asked for; null if it is not there.
template <class Wanted>
Wanted const* member(Json const& object, std::string const& name, std::string const& where) {
  if (!object.is_object()) {
    throw Refusal(where + ": is no object");
  }
  auto const found = object.find(name);
  if (found == object.end()) {
    return nullptr;
  }
  auto const* const value = found->get_ptr<Wanted const*>();
  if (value == nullptr) {
    throw Refusal(where + "." + memberText(name) + ": can't be " + brief(*found));
  }
  return value;
}

template <class Number>
std::optional<Number> memberNumber(Json const& object, std::string const& name,
                                   std::string const& where, std::uint64_t greatest) {
  auto const* const value = member<Json::number_unsigned_t>(object, name, where);
  if (value == nullptr) {
    return std::nullopt;
  }
  if (*value > greatest) {
    throw Refusal(where + "." + name + ": is above " + std::to_string(greatest));
  }
  return static_cast<Number>(*value);
}

Json const& section(Json const& document, char const* name) {
  auto const found = document.find(name);
  if (found == document.end()) {
    throw Refusal(std::string(name) + ": is missing");
  }
  if (!found->is_object()) {
    throw Refusal(std::string(name) + ": is no object");
  }
  return *found;
}

std::optional<RedisAddress> instanceAddress(Json const& instance, std::string const& where) {
  if (auto const* const path = member<std::string>(instance, "unix_socket_path", where);
      path != nullptr && !path->empty()) {
    requirePath(*path, *path);
    return RedisAddress{*path, "", 0};
  }
  auto const* const host = member<std::string>(instance, "hostname", where);
  constexpr std::uint64_t greatestPort = 65535;
  auto const port = memberNumber<std::uint16_t>(instance, "port", where, greatestPort);
  if (host == nullptr || host->empty() || !port || *port == 0) {
    return std::nullopt;
  }
  return RedisAddress{"", *host, *port};
}

}  // namespace

std::string RedisAddress::text() const {
  if (!path.empty()) {
    return std::string(unixPrefix) + path;
  }
  bool const isV6 = host.find(':') != std::string::npos;
  return (isV6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

RedisAddress parseRedisAddress(std::string_view text) {
  if (text.starts_with(unixPrefix)) {
    auto const path = text.substr(unixPrefix.size());
    requirePath(text, path);
    return {std::string(path), "", 0};
  }
  auto const colon = text.rfind(':');
  if (colon == std::string_view::npos) {
    refuseAddress(text, "is neither unix:PATH nor HOST:PORT");
  }
  auto host = text.substr(0, colon);
  if (host.starts_with('[') && host.ends_with(']')) {
    host = host.substr(1, host.size() - 2);
  } else if (host.find(':') != std::string_view::npos) {
    refuseAddress(text, "needs brackets around the address before the port");
  }
  if (host.empty() || host.find('\0') != std::string_view::npos) {
    refuseAddress(text, "names no host");
  }
  auto const digits = text.substr(colon + 1);
  std::uint16_t port = 0;
  auto const [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (error != std::errc() || stop != digits.data() + digits.size() || port == 0) {
    refuseAddress(text, "names no port");
  }
  return {"", std::string(host), port};
}

DatabaseConfig parseDatabaseConfig(std::string const& text) {
  Json const document = Json::parse(text, nullptr, false);
  if (document.is_discarded()) {
    throw Refusal("is no JSON");
  }
  if (!document.is_object()) {
    throw Refusal("is no object");
  }
  DatabaseConfig config;
  std::optional<std::string> instance;
  Json const& databases = section(document, "DATABASES");
  for (std::size_t i = 0; i < databaseNames.size(); ++i) {
    std::string const name = databaseNames.at(i);
    std::string const where = "DATABASES." + name;
    auto const found = databases.find(name);
    if (found == databases.end()) {
      continue;
    }
    constexpr std::uint64_t greatestNumber = 65535;
    DatabaseLayout& layout = config.layouts.at(i);
    layout.number =
        memberNumber<unsigned>(*found, "id", where, greatestNumber).value_or(layout.number);
    if (auto const* const separator = member<std::string>(*found, "separator", where)) {
      if (separator->empty()) {
        throw Refusal(where + ".separator: is empty");
      }
      layout.separator = *separator;
    }
    if (auto const* const own = member<std::string>(*found, "instance", where)) {
      if (instance && *instance != *own) {
        throw Refusal(where + ".instance: is another than that of the databases before it; all " +
                      "of them have to be in one");
      }
      instance = *own;
    }
  }
  if (instance) {
    Json const& instances = section(document, "INSTANCES");
    std::string const where = "INSTANCES." + memberText(*instance);
    auto const found = instances.find(*instance);
    if (found == instances.end()) {
      throw Refusal(where + ": is missing");
    }
    config.address = instanceAddress(*found, where);
    if (auto const* const password = member<std::string>(*found, "password_path", where);
        password != nullptr && !password->empty()) {
      config.remarks.push_back(where + ".password_path: passwords are not given to the server");
    }
  }
  return config;
}

DatabaseConfig readDatabaseConfig(std::string const& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string text;
  try {
    text.assign(std::istreambuf_iterator<char>(stream), {});
  } catch (std::ios_base::failure const&) {
    stream.setstate(std::ios_base::badbit);  // a folder
  }
  if (!stream) {
    throw Refusal(file + ": can't be read");
  }
  try {
    return parseDatabaseConfig(text);
  } catch (Refusal const& refusal) {
    throw Refusal(file + ": " + refusal.what());
  }
}

}  // namespace Agent::Sonic

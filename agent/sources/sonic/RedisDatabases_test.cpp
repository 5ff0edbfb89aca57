// Addresses, and the file that says where the databases are.
#include "agent/sources/sonic/RedisDatabases.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "agent/text/Refusal.h"

namespace Agent::Sonic {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

template <class Work>
std::string refusalOf(Work const& work) {
  try {
    work();
    return "";
  } catch (Refusal const& refusal) {
    return refusal.what();
  }
}

TEST(RedisAddress, IsReadAsItIsWritten) {
  struct Case {
    std::string text;
    RedisAddress address;
  };
  for (auto const& [text, address] : {
           Case{"unix:/var/run/redis/redis.sock", {"/var/run/redis/redis.sock", "", 0}},
           Case{"unix:a:1", {"a:1", "", 0}},
           Case{"127.0.0.1:6379", {"", "127.0.0.1", 6379}},
           Case{"switch.example:1", {"", "switch.example", 1}},
           Case{"[::1]:65535", {"", "::1", 65535}},
       }) {
    EXPECT_EQ(parseRedisAddress(text), address) << text;
    EXPECT_EQ(address.text(), text);
  }
}

TEST(RedisAddress, SaysWhatIsWrong) {
  struct Case {
    std::string text;
    std::string reason;
  };
  for (auto const& [text, reason] : {
           Case{"", "is neither unix:PATH nor HOST:PORT"},
           Case{"/var/run/redis.sock", "is neither unix:PATH nor HOST:PORT"},
           Case{"unix:", "names no path of a unix socket"},
           Case{"unix:" + std::string(108, 'a'), "names no path of a unix socket"},
           Case{"localhost:", "names no port"},
           Case{"localhost:0", "names no port"},
           Case{"localhost:65536", "names no port"},
           Case{"localhost:1x", "names no port"},
           Case{"localhost:-1", "names no port"},
           Case{":6379", "names no host"},
           Case{"[]:6379", "names no host"},
           Case{"::1:6379", "needs brackets around the address before the port"},
       }) {
    EXPECT_THAT(refusalOf([&, given = text] { parseRedisAddress(given); }), HasSubstr(reason))
        << text;
  }
}

TEST(DatabaseConfig, HasTheUsualNumbersAndSeparatorsWhereItSaysNothing) {
  for (auto const* const text : {R"({"DATABASES": {}})", R"({"DATABASES": {"COUNTERS_DB": {}}})"}) {
    auto const config = parseDatabaseConfig(text);
    EXPECT_EQ(config.address, std::nullopt);
    EXPECT_EQ(config.layout(Store::application), (DatabaseLayout{0, ":"}));
    EXPECT_EQ(config.layout(Store::configuration), (DatabaseLayout{4, "|"}));
    EXPECT_EQ(config.layout(Store::state), (DatabaseLayout{6, "|"}));
    EXPECT_THAT(config.remarks, IsEmpty());
  }
}

std::string withInstance(std::string const& instance) {
  return R"({"INSTANCES": {"redis": )" + instance + R"(},
             "DATABASES": {"APPL_DB": {"id": 10, "separator": "/", "instance": "redis"},
                           "STATE_DB": {"id": 16, "separator": "!", "instance": "redis"}},
             "VERSION": "1.0"})";
}

TEST(DatabaseConfig, SaysNumbersAndSeparators) {
  auto const config = parseDatabaseConfig(withInstance("{}"));
  EXPECT_EQ(config.layout(Store::application), (DatabaseLayout{10, "/"}));
  EXPECT_EQ(config.layout(Store::configuration), (DatabaseLayout{4, "|"}));
  EXPECT_EQ(config.layout(Store::state), (DatabaseLayout{16, "!"}));
}

TEST(DatabaseConfig, UnixSocketComesBeforeHostAndPort) {
  struct Case {
    std::string instance;
    std::optional<RedisAddress> address;
  };
  for (auto const& [instance, address] : {
           Case{R"({"hostname": "a", "port": 1, "unix_socket_path": "/b"})",
                RedisAddress{"/b", "", 0}},
           Case{R"({"hostname": "a", "port": 1, "unix_socket_path": ""})",
                RedisAddress{"", "a", 1}},
           Case{R"({"hostname": "a", "port": 1})", RedisAddress{"", "a", 1}},
           Case{R"({"hostname": "a"})", std::nullopt},
           Case{R"({"port": 1})", std::nullopt},
       }) {
    EXPECT_EQ(parseDatabaseConfig(withInstance(instance)).address, address) << instance;
  }
}

TEST(DatabaseConfig, TellsOfAPasswordThatIsNotGiven) {
  auto const config = parseDatabaseConfig(withInstance(R"({"password_path": "/secret"})"));
  EXPECT_THAT(config.remarks, ElementsAre(HasSubstr("password_path")));
}

TEST(DatabaseConfig, SaysWhatIsWrong) {
  struct Case {
    std::string text;
    std::string reason;
  };
  for (auto const& [text, reason] : {
           Case{"", "is no JSON"},
           Case{"{", "is no JSON"},
           Case{"[]", "is no object"},
           Case{"{}", "DATABASES: is missing"},
           Case{R"({"DATABASES": 1})", "DATABASES: is no object"},
           Case{R"({"DATABASES": {"APPL_DB": 1}})", "DATABASES.APPL_DB: is no object"},
           Case{R"({"DATABASES": {"APPL_DB": {"id": -1}}})", "DATABASES.APPL_DB.id: can't be -1"},
           Case{R"({"DATABASES": {"APPL_DB": {"id": 65536}}})",
                "DATABASES.APPL_DB.id: is above 65535"},
           Case{R"({"DATABASES": {"STATE_DB": {"separator": ""}}})",
                "DATABASES.STATE_DB.separator: is empty"},
           Case{R"({"DATABASES": {"STATE_DB": {"separator": 1}}})",
                "DATABASES.STATE_DB.separator: can't be 1"},
           Case{R"({"DATABASES": {"STATE_DB": {"instance": "redis"}}})", "INSTANCES: is missing"},
           Case{R"({"DATABASES": {"STATE_DB": {"instance": "redis"}}, "INSTANCES": {}})",
                "INSTANCES.redis: is missing"},
           Case{R"({"DATABASES": {"APPL_DB": {"instance": "a"}, "STATE_DB": {"instance": "b"}}})",
                "DATABASES.STATE_DB.instance: is another than that of the databases before it"},
           Case{withInstance(R"({"port": 65536})"), "INSTANCES.redis.port: is above 65535"},
           Case{withInstance(R"({"unix_socket_path": ")" + std::string(108, 'a') + R"("})"),
                "names no path of a unix socket"},
       }) {
    EXPECT_THAT(refusalOf([&, given = text] { parseDatabaseConfig(given); }), HasSubstr(reason))
        << text;
  }
}

TEST(DatabaseConfig, NamesAFileThatCanNotBeRead) {
  for (std::string const name : {"/no/such/file", "/"}) {
    EXPECT_EQ(refusalOf([&] { readDatabaseConfig(name); }), name + ": can't be read");
  }
}

}  // namespace
}  // namespace Agent::Sonic

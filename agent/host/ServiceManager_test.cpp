// What a service manager is told, on a clock of the test's own.
#include "agent/host/ServiceManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace Agent {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class ServiceManagerTest : public testing::Test {
 protected:
  ServiceManagerTest() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string const path = folder_ + "/notify";
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
    ::setenv("WATCHDOG_USEC", "2000000", 1);
  }
  ~ServiceManagerTest() override {
    ::unsetenv("NOTIFY_SOCKET");
    ::unsetenv("WATCHDOG_USEC");
    ::close(socket_);
    std::filesystem::remove_all(folder_);
  }

  void passes(milliseconds time) {
    now += time;
    loop.turn(Loop::Clock::duration::zero());
  }

  // What was told since this was last asked.
  std::vector<std::string> told() const {
    std::vector<std::string> all;
    std::array<char, 4096> text{};
    for (ssize_t size = 0; (size = ::recv(socket_, text.data(), text.size(), MSG_DONTWAIT)) >= 0;) {
      all.emplace_back(text.data(), static_cast<std::size_t>(size));
    }
    return all;
  }

  Loop::Time now{std::chrono::hours(1)};
  Loop loop{[this] { return now; }};

 private:
  static std::string makeFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "service-XXXXXX").string();
    return ::mkdtemp(pattern.data());
  }

  std::string folder_ = makeFolder();
  int socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

TEST_F(ServiceManagerTest, SignOfLifeComesTwiceInTheTimeThatIsBorne) {
  ServiceManager manager(loop);
  passes(milliseconds(5000));
  EXPECT_THAT(told(), IsEmpty()) << "it is not up yet";
  manager.working("well");
  EXPECT_THAT(told(), ElementsAre("READY=1\nWATCHDOG=1\nSTATUS=well"));
  for (int sign = 0; sign < 3; ++sign) {
    passes(milliseconds(999));
    EXPECT_THAT(told(), IsEmpty());
    passes(milliseconds(1));
    EXPECT_THAT(told(), ElementsAre("WATCHDOG=1"));
  }
  manager.working("still well");
  EXPECT_THAT(told(), ElementsAre("READY=1\nWATCHDOG=1\nSTATUS=still well"));
}

TEST_F(ServiceManagerTest, NobodyWhoWatchesIsToldOfLife) {
  ::unsetenv("WATCHDOG_USEC");
  ServiceManager manager(loop);
  manager.working("well");
  passes(milliseconds(5000));
  EXPECT_THAT(told(), ElementsAre("READY=1\nWATCHDOG=1\nSTATUS=well"));
  ServiceManager::stopping();
  EXPECT_THAT(told(), ElementsAre("STOPPING=1"));
}

}  // namespace
}  // namespace Agent

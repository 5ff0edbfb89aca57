// The agent as a unit of the service manager, which listens on a socket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include "Process.h"

namespace Test {
namespace {

class Service : public testing::Test {
 protected:
  Service() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    std::filesystem::create_symlink(STP_CAPTURES_DIR "/01-converged", folder_.path("now"));
  }
  ~Service() override { ::close(socket_); }

  // What the agent is started with; every hour it looks at the engine.
  std::vector<std::string> following(std::string const& program = STP_MSTPCTL) const {
    return {"follow",     "--bridge", "br0",    "--mstpctl", program,
            "--interval", "3600",     "--show", "none"};
  }
  Surroundings around(std::vector<std::string> variables = {}) const {
    variables.push_back("ENGINE=" + folder_.path(""));
    variables.push_back("NOTIFY_SOCKET=" + path_);
    return {.environment = std::move(variables)};
  }

  // What the service manager is told next.
  std::string told() const {
    pollfd readable{socket_, POLLIN, 0};
    if (::poll(&readable, 1, 60'000) != 1) {
      ADD_FAILURE() << "nothing is told";
      return "";
    }
    std::array<char, 4096> text{};
    ssize_t const size = ::recv(socket_, text.data(), text.size(), 0);
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
  }

 private:
  Folder folder_;
  std::string path_ = folder_.path("notify");
  int socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

TEST_F(Service, IsReadyWithTheFirstSnapshotAndSaysWhenItStops) {
  Process agent(following(), around());
  EXPECT_EQ(told(), "READY=1\nWATCHDOG=1\nSTATUS=Following br0");
  agent.signal(SIGTERM);
  EXPECT_EQ(told(), "STOPPING=1");
  EXPECT_EQ(agent.finish().status, 0);
}

TEST_F(Service, IsReadyWithoutAnEngineAndSaysSo) {
  Process const agent(following("/nonexistent"), around());
  EXPECT_EQ(
      told(),
      "READY=1\nWATCHDOG=1\nSTATUS=/nonexistent: can't be started: No such file or directory");
}

TEST_F(Service, SignsOfLifeComeWhileItWaits) {
  Process const agent(following("/nonexistent"), around({"WATCHDOG_USEC=20000"}));
  EXPECT_THAT(told(), testing::StartsWith("READY=1\nWATCHDOG=1\n"));
  for (int sign = 0; sign < 5; ++sign) {
    EXPECT_EQ(told(), "WATCHDOG=1");
  }
}

}  // namespace
}  // namespace Test

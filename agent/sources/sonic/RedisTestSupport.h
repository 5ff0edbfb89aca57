// A real server for the tests of what reads it, on a unix socket of its own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <hiredis/hiredis.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/host/Interrupt.h"
#include "agent/sources/sonic/RedisSource.h"

namespace Agent::Sonic {

/// Runs while it lives, without a file of its rows unless an option asks for one.
class RedisServer {
 public:
  using Words = std::vector<std::string>;

  explicit RedisServer(Words options = {"--notify-keyspace-events", "AKE"})
      : options_(std::move(options)) {
    start();
  }
  RedisServer(RedisServer const&) = delete;
  RedisServer& operator=(RedisServer const&) = delete;
  ~RedisServer() {
    kill();
    std::filesystem::remove_all(folder_);
  }

  RedisAddress address() const { return {socket(), "", 0}; }
  std::string socket() const { return folder_ + "/redis.sock"; }

  /// Starts the program, and waits until it listens.
  void start() {
    Words words{
        "redis-server", "--port", "0", "--unixsocket", socket(),         "--dir",
        folder_,        "--save", "",  "--logfile",    folder_ + "/log", "--enable-debug-command",
        "yes"};
    words.insert(words.end(), options_.begin(), options_.end());
    std::vector<char*> arguments;
    for (std::string& word : words) {
      arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    process_ = ::fork();
    if (process_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      ::execvp(arguments.front(), arguments.data());
      ::_exit(127);
    }
    while (!connected()) {
      if (::waitpid(process_, nullptr, WNOHANG) != 0) {
        process_ = -1;
        throw std::runtime_error("redis-server does not run");
      }
      ::usleep(1000);
    }
  }

  /// What was not saved is lost.
  void kill() {
    context_.reset();
    if (process_ > 0) {
      ::kill(process_, SIGKILL);
      ::waitpid(std::exchange(process_, -1), nullptr, 0);
    }
  }

  void signal(int number) const { ::kill(process_, number); }
  void optionsAre(Words options) { options_ = std::move(options); }

  /// The answer to a command; of a connection of its own.
  struct Reply {
    int type = 0;
    std::string text;
    long long number = 0;
    std::vector<Reply> elements;
  };
  Reply command(Words const& words) {
    std::vector<char const*> texts;
    std::vector<std::size_t> sizes;
    for (std::string const& word : words) {
      texts.push_back(word.data());
      sizes.push_back(word.size());
    }
    auto const send = [&] {
      return ::redisCommandArgv(context_.get(), static_cast<int>(words.size()), texts.data(),
                                sizes.data());
    };
    std::unique_ptr<void, void (*)(void*)> reply(send(), &::freeReplyObject);
    if (!reply && connected()) {
      reply.reset(send());
    }
    if (!reply) {
      throw std::runtime_error(words.front() + ": " + context_->errstr);
    }
    return replyOf(*static_cast<redisReply const*>(reply.get()));
  }
  Reply command(int database, Words const& words) {
    command({"SELECT", std::to_string(database)});
    return command(words);
  }

  /// All rows of a database, as one command after another shows them.
  std::map<std::string, std::map<std::string, std::string, std::less<>>> rows(int database) {
    std::map<std::string, std::map<std::string, std::string, std::less<>>> rows;
    for (Reply const& key : command(database, {"KEYS", "*"}).elements) {
      if (command({"TYPE", key.text}).text == "hash") {
        auto const fields = command({"HGETALL", key.text}).elements;
        for (std::size_t i = 0; i + 1 < fields.size(); i += 2) {
          rows[key.text][fields[i].text] = fields[i + 1].text;
        }
      }
    }
    return rows;
  }

 private:
  struct Free {
    void operator()(redisContext* context) const { ::redisFree(context); }
  };

  static std::string makeFolder() {
    std::string name = testing::TempDir() + "redis-XXXXXX";
    return ::mkdtemp(name.data());
  }
  bool connected() {
    context_.reset(::redisConnectUnix(socket().c_str()));
    return context_->err == 0;
  }
  static Reply replyOf(redisReply const& reply) {
    Reply result{reply.type,
                 reply.str != nullptr ? std::string(reply.str, reply.len) : "",
                 reply.integer,
                 {}};
    for (std::size_t i = 0; i < reply.elements; ++i) {
      result.elements.push_back(replyOf(*reply.element[i]));
    }
    return result;
  }

  std::string folder_ = makeFolder();
  Words options_;
  pid_t process_ = -1;
  std::unique_ptr<redisContext, Free> context_;
};

/// Has what was delivered. All keys are wanted but those that begin with "other".
class KeptRows final : public RowListener {
 public:
  bool isMapped(Store /*store*/, std::string_view key) const override {
    return !key.starts_with("other");
  }
  std::vector<std::string> patterns(Store store) const override {
    return store == Store::application ? std::vector<std::string>{"*STP*", "[^_]*", "_*"}
                                       : std::vector<std::string>{"*"};
  }
  void scanned(std::vector<RowRead> all) override {
    ++scans;
    wrong.clear();
    rows.clear();
    take(std::move(all));
  }
  void changed(std::vector<RowRead> some) override {
    ++changes;
    take(std::move(some));
  }
  void lost(std::string const& reason) override { reasons.push_back(reason); }
  void remark(std::string const& text) override { remarks.push_back(text); }

  Fields const* row(Store store, std::string const& key) const {
    auto const found = rows.find({store, key});
    return found == rows.end() ? nullptr : &found->second;
  }

  std::map<RowKey, Fields> rows;
  std::set<RowKey> wrong;  // what is no row
  std::size_t scans = 0;
  std::size_t changes = 0;
  std::vector<std::string> reasons;
  std::vector<std::string> remarks;

 private:
  void take(std::vector<RowRead> read) {
    for (RowRead& row : read) {
      RowKey key{row.store, std::move(row.key)};
      wrong.erase(key);
      rows.erase(key);
      if (row.fields) {
        rows.emplace(std::move(key), std::move(*row.fields));
      } else if (row.isWrongType) {
        wrong.insert(std::move(key));
      }
    }
  }
};

/// A source behind a server, which scans when it connects, and then never.
class RedisSourceTest : public testing::Test {
 protected:
  static constexpr int application = 0;
  static constexpr int configuration = 4;
  static constexpr int state = 6;

  RedisSettings settings() const {
    RedisSettings settings;
    settings.address = server.address();
    settings.resync = {};
    return settings;
  }

  void follow() { follow(settings()); }
  void follow(RedisSettings const& settings) { source.emplace(loop, settings, kept); }

  /// Turns the loop until something holds; false after a long time.
  bool comes(std::function<bool()> const& holds) {
    bool isLate = false;
    auto const limit = loop.after(std::chrono::seconds(30), [&isLate] { isLate = true; });
    while (!holds() && !isLate) {
      loop.turn(std::chrono::milliseconds(100));
    }
    return !isLate;
  }
  bool scanComes(std::size_t number = 1) {
    return comes([&] { return kept.scans >= number; });
  }
  bool rowComes(Store store, std::string const& key, Fields const& fields) {
    return comes([&] {
      auto const* const row = kept.row(store, key);
      return row != nullptr && *row == fields;
    });
  }
  bool rowGoes(Store store, std::string const& key) {
    return comes([&] { return kept.row(store, key) == nullptr; });
  }

  Loop loop;
  Interrupt interrupt{loop};  // a connection that breaks is no signal
  RedisServer server;
  KeptRows kept;
  std::optional<RedisSource> source;
};

}  // namespace Agent::Sonic

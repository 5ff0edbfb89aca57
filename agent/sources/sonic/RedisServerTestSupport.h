// A real server for the tests of what reads it, on a unix socket of its own.
#pragma once

#include <gtest/gtest.h>
#include <hiredis/hiredis.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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

}  // namespace Agent::Sonic

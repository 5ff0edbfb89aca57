// One connection to a Redis server, on the agent's loop.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "agent/host/Loop.h"
#include "agent/sources/sonic/RedisDatabases.h"

struct redisAsyncContext;
struct redisReply;

namespace Agent::Sonic {

/// Commands are sent in the order in which they are given, all that are given before the loop
/// turns together, and answered in that order. It never waits, but for the name of a host to be
/// looked up.
///
/// SIGPIPE must be ignored (Interrupt.h sees to it).
///
/// Whoever is told of a reply runs inside the library that reads it: nothing may be thrown there,
/// and the connection must not be dropped.
class RedisConnection {
 public:
  using OnReply = std::function<void(redisReply const& reply)>;
  using OnLost = std::function<void(std::string const& reason)>;

  /// `onLost` is called once if the connection can't be made or breaks, as the loop turns, and may
  /// end this. What is not answered then never is.
  RedisConnection(Loop& loop, RedisAddress const& address, OnLost onLost);
  RedisConnection(RedisConnection const&) = delete;
  RedisConnection& operator=(RedisConnection const&) = delete;
  ~RedisConnection();

  /// Sends a command that is answered once, an error included. None that subscribes.
  void command(std::span<std::string_view const> words, OnReply onReply);
  void command(std::initializer_list<std::string_view> words, OnReply onReply) {
    command(std::span(words.begin(), words.size()), std::move(onReply));
  }

  /// Sends a command that subscribes. All that comes of it goes to onMessage(); where it is refused
  /// the connection is lost.
  void subscribe(std::initializer_list<std::string_view> words);

  /// Takes what subscriptions bring, their confirmation included. To be set before subscribe().
  void onMessageIs(OnReply onMessage) { onMessage_ = std::move(onMessage); }

  /// How many replies and messages have come.
  std::uint64_t heard() const { return heard_; }

 private:
  struct Hooks;
  using Taker = void (*)(redisAsyncContext* context, void* reply, void* data);

  bool send(std::span<std::string_view const> words, Taker taker);
  void attach();
  void awaits(std::uint32_t events);
  void ready(std::uint32_t events);
  void lose(std::string reason);
  static std::string errorOf(redisAsyncContext const& context);

  Loop& loop_;
  OnLost onLost_;
  OnReply onMessage_;
  redisAsyncContext* context_ = nullptr;
  std::deque<OnReply> replies_;
  std::uint64_t heard_ = 0;
  std::uint32_t awaited_ = 0;
  Loop::Registration ready_;
  Loop::Registration losing_;
};

}  // namespace Agent::Sonic

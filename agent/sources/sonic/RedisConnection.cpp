#include "agent/sources/sonic/RedisConnection.h"

#include <hiredis/async.h>
#include <sys/epoll.h>

#include <new>
#include <utility>

namespace Agent::Sonic {

// What the library calls. It is told of no one that has gone.
struct RedisConnection::Hooks {
  static RedisConnection& of(void* data) { return *static_cast<RedisConnection*>(data); }
  static RedisConnection* of(redisAsyncContext const& context) {
    return static_cast<RedisConnection*>(context.data);
  }

  static void addRead(void* data) { of(data).awaits(of(data).awaited_ | EPOLLIN); }
  static void stopRead(void* data) { of(data).awaits(of(data).awaited_ & ~EPOLLIN); }
  static void addWrite(void* data) { of(data).awaits(of(data).awaited_ | EPOLLOUT); }
  static void stopWrite(void* data) { of(data).awaits(of(data).awaited_ & ~EPOLLOUT); }
  // Before the descriptor is closed.
  static void cleanUp(void* data) { of(data).ready_.drop(); }

  static void connected(redisAsyncContext const* context, int status) noexcept {
    if (auto* const self = of(*context); self != nullptr && status != REDIS_OK) {
      self->lose(errorOf(*context));
    }
  }
  static void disconnected(redisAsyncContext const* context, int /*status*/) noexcept {
    if (auto* const self = of(*context)) {
      self->lose(errorOf(*context));
    }
  }

  // Without a reply where the connection goes.
  static void answered(redisAsyncContext* context, void* reply, void* /*data*/) noexcept {
    auto* const self = of(*context);
    if (self == nullptr || reply == nullptr) {
      return;
    }
    ++self->heard_;
    OnReply const told = std::move(self->replies_.front());
    self->replies_.pop_front();
    told(*static_cast<redisReply const*>(reply));
  }
  static void said(redisAsyncContext* context, void* reply, void* /*data*/) noexcept {
    auto* const self = of(*context);
    if (self != nullptr && reply != nullptr) {
      ++self->heard_;
      self->onMessage_(*static_cast<redisReply const*>(reply));
    }
  }
};

RedisConnection::RedisConnection(Loop& loop, RedisAddress const& address, OnLost onLost)
    : loop_(loop),
      onLost_(std::move(onLost)),
      context_(address.path.empty() ? ::redisAsyncConnect(address.host.c_str(), address.port)
                                    : ::redisAsyncConnectUnix(address.path.c_str())) {
  if (context_ == nullptr) {
    throw std::bad_alloc();
  }
  if (context_->err != 0) {
    std::string reason = errorOf(*context_);
    ::redisAsyncFree(std::exchange(context_, nullptr));
    lose(std::move(reason));
    return;
  }
  attach();
}

void RedisConnection::attach() {
  context_->data = this;
  context_->ev.data = this;
  context_->ev.addRead = &Hooks::addRead;
  context_->ev.delRead = &Hooks::stopRead;
  context_->ev.addWrite = &Hooks::addWrite;
  context_->ev.delWrite = &Hooks::stopWrite;
  context_->ev.cleanup = &Hooks::cleanUp;
  ready_ = loop_.whenReady(context_->c.fd, 0, [this](std::uint32_t events) { ready(events); });
  (void)::redisAsyncSetConnectCallback(context_, &Hooks::connected);
  (void)::redisAsyncSetDisconnectCallback(context_, &Hooks::disconnected);
}

RedisConnection::~RedisConnection() {
  if (context_ != nullptr) {
    context_->data = nullptr;  // nobody is told any more
    ::redisAsyncFree(context_);
  }
}

void RedisConnection::awaits(std::uint32_t events) {
  if (std::exchange(awaited_, events) != events) {
    ready_.eventsAre(events);
  }
}

// What breaks off is seen by reading as well as by writing.
void RedisConnection::ready(std::uint32_t events) {
  if ((events & (EPOLLIN | EPOLLERR | EPOLLHUP)) != 0 && (awaited_ & EPOLLIN) != 0) {
    ::redisAsyncHandleRead(context_);
  }
  if (context_ != nullptr && (events & (EPOLLOUT | EPOLLERR | EPOLLHUP)) != 0 &&
      (awaited_ & EPOLLOUT) != 0) {
    ::redisAsyncHandleWrite(context_);
  }
}

// The library frees the context after it has told of its end.
void RedisConnection::lose(std::string reason) {
  context_ = nullptr;
  losing_ = loop_.at(loop_.now(), [this, reason = std::move(reason)] { onLost_(reason); });
}

bool RedisConnection::send(std::span<std::string_view const> words, Taker taker) {
  if (context_ == nullptr) {
    return false;  // whoever sends will be told
  }
  std::vector<char const*> texts;
  std::vector<std::size_t> sizes;
  texts.reserve(words.size());
  sizes.reserve(words.size());
  for (std::string_view const word : words) {
    texts.push_back(word.data());
    sizes.push_back(word.size());
  }
  return ::redisAsyncCommandArgv(context_, taker, nullptr, static_cast<int>(words.size()),
                                 texts.data(), sizes.data()) == REDIS_OK;
}

void RedisConnection::command(std::span<std::string_view const> words, OnReply onReply) {
  if (send(words, &Hooks::answered)) {
    replies_.push_back(std::move(onReply));
  }
}

void RedisConnection::subscribe(std::initializer_list<std::string_view> words) {
  (void)send(std::span(words.begin(), words.size()), &Hooks::said);
}

std::string RedisConnection::errorOf(redisAsyncContext const& context) {
  return context.errstr != nullptr && *context.errstr != '\0' ? context.errstr
                                                              : "the connection was closed";
}

}  // namespace Agent::Sonic

// Debian's gRPC is not built for the thread sanitizer, which therefore does not see that what it
// hands from thread to thread is handed in order: a batch and all before it come before the
// reaction to that batch, all reactions of a call before its end, and its end before the call that
// is given its memory. Linked into the agent for the thread sanitizer alone, this stands before the
// functions of gRPC in question and says so. What the agent itself does in several threads is not
// touched by it, but for calls of which one is over before the other begins.
#include <dlfcn.h>
#include <grpc/grpc.h>
#include <grpcpp/support/server_callback.h>
#include <sanitizer/tsan_interface.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>

extern "C" char __executable_start;
extern "C" char etext;

namespace {

using Functor = grpc_completion_queue_functor;
using Run = void (*)(Functor*, int);

char calls;  // stands for the memory of all calls

template <class Function>
Function* next(char const* name) {
  void* const found = dlsym(RTLD_NEXT, name);
  if (found == nullptr) {
    std::abort();
  }
  return reinterpret_cast<Function*>(found);
}

// What gRPC runs for a batch, of which the agent has one, and gRPC's library another.
template <int index>
std::atomic<Run> original = nullptr;

template <int index>
void run(Functor* functor, int isSuccess) {
  __tsan_acquire(functor);
  original<index>.load(std::memory_order_relaxed)(functor, isSuccess);
  __tsan_release(&calls);
}

template <int index>
bool isReplaced(Functor& functor) {
  Run expected = nullptr;
  bool const isOurs = functor.functor_run == &run<index> ||
                      original<index>.compare_exchange_strong(expected, functor.functor_run,
                                                              std::memory_order_relaxed) ||
                      expected == functor.functor_run;
  if (isOurs) {
    functor.functor_run = &run<index>;
  }
  return isOurs;
}

// A queue of another kind has tags of another kind, which begin with data.
bool isFunctor(void* tag) {
  void* const first = *static_cast<void**>(tag);
  Dl_info found{};
  bool const isKnown = dladdr(first, &found) != 0 && found.dli_sname != nullptr;
  return (first >= &__executable_start && first < &etext) ||
         (isKnown && std::strstr(found.dli_sname, "StaticRun") != nullptr);
}

}  // namespace

extern "C" [[gnu::visibility("default")]] grpc_call_error grpc_call_start_batch(
    grpc_call* call, grpc_op const* operations, size_t count, void* tag, void* reserved) {
  static auto* const start = next<decltype(grpc_call_start_batch)>("grpc_call_start_batch");
  if (tag != nullptr && isFunctor(tag)) {
    auto& functor = *static_cast<Functor*>(tag);
    if (!isReplaced<0>(functor) && !isReplaced<1>(functor)) {
      std::abort();
    }
    __tsan_release(&functor);
  }
  __tsan_release(&calls);
  return start(call, operations, count, tag, reserved);
}

extern "C" [[gnu::visibility("default")]] void* grpc_call_arena_alloc(grpc_call* call,
                                                                      size_t size) {
  static auto* const allocate = next<decltype(grpc_call_arena_alloc)>("grpc_call_arena_alloc");
  void* const memory = allocate(call, size);
  __tsan_acquire(&calls);
  return memory;
}

// gRPC's own go on in a thread of its own, too, in a way that can't be seen.
[[gnu::visibility("default")]] void grpc::internal::ServerCallbackCall::ScheduleOnDone(
    bool isInline) {
  __tsan_acquire(&calls);
  if (isInline) {
    CallOnDone();
  } else {
    std::thread([this] { CallOnDone(); }).detach();
  }
}

[[gnu::visibility("default")]] void grpc::internal::ServerCallbackCall::CallOnCancel(
    ServerReactor* reactor) {
  __tsan_acquire(&calls);
  if (reactor->InternalInlineable()) {
    reactor->OnCancel();
    return;
  }
  Ref();
  std::thread([this, reactor] {
    reactor->OnCancel();
    __tsan_release(&calls);
    MaybeDone();
  }).detach();
}

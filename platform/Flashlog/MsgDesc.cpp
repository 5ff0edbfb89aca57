#include "Flashlog/MsgDesc.h"

#include <atomic>
#include <mutex>

namespace Flashlog {

namespace {

// Message ids are given out once in a process, so that a message has one id in all of its files.
constinit std::mutex idMutex;
constinit int nextId = 1;

}  // namespace

void MsgDesc::finish() {
  // Other threads look at the id without the mutex.
  std::atomic_ref<int> const sharedId(id_);
  std::unique_lock lock(idMutex);
  int const known = sharedId.load(std::memory_order_relaxed);
  int const id = known == 0 ? nextId : known;
  if (!file_.registerMessage(id, sourcePath_, line_, text_)) {
    sharedId.store(-1, std::memory_order_relaxed);
    msgIdInitialized(-1);
  }
  if (known == 0) {
    ++nextId;
    sharedId.store(id, std::memory_order_relaxed);
  }
}

}  // namespace Flashlog

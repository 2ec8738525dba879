#include "host/Threads.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "host/BrokerState.h"

namespace cmpihost {

Threads::~Threads() { joinAll(); }

void Threads::joinAll() {
  std::unique_lock lock(mutex_);
  // A thread that is waited for may start another one.
  while (!threads_.empty()) {
    std::list<Thread> joined;
    joined.splice(joined.begin(), threads_, threads_.begin());
    lock.unlock();
    joined.front().thread.join();
    lock.lock();
  }
}

void* Threads::start(CMPIThreadFunc function, void* parameter, bool detached) {
  const std::lock_guard lock(mutex_);
  reap();
  Thread& started = threads_.emplace_back();
  started.detached = detached;
  try {
    // The new thread waits for this lock before it looks at its record.
    started.thread =
        std::thread([this, &started, function, parameter] { run(started, function, parameter); });
  } catch (const std::system_error&) {
    threads_.pop_back();
    return nullptr;
  }
  ++running_;
  return &started;
}

void Threads::run(Thread& self, CMPIThreadFunc function, void* parameter) {
  const Ending ending(*this, self);
  const ScopeGuard scope(broker_);
  self.result = function(parameter);
}

Threads::Ending::~Ending() {
  const std::lock_guard lock(threads_.mutex_);
  self_.over = true;
  --threads_.running_;
  threads_.ended_.notify_all();
}

// With the lock held: joins the detached threads that are over, which takes no time.
void Threads::reap() {
  for (auto thread = threads_.begin(); thread != threads_.end();) {
    if (thread->over && thread->detached) {
      thread->thread.join();
      thread = threads_.erase(thread);
    } else {
      ++thread;
    }
  }
}

int Threads::join(void* handle, CMPI_THREAD_RETURN* result) {
  std::unique_lock lock(mutex_);
  const auto found = std::find_if(threads_.begin(), threads_.end(),
                                  [handle](const Thread& thread) { return &thread == handle; });
  if (found == threads_.end() || found->detached) {
    return found == threads_.end() ? ESRCH : EINVAL;
  }
  if (found->thread.get_id() == std::this_thread::get_id()) {
    return EDEADLK;
  }
  // A second join of the same handle finds nothing to wait for.
  std::list<Thread> joined;
  joined.splice(joined.begin(), threads_, found);
  lock.unlock();
  joined.front().thread.join();
  if (result != nullptr) {
    *result = joined.front().result;
  }
  return 0;
}

bool Threads::waitUntilNoneRuns(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  const bool none = ended_.wait_for(lock, timeout, [this] { return running_ == 0; });
  if (none) {
    reap();
  }
  return none;
}

}  // namespace cmpihost

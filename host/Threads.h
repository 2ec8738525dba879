#pragma once

#include <cmpi/cmpidt.h>

#include <chrono>
#include <list>
#include <mutex>
#include <thread>

#include "host/TimedCondition.h"

namespace cmpihost {

class BrokerState;

// The threads that providers start through one broker. Detached ones are kept an eye on as well:
// a library must not go while one of its threads runs. Any thread may use it.
class Threads {
 public:
  explicit Threads(BrokerState& broker) : broker_(broker) {}
  ~Threads();
  Threads(const Threads&) = delete;
  Threads& operator=(const Threads&) = delete;

  // The handle to join the thread with; null when the system gives no thread.
  void* start(CMPIThreadFunc function, void* parameter, bool detached);

  // Waits for a thread that was not started detached, once. 0, or an errno for a wrong handle.
  int join(void* handle, CMPI_THREAD_RETURN* result);

  // Waits for all of them, however long they take.
  void joinAll();

  // Waits until none runs; false if some still do after `timeout`.
  bool waitUntilNoneRuns(std::chrono::milliseconds timeout);

 private:
  struct Thread {
    std::thread thread;
    void* result = nullptr;
    bool detached = false;
    bool over = false;
  };

  // Notes the end of the calling thread: when its function returns, or ends the thread by itself.
  class Ending {
   public:
    Ending(Threads& threads, Thread& self) : threads_(threads), self_(self) {}
    ~Ending();
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

   private:
    Threads& threads_;
    Thread& self_;
  };

  void run(Thread& self, CMPIThreadFunc function, void* parameter);
  void reap();

  BrokerState& broker_;
  std::mutex mutex_;
  TimedCondition ended_;
  std::list<Thread> threads_;
  unsigned running_ = 0;
};

}  // namespace cmpihost

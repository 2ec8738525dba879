#include "core/PollingThread.h"

#include <cerrno>
#include <csignal>
#include <new>

#include <sched.h>
#include <unistd.h>

#include "base/Require.h"
#include "config/Config.h"
#include "core/SsdDevice.h"
#include "log/Log.h"

namespace {

constexpr useconds_t kTickMicroseconds = 1000000;

/// What the assertions' messages show as their file; their lines are as old as that.
constexpr char kFile[] = "core/PollingThread.cpp";

/// The low 32 bits, which is all that the messages show of addresses and thread ids.
template <typename Value>
unsigned low32(Value value) {
  return static_cast<unsigned>(value);
}

/// Blocks the host's signals, for the threads that are created in its scope: a handler that ran on
/// one of them would end its sleep early. What a thread brings upon itself stays deliverable.
class HostSignalsBlocked {
 public:
  HostSignalsBlocked() {
    sigset_t blocked;
    sigfillset(&blocked);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
      sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &before_);
  }
  ~HostSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  HostSignalsBlocked(const HostSignalsBlocked&) = delete;
  HostSignalsBlocked& operator=(const HostSignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

PollingThread::PollingThread() {
  const std::uint64_t configured = Config::GetInstance()->getPollRate();
  pollingRate = static_cast<std::uint32_t>(configured);
  Log(LOG_LEVEL_DEBUG, "PollingThread constructed - pollingRate=%d", static_cast<int>(pollingRate));
}

PollingThread::~PollingThread() {
  if (threadId != 0 && init) {
    terminate();
  }
  Log(LOG_LEVEL_DEBUG, "PollingThread Destroyed");
}

bool PollingThread::initialise(SsdDevice* device) {
  require(!init, "init == false", kFile, 79, "bool PollingThread::initialise(SsdDevice*)");
  if (device == nullptr) {
    LogQuick(LOG_LEVEL_ERROR, "PollingThread::initialise - _ssdDevice==NULL");
    return false;
  }
  Log(LOG_LEVEL_DEBUG, "PollingThread::initialise - _ssdDevice=0x%08x",
      low32(reinterpret_cast<std::uintptr_t>(device)));

  _ssdDevice = device;
  running = true;
  pthread_t created = 0;
  int rc = 0;
  {
    const HostSignalsBlocked blocked;
    rc = pthread_create(&created, nullptr, readThread, this);
  }
  if (rc != 0) {
    Log(LOG_LEVEL_ERROR, "PollingThread::Start - failed to start readThread rc=0x%08x", low32(rc));
    return false;
  }
  threadId = created;
  init = true;
  sched_yield();  // so that its first line stands before those of the next drive
  Log(LOG_LEVEL_DEBUG, "PollingThread::Start - Thread started id=0x%08x", low32(threadId));
  return true;
}

void PollingThread::terminate() {
  require(init, "init==true", kFile, 143, "void PollingThread::terminate()");
  LogQuick(LOG_LEVEL_TRACE, "PollingThread::terminate entered");
  if (!init) {
    Log(LOG_LEVEL_ERROR, "PollingThread::terminate - Thread not started");
    return;
  }
  askToStop();
  const int rc = pthread_join(threadId, nullptr);
  Log(LOG_LEVEL_DEBUG, "PollingThread::Terminate - pthread_join(0x%08x, 0)...done rc=0x%08x",
      low32(threadId), low32(rc));
  init = false;
  threadId = 0;
  Log(LOG_LEVEL_DEBUG, "PollingThread::Terminate - thread terminated");
}

/// The first tick comes at once when the thread starts: with a rate of n the first reading is made
/// after n - 1 sleeps. A rate of 0, which only a configured number beyond 32 bits gives, is never
/// met, and such a drive is read on request alone.
void PollingThread::doPoll() {
  ++tickCount;
  if (tickCount == pollingRate) {
    tickCount = 0;
    try {
      _ssdDevice->getSsdData();
    } catch (const std::bad_alloc&) {
      // Costs this reading only; the next one is due after as many ticks as ever.
    }
  }
}

void* readThread(void* obj) {
  Log(LOG_LEVEL_DEBUG, "readThread - entered");
  require(obj != nullptr, "obj != __null", kFile, 180, "void* readThread(void*)");

  auto* self = static_cast<PollingThread*>(obj);
  while (self->running) {
    self->doPoll();
    usleep(kTickMicroseconds);
  }
  Log(LOG_LEVEL_DEBUG, "readThread - exited");
  return nullptr;
}

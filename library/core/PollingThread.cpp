#include "core/PollingThread.h"

#include <cassert>
#include <cerrno>
#include <new>

#include <sched.h>
#include <unistd.h>

#include "config/Config.h"
#include "core/SsdDevice.h"
#include "log/Log.h"

// Every drive has a thread of its own, so that one that hangs in an ioctl (libata gives up only
// after ten seconds and more) delays nobody else. The thread wakes once a second and does nothing
// then but count, until a reading is due.
//
// Three kinds of misuse end the process on an assertion rather than go on with a thread lost or a
// device freed under it: starting twice, stopping what was not started, a thread without its
// object. The assertions of this file stand on lines 79, 143 and 180, where support looks them up
// when a till's host process has stopped on one of them: keep them there, or tell support. The
// tests know the numbers too.

namespace {

/// The length of a tick. A request to stop is noticed after at most one of them, without a timed
/// wait; the time that a reading takes comes on top.
constexpr useconds_t kTickMicroseconds = 1000000;

/// The low 32 bits, which is all that the messages show of addresses and thread ids.
template <typename Value>
unsigned low32(Value value) {
  return static_cast<unsigned>(value);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Life of the object: constructed -> running -> (stopping) -> stopped.
//
// Only a running one has a thread. One whose thread could not be started goes straight to the
// destructor, which then has nothing to stop. The poll rate is taken once, here: a change of the
// configuration reaches a drive in a new process only.
// ---------------------------------------------------------------------------------------------

PollingThread::PollingThread() {
  const std::uint64_t configured = Config::GetInstance()->getPollRate();
  pollingRate = static_cast<std::uint32_t>(configured);
  Log(LOG_LEVEL_DEBUG, "PollingThread constructed - pollingRate=%d", static_cast<int>(pollingRate));
}

// ---------------------------------------------------------------------------------------------
// Starting.
//
// The device calls this once, at the end of its own set-up: from the moment that the thread is
// created it may be reading the drive. When no thread can be created, the device is not listed and
// the drive is not watched: there is no second attempt, and `running` and `_ssdDevice` stay as set.
//
// The processor is yielded once afterwards, so that on a busy till the thread has begun, and the
// lines of the two threads stand in the usual order, before the next drive is set up.
//
// The thread never looks at `threadId`: pthread_create may set it after the thread has begun.
//
// What the messages call "Start" is `initialise`, and "Terminate" is `terminate`: they are what
// log scrapers match on.
//
// The states by their fields:
//
//                   init    running   threadId
//   constructed     false   false     0
//   start failed    false   true      0
//   running         true    true      id
//   stopping        true    false     id
//   stopped         false   false     0
// ---------------------------------------------------------------------------------------------

bool PollingThread::initialise(SsdDevice* device) {
  // Starting a started thread is a mistake in the library, not a condition to live with.
  assert(init == false);

  if (device == nullptr) {
    LogQuick(LOG_LEVEL_ERROR, "PollingThread::initialise - _ssdDevice==NULL");
    return false;
  }
  Log(LOG_LEVEL_DEBUG, "PollingThread::initialise - _ssdDevice=0x%08x",
      low32(reinterpret_cast<std::uintptr_t>(device)));

  _ssdDevice = device;
  running = true;
  pthread_t created = 0;
  const int rc = pthread_create(&created, nullptr, readThread, this);
  if (rc != 0) {
    Log(LOG_LEVEL_ERROR, "PollingThread::Start - failed to start readThread rc=0x%08x", low32(rc));
    return false;
  }
  threadId = created;
  init = true;
  sched_yield();
  Log(LOG_LEVEL_DEBUG, "PollingThread::Start - Thread started id=0x%08x", low32(threadId));
  return true;
}

// ---------------------------------------------------------------------------------------------
// Ticking.
//
// The first tick comes at once when the thread starts, so the first reading by this thread is made
// one tick earlier than the interval says: with a rate of n after n - 1 sleeps. The flag is looked
// at before every tick, and the sleep is always a whole second.
//
// The rate is compared for equality: the count starts again at every reading, so it can't be
// overrun.
//
// A reading has no result here: the device logs what failed, keeps the values of the last good
// reading and is asked again when the next one is due.
//
// The interval is counted in ticks, so a slow drive delays its next reading instead of being read
// twice in a row. A rate of 0, which only a configured number beyond 32 bits gives, is never met:
// such a drive is read on request alone.
// ---------------------------------------------------------------------------------------------

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

// ---------------------------------------------------------------------------------------------
// Stopping.
//
// The join is what the device relies on: once `terminate` returns, nobody reads the drive on this
// thread any more. It takes as long as the tick and the reading in progress.
// ---------------------------------------------------------------------------------------------

void PollingThread::terminate() {
  // Stopping what was never started is a mistake in the library.
  // clang-format off
  assert(init==true);
  // clang-format on

  LogQuick(LOG_LEVEL_TRACE, "PollingThread::terminate entered");
  if (!init) {
    Log(LOG_LEVEL_ERROR, "PollingThread::terminate - Thread not started");
    return;
  }
  running = false;
  const int rc = pthread_join(threadId, nullptr);
  Log(LOG_LEVEL_DEBUG, "PollingThread::Terminate - pthread_join(0x%08x, 0)...done rc=0x%08x",
      low32(threadId), low32(rc));
  init = false;
  threadId = 0;
  Log(LOG_LEVEL_DEBUG, "PollingThread::Terminate - thread terminated");
}

// ---------------------------------------------------------------------------------------------
// Going away.
//
// The device has stopped the thread by then, before its own parts went; the second look is for an
// owner that has not. A thread that was never created is not joined, nor one already joined.
// ---------------------------------------------------------------------------------------------

PollingThread::~PollingThread() {
  if (threadId != 0 && init) {
    terminate();
  }
  Log(LOG_LEVEL_DEBUG, "PollingThread Destroyed");
}

// ---------------------------------------------------------------------------------------------
// The thread itself.
// ---------------------------------------------------------------------------------------------

void* readThread(void* obj) {
  Log(LOG_LEVEL_DEBUG, "readThread - entered");
  assert(obj != __null);  // NOLINT(modernize-use-nullptr): the text is what support knows

  auto* self = static_cast<PollingThread*>(obj);
  while (self->running) {
    self->doPoll();
    usleep(kTickMicroseconds);
  }
  Log(LOG_LEVEL_DEBUG, "readThread - exited");
  return nullptr;
}

#pragma once

#include <atomic>
#include <cstdint>

#include <pthread.h>

class SsdDevice;

/// Reads one SSD again and again on a thread of its own, so that a drive that hangs delays no
/// other: ticks once a second and, on every PollRate-th tick, has the device read its drive. The
/// interval is counted in ticks: a slow reading delays the next one. The thread takes none of the
/// host's signals.
///
/// Owned by the device, which starts it once and stops it before anything goes that a reading uses.
/// Starting a started thread, or stopping one that isn't, ends the process on an assertion.
class PollingThread {
 public:
  PollingThread();
  ~PollingThread();
  PollingThread(const PollingThread&) = delete;
  PollingThread& operator=(const PollingThread&) = delete;

  /// Starts the thread; false if it can't be.
  [[nodiscard]] bool initialise(SsdDevice* device);

  /// Whether the thread has been started and not yet been joined.
  [[nodiscard]] bool isStarted() const { return init; }

  /// Has the thread end with the tick in progress, without waiting for that.
  void askToStop() { running = false; }

  /// Stops the thread and waits for its end: about a second, and longer while a drive is being
  /// read.
  void terminate();

  /// One tick; called on the polling thread.
  void doPoll();

 private:
  friend void* readThread(void* obj);

  bool init = false;
  SsdDevice* _ssdDevice = nullptr;
  std::atomic<bool> running{false};
  /// 0: no thread. Not for the thread itself, which may start before it is set.
  pthread_t threadId = 0;
  std::uint32_t pollingRate = 10;  ///< ticks between two readings
  std::uint32_t tickCount = 0;     ///< since the last reading
};

/// The thread's function; `obj` is its PollingThread.
void* readThread(void* obj);

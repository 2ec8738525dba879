#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// The calls that the built library makes into the system, each of which can be made to fail: this
// test executable's definitions come before the C library's, and act on calls from the library
// alone.
namespace fault {

enum class Call {
  kMemory,
  kOpen,
  kClose,
  kIoctl,
  kFcntl,
  kFopen,
  kFclose,
  kFgets,
  kGetline,
  kFstat,
  kFwrite,
  kFflush,
  kFileno,
  kFputs,
  kPrint,
  kFormat,
  kNarrow,
  kTime,
  kLocalTime,
  kAccess,
  kOpendir,
  kReaddir,
  kClosedir,
  kGlob,
  kUsleep,
  kThreadCreate,
  kThreadJoin,
  kMutexInit,
  kMutexLock,
  kMutexUnlock,
  kMutexDestroy,
  kReadWriteInit,
  kReadLock,
  kWriteLock,
  kReadWriteUnlock,
  kReadWriteDestroy,
  kCount  ///< how many there are
};

/// "ioctl", "pthread_mutex_lock".
const char* nameOf(Call call);

/// How a call fails.
struct Failure {
  enum Kind {
    kError,   ///< `number` is the errno, or the code for calls that return one
    kShort,   ///< half of what was asked for
    kEnd,     ///< the end comes early, without an error
    kStatus,  ///< the drive answers with the command status `number`
    kResult,  ///< the command is said to have worked, but its own result says that it has not
  };
  Kind kind = kError;
  int number = 0;
  const char* name = "";
};

/// Every way in which the system may let `call` fail.
const std::vector<Failure>& failuresOf(Call call);

/// Every call that can be made to fail.
const std::vector<Call>& allCalls();

/// Counts the library's calls, and lets them fail. Any thread may use it.
class Injector {
 public:
  static Injector& instance();

  /// Counts from now on; nothing fails.
  void count();

  /// From now on the nth call (the first is 1) fails, or the nth and all after it.
  void arm(Call call, unsigned nth, bool forEver, Failure failure);

  /// Neither counts nor fails any more.
  void disarm();

  bool active() const { return active_.load(std::memory_order_relaxed); }

  /// How often the call was made since `count` or `arm`.
  unsigned made(Call call) const;

  /// One call and how it went.
  struct Met {
    Call call;
    std::string what;  ///< what was called: "/dev/sda #1 smart data"
    bool failed;
    Failure::Kind how;  ///< if it failed
  };

  /// All calls by name since `count` or `arm`, in their order; allocations aside.
  std::vector<Met> met() const;

  /// One call of the library, by its object: tells how it has to fail, if it has to.
  std::optional<Failure> meet(Call call, const std::string& what);

  /// As above, for calls that are made while memory is short.
  bool meetMemory();

 private:
  std::atomic<bool> active_{false};
  std::atomic<bool> failing_{false};
  std::atomic<bool> memoryFailing_{false};
  bool forEver_ = false;
  Call call_ = Call::kMemory;
  unsigned nth_ = 0;
  Failure failure_;
  std::atomic<unsigned> made_[static_cast<std::size_t>(Call::kCount)] = {};
  mutable std::mutex mutex_;
  std::vector<Met> met_;
};

/// Whether the code at `address` belongs to the library under test.
bool isLibrary(const void* address);

/// Whether it is this executable's, or of the C++ libraries that it stands on.
bool isOfTest(const void* address);

}  // namespace fault

/// Whether the function that it stands in was called by the library under test. A call that ends
/// one of the library's functions returns to whoever called that: the C library or the loader,
/// where it ended a thread or a destructor. Neither makes calls of its own that can be stood in
/// front of.
#define FAULT_CALLED_BY_LIBRARY() (!::fault::isOfTest(__builtin_return_address(0)))

/// A definition that the library finds before the C library's.
#define FAULT_VISIBLE __attribute__((visibility("default")))

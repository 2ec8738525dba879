#include "tests/fault/Calls.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <dlfcn.h>
#include <glob.h>
#include <link.h>

namespace fault {

namespace {

constexpr std::array<const char*, 23> kNames = {"allocation",
                                                "open",
                                                "close",
                                                "ioctl",
                                                "fcntl",
                                                "fopen",
                                                "fclose",
                                                "fgets",
                                                "getline",
                                                "fstat",
                                                "fwrite",
                                                "fflush",
                                                "access",
                                                "opendir",
                                                "readdir",
                                                "closedir",
                                                "glob",
                                                "usleep",
                                                "pthread_create",
                                                "pthread_mutex_init",
                                                "pthread_mutex_lock",
                                                "pthread_mutex_unlock",
                                                "pthread_mutex_destroy"};

#define FAULT_ERROR(number) \
  Failure { Failure::kError, number, #number }
constexpr Failure kShort = {Failure::kShort, 0, "short"};
constexpr Failure kEnd = {Failure::kEnd, 0, "end"};

using Failures = std::vector<Failure>;

const Failures kOfMemory = {FAULT_ERROR(ENOMEM)};
const Failures kOfOpen = {FAULT_ERROR(ENOENT), FAULT_ERROR(EACCES), FAULT_ERROR(EPERM),
                          FAULT_ERROR(ENXIO),  FAULT_ERROR(ENODEV), FAULT_ERROR(EBUSY),
                          FAULT_ERROR(EMFILE), FAULT_ERROR(ENFILE), FAULT_ERROR(ENOMEM),
                          FAULT_ERROR(EINTR),  FAULT_ERROR(EIO),    FAULT_ERROR(ENOMEDIUM)};
const Failures kOfClose = {FAULT_ERROR(EBADF), FAULT_ERROR(EINTR), FAULT_ERROR(EIO),
                           FAULT_ERROR(ENOSPC), FAULT_ERROR(EDQUOT)};
const Failures kOfIoctl = {FAULT_ERROR(EBADF),
                           FAULT_ERROR(EFAULT),
                           FAULT_ERROR(EINVAL),
                           FAULT_ERROR(ENOTTY),
                           FAULT_ERROR(EIO),
                           FAULT_ERROR(ENODEV),
                           FAULT_ERROR(ENXIO),
                           FAULT_ERROR(EACCES),
                           FAULT_ERROR(EPERM),
                           FAULT_ERROR(EBUSY),
                           FAULT_ERROR(ENOMEM),
                           FAULT_ERROR(EINTR),
                           FAULT_ERROR(EAGAIN),
                           FAULT_ERROR(ETIMEDOUT),
                           {Failure::kStatus, 0x4002, "status 0x4002"},
                           {Failure::kResult, 0, "bad result"}};
const Failures kOfFcntl = {FAULT_ERROR(EBADF), FAULT_ERROR(EINVAL), FAULT_ERROR(EACCES),
                           FAULT_ERROR(EAGAIN), FAULT_ERROR(EINTR)};
const Failures kOfFopen = {FAULT_ERROR(ENOENT),  FAULT_ERROR(EACCES),   FAULT_ERROR(EISDIR),
                           FAULT_ERROR(EMFILE),  FAULT_ERROR(ENFILE),   FAULT_ERROR(ENOMEM),
                           FAULT_ERROR(EINTR),   FAULT_ERROR(EIO),      FAULT_ERROR(ENOSPC),
                           FAULT_ERROR(EROFS),   FAULT_ERROR(ELOOP),    FAULT_ERROR(ENAMETOOLONG),
                           FAULT_ERROR(ENOTDIR), FAULT_ERROR(EOVERFLOW)};
const Failures kOfFclose = {FAULT_ERROR(EBADF), FAULT_ERROR(EINTR), FAULT_ERROR(EIO),
                            FAULT_ERROR(ENOSPC)};
const Failures kOfReading = {FAULT_ERROR(EAGAIN),
                             FAULT_ERROR(EBADF),
                             FAULT_ERROR(EINTR),
                             FAULT_ERROR(EIO),
                             FAULT_ERROR(EISDIR),
                             FAULT_ERROR(ENOMEM),
                             kEnd,
                             kShort};
const Failures kOfFstat = {FAULT_ERROR(EBADF), FAULT_ERROR(EFAULT), FAULT_ERROR(EIO),
                           FAULT_ERROR(ENOMEM), FAULT_ERROR(EOVERFLOW)};
const Failures kOfWriting = {
    FAULT_ERROR(ENOSPC), FAULT_ERROR(EIO),    FAULT_ERROR(EINTR), FAULT_ERROR(EFBIG),
    FAULT_ERROR(EDQUOT), FAULT_ERROR(EAGAIN), FAULT_ERROR(EBADF), kShort};
const Failures kOfAccess = {FAULT_ERROR(EACCES), FAULT_ERROR(ENOENT),  FAULT_ERROR(ELOOP),
                            FAULT_ERROR(EIO),    FAULT_ERROR(ENOTDIR), FAULT_ERROR(ENAMETOOLONG),
                            FAULT_ERROR(ENOMEM)};
const Failures kOfOpendir = {FAULT_ERROR(EACCES), FAULT_ERROR(EMFILE), FAULT_ERROR(ENFILE),
                             FAULT_ERROR(ENOENT), FAULT_ERROR(ENOMEM), FAULT_ERROR(ENOTDIR)};
const Failures kOfReaddir = {FAULT_ERROR(EBADF), FAULT_ERROR(EOVERFLOW), FAULT_ERROR(ENOENT),
                             FAULT_ERROR(EIO), kEnd};
const Failures kOfClosedir = {FAULT_ERROR(EBADF)};
const Failures kOfGlob = {FAULT_ERROR(GLOB_NOSPACE), FAULT_ERROR(GLOB_ABORTED),
                          FAULT_ERROR(GLOB_NOMATCH)};
const Failures kOfUsleep = {FAULT_ERROR(EINTR), FAULT_ERROR(EINVAL)};
const Failures kOfThreadCreate = {FAULT_ERROR(EAGAIN), FAULT_ERROR(EINVAL), FAULT_ERROR(EPERM)};
const Failures kOfMutexInit = {FAULT_ERROR(EAGAIN), FAULT_ERROR(ENOMEM), FAULT_ERROR(EPERM)};
const Failures kOfMutexLock = {FAULT_ERROR(EINVAL), FAULT_ERROR(EAGAIN), FAULT_ERROR(EDEADLK)};
const Failures kOfMutexUnlock = {FAULT_ERROR(EINVAL), FAULT_ERROR(EPERM)};
const Failures kOfMutexDestroy = {FAULT_ERROR(EBUSY), FAULT_ERROR(EINVAL)};

#undef FAULT_ERROR

}  // namespace

const char* nameOf(Call call) { return kNames[static_cast<std::size_t>(call)]; }

const std::vector<Call>& allCalls() {
  static const std::vector<Call> all = [] {
    std::vector<Call> calls;
    for (std::size_t i = 0; i < kNames.size(); ++i) {
      calls.push_back(static_cast<Call>(i));
    }
    return calls;
  }();
  return all;
}

const std::vector<Failure>& failuresOf(Call call) {
  switch (call) {
    case Call::kMemory:
      return kOfMemory;
    case Call::kOpen:
      return kOfOpen;
    case Call::kClose:
      return kOfClose;
    case Call::kIoctl:
      return kOfIoctl;
    case Call::kFcntl:
      return kOfFcntl;
    case Call::kFopen:
      return kOfFopen;
    case Call::kFclose:
      return kOfFclose;
    case Call::kFgets:
    case Call::kGetline:
      return kOfReading;
    case Call::kFstat:
      return kOfFstat;
    case Call::kFwrite:
    case Call::kFflush:
      return kOfWriting;
    case Call::kAccess:
      return kOfAccess;
    case Call::kOpendir:
      return kOfOpendir;
    case Call::kReaddir:
      return kOfReaddir;
    case Call::kClosedir:
      return kOfClosedir;
    case Call::kGlob:
      return kOfGlob;
    case Call::kUsleep:
      return kOfUsleep;
    case Call::kThreadCreate:
      return kOfThreadCreate;
    case Call::kMutexInit:
      return kOfMutexInit;
    case Call::kMutexLock:
      return kOfMutexLock;
    case Call::kMutexUnlock:
      return kOfMutexUnlock;
    case Call::kMutexDestroy:
      return kOfMutexDestroy;
  }
  return kOfMemory;
}

Injector& Injector::instance() {
  static auto* const injector = new Injector;
  return *injector;
}

void Injector::count() {
  disarm();
  for (auto& made : made_) {
    made = 0;
  }
  {
    const std::lock_guard lock(mutex_);
    met_.clear();
  }
  active_ = true;
}

void Injector::arm(Call call, unsigned nth, bool forEver, Failure failure) {
  count();
  active_ = false;
  call_ = call;
  nth_ = nth;
  forEver_ = forEver;
  failure_ = failure;
  failing_ = true;
  memoryFailing_ = call == Call::kMemory;
  active_ = true;
}

void Injector::disarm() {
  active_ = false;
  failing_ = false;
  memoryFailing_ = false;
}

unsigned Injector::made(Call call) const { return made_[static_cast<std::size_t>(call)]; }

std::vector<Injector::Met> Injector::met() const {
  const std::lock_guard lock(mutex_);
  return met_;
}

std::optional<Failure> Injector::meet(Call call, const std::string& what) {
  if (!active()) {
    return std::nullopt;
  }
  const unsigned number = ++made_[static_cast<std::size_t>(call)];
  const bool fails = failing_ && call == call_ && (forEver_ ? number >= nth_ : number == nth_);
  const std::lock_guard lock(mutex_);
  met_.push_back({call, what, fails, failure_.kind});
  if (!fails) {
    return std::nullopt;
  }
  return failure_;
}

bool Injector::meetMemory() {
  if (!active_) {
    return false;
  }
  const unsigned number = ++made_[static_cast<std::size_t>(Call::kMemory)];
  return memoryFailing_ && (forEver_ ? number >= nth_ : number == nth_);
}

bool isLibrary(const void* address) {
  // Takes no lock: dlclose holds the loader's while it waits for the library's threads.
  dl_find_object found;
  return _dl_find_object(const_cast<void*>(address), &found) == 0 &&
         std::strstr(found.dlfo_link_map->l_name, "/libvekssdprov.so") != nullptr;
}

}  // namespace fault

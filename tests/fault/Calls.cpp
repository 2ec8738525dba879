#include "tests/fault/Calls.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <dlfcn.h>
#include <glob.h>
#include <link.h>

namespace fault {

namespace {

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
const Failures kOfPrinting = {FAULT_ERROR(ENOSPC), FAULT_ERROR(EIO), FAULT_ERROR(EPIPE),
                              FAULT_ERROR(EAGAIN), FAULT_ERROR(EBADF)};
const Failures kOfFileno = {FAULT_ERROR(EBADF)};
const Failures kOfFormat = {FAULT_ERROR(ENOMEM), FAULT_ERROR(EOVERFLOW), FAULT_ERROR(EILSEQ)};
const Failures kOfNarrow = {FAULT_ERROR(EILSEQ)};
const Failures kOfTime = {FAULT_ERROR(EINVAL), FAULT_ERROR(EPERM)};
const Failures kOfLocalTime = {FAULT_ERROR(EOVERFLOW)};
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
const Failures kOfThreadJoin = {FAULT_ERROR(EDEADLK), FAULT_ERROR(EINVAL), FAULT_ERROR(ESRCH)};
const Failures kOfMutexInit = {FAULT_ERROR(EAGAIN), FAULT_ERROR(ENOMEM), FAULT_ERROR(EPERM)};
const Failures kOfMutexLock = {FAULT_ERROR(EINVAL), FAULT_ERROR(EAGAIN), FAULT_ERROR(EDEADLK)};
const Failures kOfMutexUnlock = {FAULT_ERROR(EINVAL), FAULT_ERROR(EPERM)};
const Failures kOfMutexDestroy = {FAULT_ERROR(EBUSY), FAULT_ERROR(EINVAL)};

#undef FAULT_ERROR

struct Kind {
  const char* name;
  const Failures& failures;
};

/// In the order of `Call`.
const std::array<Kind, static_cast<std::size_t>(Call::kCount)> kKinds = {{
    {"allocation", kOfMemory},
    {"open", kOfOpen},
    {"close", kOfClose},
    {"ioctl", kOfIoctl},
    {"fcntl", kOfFcntl},
    {"fopen", kOfFopen},
    {"fclose", kOfFclose},
    {"fgets", kOfReading},
    {"getline", kOfReading},
    {"fstat", kOfFstat},
    {"fwrite", kOfWriting},
    {"fflush", kOfWriting},
    {"fileno", kOfFileno},
    {"fputs", kOfPrinting},
    {"printf or fprintf", kOfPrinting},
    {"snprintf, vsnprintf or vswprintf", kOfFormat},
    {"wcstombs", kOfNarrow},
    {"clock_gettime", kOfTime},
    {"localtime_r", kOfLocalTime},
    {"access", kOfAccess},
    {"opendir", kOfOpendir},
    {"readdir", kOfReaddir},
    {"closedir", kOfClosedir},
    {"glob", kOfGlob},
    {"usleep", kOfUsleep},
    {"pthread_create", kOfThreadCreate},
    {"pthread_join", kOfThreadJoin},
    {"pthread_mutex_init", kOfMutexInit},
    {"pthread_mutex_lock", kOfMutexLock},
    {"pthread_mutex_unlock", kOfMutexUnlock},
    {"pthread_mutex_destroy", kOfMutexDestroy},
    {"pthread_rwlock_init", kOfMutexInit},
    {"pthread_rwlock_rdlock", kOfMutexLock},
    {"pthread_rwlock_wrlock", kOfMutexLock},
    {"pthread_rwlock_unlock", kOfMutexUnlock},
    {"pthread_rwlock_destroy", kOfMutexDestroy},
}};

const Kind& kindOf(Call call) { return kKinds[static_cast<std::size_t>(call)]; }

}  // namespace

const char* nameOf(Call call) { return kindOf(call).name; }

const std::vector<Failure>& failuresOf(Call call) { return kindOf(call).failures; }

const std::vector<Call>& allCalls() {
  static const std::vector<Call> all = [] {
    std::vector<Call> calls;
    for (std::size_t i = 0; i < kKinds.size(); ++i) {
      calls.push_back(static_cast<Call>(i));
    }
    return calls;
  }();
  return all;
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

namespace {

/// The file that the code at `address` was loaded from, "" for the executable's own; null for none.
/// Takes no lock: dlclose holds the loader's while it waits for the library's threads.
const char* fileOf(const void* address) {
  dl_find_object found;
  return _dl_find_object(const_cast<void*>(address), &found) == 0 ? found.dlfo_link_map->l_name
                                                                  : nullptr;
}

}  // namespace

bool isLibrary(const void* address) {
  const char* file = fileOf(address);
  return file != nullptr && std::strstr(file, "/libvekssdprov.so") != nullptr;
}

bool isOfTest(const void* address) {
  const char* file = fileOf(address);
  return file != nullptr && (*file == '\0' || std::strstr(file, "/libstdc++.so") != nullptr ||
                             std::strstr(file, "/libgtest") != nullptr);
}

}  // namespace fault

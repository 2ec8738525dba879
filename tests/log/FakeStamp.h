#pragma once

#include <ctime>
#include <optional>

#include <pthread.h>
#include <sys/types.h>

/// What records are stamped with, where a test wants to know it beforehand; the true values
/// otherwise.
struct FakeStamp {
  std::optional<timespec> time;
  std::optional<pid_t> process;
  std::optional<pthread_t> thread;
};

/// The one of this process.
FakeStamp& fakeStamp();

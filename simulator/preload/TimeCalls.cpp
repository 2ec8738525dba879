#include <unistd.h>

#include <cmath>

#include "simulator/preload/Calls.h"

// Sleeping, starting threads, and what a program that knows of the simulator may ask of its clock.
namespace simulator {

namespace {

// duration as this process is to feel it.
timespec scaled(const timespec& duration, double scale) {
  const double seconds =
      (static_cast<double>(duration.tv_sec) + static_cast<double>(duration.tv_nsec) * 1e-9) / scale;
  timespec shorter{};
  shorter.tv_sec = static_cast<time_t>(seconds);
  shorter.tv_nsec = static_cast<long>((seconds - std::floor(seconds)) * 1e9);
  return shorter;
}

int sleepMicroseconds(Session& current, useconds_t microseconds) {
  int result = 0;
  if (const FaultOutcome* fault = current.meetFault("usleep", "")) {
    errno = *fault->error;
    result = -1;
  } else if (current.machine().scales("usleep")) {
    timespec duration{};
    duration.tv_sec = static_cast<time_t>(microseconds / 1'000'000);
    duration.tv_nsec = static_cast<long>(microseconds % 1'000'000) * 1000;
    const timespec shorter = scaled(duration, current.machine().timeScale());
    result = real().nanosleep(&shorter, nullptr);
  } else {
    result = real().usleep(microseconds);
  }
  if (current.journal().wanted()) {
    auto entry = nlohmann::ordered_json{{"call", "usleep"}, {"microseconds", microseconds}};
    entry["return"] = result;
    current.journal().write(std::move(entry));
  }
  return result;
}

}  // namespace

}  // namespace simulator

using namespace simulator;

VEKSSD_INTERPOSED int usleep(useconds_t microseconds) {
  Session* current = session();
  return current == nullptr ? real().usleep(microseconds)
                            : sleepMicroseconds(*current, microseconds);
}

VEKSSD_INTERPOSED int nanosleep(const timespec* duration, timespec* left) {
  Session* current = session();
  if (current == nullptr || duration == nullptr || !current->machine().scales("nanosleep")) {
    return real().nanosleep(duration, left);
  }
  const timespec shorter = scaled(*duration, current->machine().timeScale());
  return real().nanosleep(&shorter, left);
}

VEKSSD_INTERPOSED int clock_nanosleep(clockid_t clock, int flags, const timespec* duration,
                                      timespec* left) {
  Session* current = session();
  // A point in time stays where it is.
  if (current == nullptr || duration == nullptr || (flags & TIMER_ABSTIME) != 0 ||
      !current->machine().scales("clock_nanosleep")) {
    return real().clock_nanosleep(clock, flags, duration, left);
  }
  const timespec shorter = scaled(*duration, current->machine().timeScale());
  return real().clock_nanosleep(clock, flags, &shorter, left);
}

VEKSSD_INTERPOSED int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*start)(void*), void* argument) noexcept {
  Session* current = session();
  if (current == nullptr) {
    return real().pthread_create(thread, attributes, start, argument);
  }
  const FaultOutcome* fault = current->meetFault("pthread_create", "");
  const int result =
      fault != nullptr ? *fault->error : real().pthread_create(thread, attributes, start, argument);
  if (current->journal().wanted()) {
    current->journal().write({{"call", "pthread_create"}, {"return", result}});
  }
  return result;
}

// Simulated seconds since this process began.
VEKSSD_INTERPOSED double vekssdsimSeconds() {
  const Session* current = session();
  return current == nullptr ? 0 : current->seconds();
}

// Simulated seconds in a real one.
VEKSSD_INTERPOSED double vekssdsimScale() {
  Session* current = session();
  return current == nullptr ? 1 : current->machine().timeScale();
}

// Lets simulated seconds pass at once. For one thread at a time.
VEKSSD_INTERPOSED void vekssdsimSkip(double seconds) {
  if (Session* current = session()) {
    current->skip(seconds);
  }
}

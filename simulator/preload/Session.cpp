#include "simulator/preload/Session.h"

#include <pthread.h>
#include <sysexits.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <utility>

#include "simulator/MachineFile.h"
#include "simulator/preload/Descriptors.h"
#include "simulator/preload/Real.h"

namespace simulator {

namespace {

enum class State { unknown, starting, none, running };

// Constant-initialised: calls arrive before any constructor of this library has run.
std::atomic<State> state{State::unknown};
std::atomic<pthread_t> starter{};
Session* theSession = nullptr;
pthread_once_t started = PTHREAD_ONCE_INIT;

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

[[noreturn]] void refuse(const std::string& message) {
  (void)writeAll(STDERR_FILENO, "vekssdsim: " + message + "\n");
  _exit(EX_CONFIG);
}

void start() {
  const int saved = errno;
  starter = pthread_self();
  state = State::starting;
  const std::string path = environment("VEKSSD_MACHINE");
  if (path.empty()) {
    state = State::none;
    errno = saved;
    return;
  }
  try {
    theSession =
        new Session(loadMachine(path), {environment("VEKSSD_ETC"), environment("VEKSSD_LOG_DIR")},
                    environment("VEKSSD_JOURNAL"));
  } catch (const std::exception& error) {
    refuse(error.what());
  }
  state = State::running;
  errno = saved;
}

// A machine file that can't be used is reported when the process starts, not at its first call.
__attribute__((constructor)) void startEarly() { session(); }

}  // namespace

}  // namespace simulator

// What is wrong with a machine file, in one line; null if nothing is. For programs that want to
// know it before they start one on the machine; its presence tells that the simulator is there.
extern "C" __attribute__((visibility("default"))) const char* vekssdsimProblem(const char* path);
extern "C" const char* vekssdsimProblem(const char* path) {
  static std::string problem;
  try {
    simulator::loadMachine(path);
    return nullptr;
  } catch (const std::exception& error) {
    problem = error.what();
    return problem.c_str();
  }
}

namespace simulator {

Session* session() {
  switch (state.load(std::memory_order_acquire)) {
    case State::running:
      return theSession;
    case State::none:
      return nullptr;
    case State::starting:
      if (pthread_equal(starter.load(), pthread_self()) != 0) {
        return nullptr;
      }
      break;
    case State::unknown:
      break;
  }
  pthread_once(&started, start);
  return theSession;
}

Descriptors& descriptors() {
  static Descriptors table;
  return table;
}

Session::Session(MachineDescription description, Directories directories, std::string journal)
    : machine_(std::move(description), std::move(directories)),
      journal_(std::move(journal)),
      start_(std::chrono::steady_clock::now()) {}

double Session::seconds() const {
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
  return skipped_ + elapsed.count() * machine_.timeScale();
}

void Session::skip(double seconds) { skipped_ = skipped_ + seconds; }

void Session::pass(std::chrono::microseconds duration) const {
  if (duration.count() <= 0) {
    return;
  }
  const int saved = errno;
  int cancellable = 0;  // an ioctl that takes its time is no cancellation point
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellable);
  const double real = static_cast<double>(duration.count()) / machine_.timeScale();
  timespec left{};
  left.tv_sec = static_cast<time_t>(real / 1e6);
  left.tv_nsec = static_cast<long>((real - static_cast<double>(left.tv_sec) * 1e6) * 1e3);
  while (simulator::real().clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
  }
  pthread_setcancelstate(cancellable, nullptr);
  errno = saved;
}

const FaultOutcome* Session::meetFault(std::string_view call, std::string_view path) {
  const FaultOutcome* fault = machine_.faults().meet(call, path);
  if (fault != nullptr) {
    pass(fault->delay);
  }
  return fault != nullptr && (fault->error || fault->result) ? fault : nullptr;
}

}  // namespace simulator

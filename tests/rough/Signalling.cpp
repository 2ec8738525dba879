// A host that takes signals on whichever of its threads lets them through.

#include <csignal>
#include <cstdlib>
#include <fstream>

#include <dirent.h>
#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include "tests/rough/Host.h"

namespace rough {

namespace {

sigset_t maskOfThisThread() {
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  return mask;
}

/// "SigBlk" of a thread of this process, as /proc tells it.
unsigned long blockedIn(const std::string& thread) {
  std::ifstream status("/proc/self/task/" + thread + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, 7, "SigBlk:") == 0) {
      return std::stoul(line.substr(7), nullptr, 16);
    }
  }
  return 0;
}

unsigned long bitOf(int signal) { return 1UL << (signal - 1); }

std::vector<unsigned long> blockedInOtherThreads() {
  std::vector<unsigned long> all;
  DIR* const threads = opendir("/proc/self/task");
  while (const dirent* entry = readdir(threads)) {
    const std::string name = entry->d_name;
    if (name[0] != '.' && name != std::to_string(getpid())) {
      all.push_back(blockedIn(name));
    }
  }
  closedir(threads);
  return all;
}

void interruptEverything() {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const sigset_t before = maskOfThisThread();
  Till::start();
  const sigset_t after = maskOfThisThread();
  for (int signal = 1; signal < NSIG; ++signal) {
    expect(sigismember(&before, signal) == sigismember(&after, signal),
           "the caller's own mask has changed");
  }
  // From here on only the library's threads could take it.
  sigset_t alarm;
  sigemptyset(&alarm);
  sigaddset(&alarm, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
  const itimerval often = {{0, 20000}, {0, 20000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  usleep(1300000);
  std::_Exit(0);
}

bool isBlocked(unsigned long mask, int signal) { return (mask & bitOf(signal)) != 0; }

/// A sanitizer's own thread has neither.
void lookAtMasks() {
  Till::start();
  std::size_t polling = 0;
  for (const unsigned long mask : blockedInOtherThreads()) {
    bool hostsBlocked = true;
    for (const int signal : {SIGHUP, SIGINT, SIGUSR1, SIGALRM, SIGTERM, SIGCHLD, SIGIO, SIGPROF}) {
      hostsBlocked = hostsBlocked && isBlocked(mask, signal);
    }
    bool faultsBlocked = false;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
      faultsBlocked = faultsBlocked || isBlocked(mask, signal);
    }
    polling += hostsBlocked && !faultsBlocked ? 1 : 0;
  }
  expect(polling == 2, std::to_string(polling) + " of 2 polling threads block the host's signals");
}

}  // namespace

Behaviours signalling() {
  return {{"interrupt-everything", interruptEverything}, {"look-at-masks", lookAtMasks}};
}

}  // namespace rough

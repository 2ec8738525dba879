#include "simulator/recorder/preload/Recorder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

#include "simulator/preload/Real.h"
#include "simulator/recorder/Anonymous.h"
#include "simulator/recorder/MachineWriter.h"
#include "simulator/recorder/preload/Snapshot.h"

namespace simulator {

namespace {

constexpr mode_t kReadable = 0644;

// Constant-initialised: calls arrive before any constructor of this library has run.
std::atomic<Recorder*> theRecorder{nullptr};
pthread_once_t started = PTHREAD_ONCE_INIT;
thread_local bool starting = false;

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

__attribute__((destructor)) void endOfProcess() {
  if (Recorder* current = theRecorder) {
    current->saveAtEnd();
  }
}

void start() {
  const std::string file = environment("VEKSSD_RECORD");
  if (!file.empty()) {
    theRecorder = new Recorder(file, environment("VEKSSD_RECORD_ANONYMOUS") == "1");
    static_cast<void>(std::at_quick_exit(endOfProcess));
  }
}

// Instead of a file.
constexpr const char* kStandardOutput = "-";

std::string named(const std::string& path) {
  return path == kStandardOutput ? "standard output" : path;
}

int openForWriting(const std::string& path) {
  return path == kStandardOutput
             ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
             : real().open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kReadable);
}

// Empty if all went well.
std::string writeFile(const std::string& path, const std::string& text) {
  const int fd = openForWriting(path);
  bool good = fd >= 0;
  std::string_view rest = text;
  while (good && !rest.empty()) {
    const ssize_t written = write(fd, rest.data(), rest.size());
    good = written > 0 || (written < 0 && errno == EINTR);
    rest.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
  }
  const int error = errno;
  if (fd >= 0) {
    real().close(fd);
  }
  return good ? "" : named(path) + " can't be written: " + std::generic_category().message(error);
}

}  // namespace

Recorder::Recorder(std::string file, bool anonymous)
    : file_(std::move(file)), anonymous_(anonymous) {}

const std::string* Recorder::nodeAt(int fd) const {
  return fd >= 0 && fd < kLimit ? nodes_[fd].load(std::memory_order_acquire) : nullptr;
}

void Recorder::setNode(int fd, const std::string* node) {
  if (fd >= 0 && fd < kLimit) {
    nodes_[fd].store(node, std::memory_order_release);
  }
}

const std::string* Recorder::keep(const std::string& node) {
  const std::lock_guard lock(namesMutex_);
  return &*names_.insert(node).first;
}

std::string Recorder::save() {
  saved_ = true;
  try {
    MachineDescription machine = describeMachine(
        file_ == kStandardOutput ? "recorded" : std::filesystem::path(file_).stem().string(),
        recording_);
    std::string comment = "What the drives of a machine answered.";
    if (anonymous_) {
      makeAnonymous(machine);
      comment += " Their serial numbers are made up.";
    }
    return writeFile(file_, writeMachine(machine, comment));
  } catch (const std::exception& error) {
    return named(file_) + " can't be written: " + error.what();
  }
}

void Recorder::saveAtEnd() {
  if (saved_ || recording_.empty()) {
    return;
  }
  const std::string trouble = save();
  if (!trouble.empty()) {
    static_cast<void>(writeAll(STDERR_FILENO, "vekssdrec: " + trouble + "\n"));
  }
}

Recorder* recorder() {
  if (Recorder* const running = theRecorder.load(std::memory_order_acquire)) {
    return running;
  }
  if (starting) {
    return nullptr;
  }
  starting = true;
  const int saved = errno;
  pthread_once(&started, start);
  errno = saved;
  starting = false;
  return theRecorder;
}

}  // namespace simulator

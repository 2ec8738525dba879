#include "tests/provider/Events.h"

#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

#include "tests/provider/Allocations.h"

/// The sanitizers' way to say where their reports go, in builds that have them.
extern "C" void __sanitizer_set_report_fd(void* descriptor) __attribute__((weak));

namespace {

std::string escaped(const std::string& text) {
  std::string result;
  for (const char character : text) {
    if (character == '\n') {
      result += "\\n";
    } else {
      result += character;
    }
  }
  return result;
}

/// A standard stream that goes to memory for as long as this exists.
class CapturedStream {
 public:
  CapturedStream(int descriptor, const char* name)
      : descriptor_(descriptor),
        name_(name),
        saved_(dup(descriptor)),
        memory_(memfd_create(name, MFD_CLOEXEC)) {
    if (saved_ < 0 || memory_ < 0 || dup2(memory_, descriptor_) < 0) {
      throw std::runtime_error("a standard stream can't be captured");
    }
  }
  ~CapturedStream() {
    dup2(saved_, descriptor_);
    close(saved_);
    close(memory_);
  }
  CapturedStream(const CapturedStream&) = delete;
  CapturedStream& operator=(const CapturedStream&) = delete;

  /// What was written since the last time, as event lines.
  std::string takeLines() {
    std::array<char, 4096> buffer{};
    std::string fresh;
    for (;;) {
      const ssize_t got = pread(memory_, buffer.data(), buffer.size(), taken_);
      if (got <= 0) {
        break;
      }
      fresh.append(buffer.data(), static_cast<std::size_t>(got));
      taken_ += got;
    }
    std::string lines;
    for (std::size_t begin = 0; begin < fresh.size();) {
      const std::size_t end = fresh.find('\n', begin);
      const bool whole = end != std::string::npos;
      lines += name_ + (whole ? ": " : "~ ") + fresh.substr(begin, end - begin) + '\n';
      begin = whole ? end + 1 : fresh.size();
    }
    return lines;
  }

 private:
  const int descriptor_;
  const std::string name_;
  const int saved_;
  const int memory_;
  off_t taken_ = 0;
};

class Recording {
 public:
  void add(const std::string& line) {
    takeStreams();
    text_ += escaped(line) + '\n';
  }
  std::string finish() {
    takeStreams();
    return text_;
  }

 private:
  void takeStreams() {
    std::fflush(stdout);
    text_ += out_.takeLines();
    text_ += err_.takeLines();
  }

  CapturedStream out_{STDOUT_FILENO, "out"};
  CapturedStream err_{STDERR_FILENO, "err"};
  std::string text_;
};

/// Keeps the sanitizers' reports out of what is captured: the last one ends the process.
void showReports() {
  static const int shown = dup(STDERR_FILENO);
  if (__sanitizer_set_report_fd != nullptr) {
    __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(shown)));
  }
}

std::mutex recordingMutex;
Recording* recording = nullptr;
std::function<void(const std::string&)> eachWatcher;

void record(Recording* next) {
  const std::lock_guard lock(recordingMutex);
  recording = next;
}

}  // namespace

std::string events::during(const std::function<void()>& action) {
  std::fflush(stdout);
  showReports();
  Recording mine;
  struct Turn {
    explicit Turn(Recording* next) { record(next); }
    ~Turn() { record(nullptr); }
  };
  {
    const Turn turn(&mine);
    action();
  }
  return mine.finish();
}

void events::add(const std::string& line) {
  const allocations::Exempt exempt;
  std::function<void(const std::string&)> watcher;
  {
    const std::lock_guard lock(recordingMutex);
    if (recording != nullptr) {
      recording->add(line);
    }
    watcher = eachWatcher;
  }
  if (watcher) {
    watcher(line);
  }
}

void events::onEach(std::function<void(const std::string&)> watcher) {
  const std::lock_guard lock(recordingMutex);
  eachWatcher = std::move(watcher);
}

std::string events::format(const char* format, ...) {
  std::array<char, 8192> buffer{};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  va_end(arguments);
  return buffer.data();
}

std::string events::only(const std::string& kind, const std::string& text) {
  std::string result;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    if (text.compare(begin, kind.size(), kind) == 0) {
      result += text.substr(begin, end - begin + 1);
    }
    begin = end + 1;
  }
  return result;
}

std::size_t events::count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++found;
  }
  return found;
}

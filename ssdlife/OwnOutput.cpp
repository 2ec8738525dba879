#include "ssdlife/OwnOutput.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <system_error>

#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

void occupy(int descriptor) {
  if (fcntl(descriptor, F_GETFD) < 0) {
    const int nowhere = open("/dev/null", O_RDWR);
    if (nowhere >= 0 && nowhere != descriptor) {
      dup2(nowhere, descriptor);
      close(nowhere);
    }
  }
}

// A second descriptor for the same output; none if the caller has closed it.
int keep(int descriptor) {
  const int kept = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  occupy(descriptor);
  return kept;
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written < 0) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

OwnOutput::OwnOutput() {
  occupy(STDIN_FILENO);
  out_ = keep(STDOUT_FILENO);
  error_ = keep(STDERR_FILENO);
}

OwnOutput::~OwnOutput() {
  close(out_);
  close(error_);
}

void OwnOutput::requireThere() const {
  if (out_ < 0) {
    out("\n");  // fails, and says how
  }
}

void OwnOutput::keepFromLibrary() const {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  close(nowhere);
}

void OwnOutput::giveBackStandardOutput() const {
  std::fflush(stdout);
  dup2(out_, STDOUT_FILENO);
}

void OwnOutput::out(std::string_view text) const {
  if (!writeAll(out_, text)) {
    throw Failure(ExitCode::kNothing,
                  "can't write the output: " + std::generic_category().message(errno));
  }
}

std::size_t OwnOutput::terminalWidth() const {
  winsize size{};
  return ioctl(out_, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool OwnOutput::takesColours() const {
  const char* const unwanted = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return isatty(out_) == 1 && (unwanted == nullptr || *unwanted == '\0') && terminal != nullptr &&
         std::string_view(terminal) != "dumb";
}

void OwnOutput::error(const std::string& line) const {
  static_cast<void>(writeAll(error_, "ssdlife: " + line + '\n'));
}

}  // namespace ssdlife

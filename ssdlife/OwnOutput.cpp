#include "ssdlife/OwnOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include <system_error>

#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

int openNowhere() { return open("/dev/null", O_WRONLY | O_CLOEXEC); }

// A second descriptor for the same output; nowhere if the caller closed it.
int keep(int descriptor) {
  const int kept = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  return kept >= 0 ? kept : openNowhere();
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

OwnOutput::OwnOutput(bool showLibraryOutput)
    : out_(keep(STDOUT_FILENO)), error_(keep(STDERR_FILENO)) {
  if (showLibraryOutput) {
    return;
  }
  const int nowhere = openNowhere();
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  close(nowhere);
}

OwnOutput::~OwnOutput() {
  close(out_);
  close(error_);
}

void OwnOutput::out(std::string_view text) const {
  if (!writeAll(out_, text)) {
    throw Failure(ExitCode::kNothing,
                  "can't write the output: " + std::generic_category().message(errno));
  }
}

void OwnOutput::error(const std::string& line) const {
  static_cast<void>(writeAll(error_, "ssdlife: " + line + '\n'));
}

}  // namespace ssdlife

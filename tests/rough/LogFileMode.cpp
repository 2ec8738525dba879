// A host without a umask: the log that the library makes is not everybody's to write. One that was
// there is left as it is.

#include <sys/stat.h>

#include "tests/rough/LogHost.h"

namespace {

std::string modeOf(const std::string& path) {
  struct stat status {};
  rough::check(stat(path.c_str(), &status) == 0, path + " is there");
  char text[8];
  std::snprintf(text, sizeof text, "%04o", status.st_mode & 07777U);
  return text;
}

std::string modeAfterALine(mode_t mask, const std::string& path) {
  const rough::Scratch scratch;
  rough::logConf = scratch.file("log.conf");
  std::ofstream(rough::logConf) << "FileName=" << path << '\n';
  umask(mask);
  const rough::Library library;
  library.log("a line");
  rough::check(umask(0) == mask, "the host's umask is as it was");
  return modeOf(path);
}

}  // namespace

int main() {
  const rough::Scratch scratch;
  const auto check = [](const std::string& is, const std::string& wanted) {
    rough::check(is == wanted, "mode " + wanted + ", not " + is);
  };
  check(modeAfterALine(0, scratch.file("mask 0")), "0644");
  check(modeAfterALine(0007, scratch.file("mask 7")), "0640");
  check(modeAfterALine(0022, scratch.file("mask 22")), "0644");
  check(modeAfterALine(0077, scratch.file("mask 77")), "0600");

  const std::string old = scratch.file("old");
  std::ofstream(old).close();
  chmod(old.c_str(), 0666);
  check(modeAfterALine(0, old), "0666");
  return EXIT_SUCCESS;
}

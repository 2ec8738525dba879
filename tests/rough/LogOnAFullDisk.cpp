// A disk that is full and then isn't: what cut a line short leaves the next ones whole. A limit on
// the length of files stands for the disk: the system writes as far as it goes, then refuses.

#include <csignal>

#include <sys/resource.h>

#include "tests/rough/LogHost.h"

using rough::check;
using rough::contentOf;

namespace {

void limitFiles(rlim_t bytes) {
  const rlimit limit = {bytes, RLIM_INFINITY};
  check(setrlimit(RLIMIT_FSIZE, &limit) == 0, "the limit is set");
}

/// The message of the last line.
std::string lastMessage(const std::string& log) { return log.substr(log.rfind('\t') + 1); }

bool isLineOf(const std::string& text, std::size_t at) {
  return text.size() > at + 10 && text[at + 2] == '/' && text[at + 5] == '/' &&
         text[at + 10] == ' ';
}

}  // namespace

int main() {
  std::signal(SIGXFSZ, SIG_IGN);
  const rough::Scratch scratch;
  rough::logConf = scratch.file("log.conf");
  const std::string path = scratch.file("log");
  std::ofstream(rough::logConf) << "FileName=" << path << '\n';
  const rough::Library library;
  library.log("one");
  const std::string before = contentOf(path);

  // Not a byte more, and then space again: as if nothing had happened but the lost line.
  limitFiles(before.size());
  library.log("lost");
  limitFiles(RLIM_INFINITY);
  library.log("two");
  std::string log = contentOf(path);
  check(isLineOf(log, before.size()) && lastMessage(log) == "two\n", "nothing is added:\n" + log);

  // Ten bytes of a line, and nothing of the next one; then space again.
  const std::size_t full = log.size();
  limitFiles(full + 10);
  library.log("cut short");
  library.log("lost");
  limitFiles(RLIM_INFINITY);
  library.log("three");
  library.log("four");
  log = contentOf(path);
  check(log.substr(full + 10, 1) == "\n", "the next line begins a line of its own:\n" + log);
  check(isLineOf(log, full + 11), "and is whole:\n" + log);
  check(log.find("\tthree\n", full) != std::string::npos, "to its end:\n" + log);
  check(isLineOf(log, log.find("\tthree\n") + 7) && lastMessage(log) == "four\n",
        "and the one behind it follows:\n" + log);

  // A line of another process has ended the one that was cut short.
  const std::size_t again = log.size();
  limitFiles(again + 10);
  library.log("cut short");
  limitFiles(RLIM_INFINITY);
  std::ofstream(path, std::ios::app) << "another process\n";
  library.log("five");
  log = contentOf(path);
  check(log.find("\n\n") == std::string::npos && lastMessage(log) == "five\n",
        "no empty line:\n" + log);
  return EXIT_SUCCESS;
}

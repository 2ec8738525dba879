// A host that forks while its threads log. Its children log too, without hanging on a lock that
// only the parent's threads can give back, and their lines bear their own process number.

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

#include <sys/wait.h>

#include "tests/rough/LogHost.h"

using rough::check;

namespace {

constexpr int kChildren = 40;

void logAndEnd(const rough::Library& library) {
  alarm(5);  // for one that hangs
  library.log("in the child");
  _exit(EXIT_SUCCESS);
}

std::string processColumn(pid_t process) {
  const std::string digits = std::to_string(process);
  return "P[" + std::string(8 - std::min<std::size_t>(8, digits.size()), ' ') + digits + ']';
}

}  // namespace

int main() {
  const rough::Scratch scratch;
  const std::string conf = scratch.file("log.conf");
  const std::string log = scratch.file("log");
  std::ofstream(conf) << "FileName=" << log << "\nMaxLength=1000000000\n";
  rough::logConf = conf;
  const rough::Library library;

  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      while (!done) {
        library.log("in the parent");
      }
    });
  }
  std::vector<pid_t> children;
  for (int i = 0; i < kChildren; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      logAndEnd(library);
    }
    children.push_back(child);
    int status = 0;
    waitpid(child, &status, 0);
    check(status == 0, "child " + std::to_string(i) + " logs and ends");
  }
  done = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  const std::string text = rough::contentOf(log);
  std::size_t at = 0;
  for (const pid_t child : children) {
    at = text.find(processColumn(child), at);
    check(at != std::string::npos, "each child's line bears its process number");
    const std::string line = text.substr(at, text.find('\n', at) - at);
    check(line.find("\tInfo \tin the child") != std::string::npos, "its line: " + line);
  }
  library.log("after the children");
  const std::string last = rough::contentOf(log).substr(text.size());
  check(last.find(processColumn(getpid())) != std::string::npos,
        "the parent keeps its own: " + last);
  return EXIT_SUCCESS;
}

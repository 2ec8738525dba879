#include "tests/simulator/probe/Probe.h"

#include <pthread.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <thread>
#include <utility>

namespace probe {

std::string errnoText(int error) {
  const char* name = strerrorname_np(error);
  return name == nullptr ? std::to_string(error) : name;
}

std::string outcome(long result) { return result >= 0 ? "ok" : "failed " + errnoText(errno); }

std::string hex(const unsigned char* data, std::size_t length) {
  while (length > 0 && data[length - 1] == 0) {
    --length;
  }
  std::string text;
  for (std::size_t i = 0; i < length; ++i) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", data[i]);
    text += digits;
  }
  return text;
}

namespace {

// Sleeps and says how many real milliseconds that took.
std::string sleepFor(const Arguments& arguments) {
  const auto microseconds = static_cast<useconds_t>(std::stoul(arguments.at(0)));
  timespec before{};
  timespec after{};
  clock_gettime(CLOCK_MONOTONIC, &before);
  const std::string result = outcome(usleep(microseconds));
  clock_gettime(CLOCK_MONOTONIC, &after);
  const long milliseconds =
      (after.tv_sec - before.tv_sec) * 1000 + (after.tv_nsec - before.tv_nsec) / 1'000'000;
  return result + " " + std::to_string(milliseconds);
}

void* nothing(void* /*argument*/) { return nullptr; }

std::string startThread(const Arguments& /*arguments*/) {
  pthread_t thread{};
  const int code = pthread_create(&thread, nullptr, nothing, nullptr);
  if (code != 0) {
    return "failed " + errnoText(code);
  }
  pthread_join(thread, nullptr);
  return "ok";
}

// Runs another command in the child of a fork; its line is printed there.
std::string inChild(const Arguments& arguments);

// Runs another command in many threads at once and says how many different lines came out.
std::string inThreads(const Arguments& arguments);

struct Command {
  const char* name;
  std::string (*run)(const Arguments&);
};

constexpr Command kCommands[] = {
    {"identity", identity},      {"drivecmd", driveCommand},
    {"readlog", readLogExt},     {"nvmeid", nvmeId},
    {"nvmeadmin", nvmeAdmin},    {"read", readFile},
    {"lines", readLines},        {"append", appendToFile},
    {"list", listDirectory},     {"glob", expandPattern},
    {"access", askAccess},       {"stat", askStatus},
    {"control", openAndControl}, {"leak", leak},
    {"usleep", sleepFor},        {"thread", startThread},
    {"reuse", reuseDescriptor},  {"child", inChild},
    {"threads", inThreads},
};

std::string run(const Arguments& words) {
  for (const Command& command : kCommands) {
    if (words.at(0) == command.name) {
      return command.run(Arguments(words.begin() + 1, words.end()));
    }
  }
  return "no such command";
}

std::string inChild(const Arguments& arguments) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    std::printf("%s\n", run(arguments).c_str());
    std::exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return "child ended with " + std::to_string(WEXITSTATUS(status));
}

std::string inThreads(const Arguments& arguments) {
  constexpr std::size_t kThreads = 8;
  std::vector<std::string> lines(kThreads);
  std::vector<std::thread> threads;
  for (std::string& line : lines) {
    threads.emplace_back([&line, &arguments] {
      for (int i = 0; i < 50; ++i) {
        line = run(arguments);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const bool same = std::all_of(lines.begin(), lines.end(),
                                [&lines](const std::string& line) { return line == lines[0]; });
  return same ? lines[0] : "the threads differ";
}

Arguments split(const std::string& text) {
  Arguments words(1);
  for (const char c : text) {
    if (c == ':') {
      words.emplace_back();
    } else {
      words.back() += c;
    }
  }
  return words;
}

}  // namespace

}  // namespace probe

int main(int count, char** words) {
  for (int i = 1; i < count; ++i) {
    std::printf("%s\n", probe::run(probe::split(words[i])).c_str());
  }
  return 0;
}

// What a log call costs: one below the configured level, and one whose line is written.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "bench/Check.h"
#include "bench/LogLines.h"
#include "bench/Machine.h"

namespace {

namespace fs = std::filesystem;

using bench::kHours;
using bench::kMessage;
using bench::kPercentage;
using bench::logLine;
using bench::spdlogLine;

std::string contentOfLog() {
  std::ifstream file(bench::logPath());
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Each measurement of written lines starts with an empty file and is void unless as many whole
/// lines stand in it as were logged.
class WrittenLines {
 public:
  explicit WrittenLines(benchmark::State& state) : state_(state) {
    fs::resize_file(bench::logPath(), 0);
  }

  ~WrittenLines() {
    const std::string content = contentOfLog();
    const std::string ending = "\t" + std::string(kMessage) + "\n";
    std::int64_t lines = 0;
    for (std::size_t end = 0; (end = content.find(ending, end)) != std::string::npos; ++lines) {
      end += ending.size();
    }
    const auto lineEnds = std::count(content.begin(), content.end(), '\n');
    bench::check(state_,
                 lines == static_cast<std::int64_t>(state_.iterations()) && lines == lineEnds,
                 "the log does not hold the lines that were written");
  }

 private:
  benchmark::State& state_;
};

void suppressedOurs(benchmark::State& state) {
  logLine(LOG_LEVEL_INFO);  // opens the file
  fs::resize_file(bench::logPath(), 0);
  for (auto _ : state) {
    logLine(LOG_LEVEL_DEBUG);
  }
  bench::check(state, fs::file_size(bench::logPath()) == 0, "a suppressed line was written");
  logLine(LOG_LEVEL_INFO);
  bench::check(state, fs::file_size(bench::logPath()) > 0, "no line is written at all");
}

void suppressedSpdlog(benchmark::State& state) {
  spdlogLine(spdlog::level::info);
  fs::resize_file(bench::logPath(), 0);
  for (auto _ : state) {
    spdlogLine(spdlog::level::debug);
  }
  bench::check(state, fs::file_size(bench::logPath()) == 0, "a suppressed line was written");
  spdlogLine(spdlog::level::info);
  bench::check(state, fs::file_size(bench::logPath()) > 0, "no line is written at all");
}

void lineOurs(benchmark::State& state) {
  logLine(LOG_LEVEL_INFO);
  const WrittenLines lines(state);
  for (auto _ : state) {
    logLine(LOG_LEVEL_INFO);
  }
}

void lineFloor(benchmark::State& state) {
  logLine(LOG_LEVEL_INFO);
  fs::resize_file(bench::logPath(), 0);
  logLine(LOG_LEVEL_INFO);
  const std::string line = contentOfLog();
  const int fd = open(bench::logPath().c_str(), O_RDWR | O_APPEND | O_CREAT, 0666);
  {
    const WrittenLines lines(state);
    struct stat status;
    for (auto _ : state) {
      benchmark::DoNotOptimize(fstat(fd, &status));
      benchmark::DoNotOptimize(write(fd, line.data(), line.size()));
    }
  }
  close(fd);
}

/// What every line of ours is bound to, whoever writes it: a message formatted into a heap buffer
/// of its own, the time, the size of the file, one fwrite and one flush.
void lineBound(benchmark::State& state) {
  logLine(LOG_LEVEL_INFO);
  fs::resize_file(bench::logPath(), 0);
  logLine(LOG_LEVEL_INFO);
  std::string line = contentOfLog();
  const std::size_t columns = line.find(kMessage);
  std::FILE* file = std::fopen(bench::logPath().c_str(), "a+");
  {
    const WrittenLines lines(state);
    struct stat status;
    timespec time{};
    for (auto _ : state) {
      const std::unique_ptr<char[]> buffer(new char[4096]);
      std::snprintf(buffer.get(), 4096, "SsdDevice::getSsdData - POH = %lu, Percentage Used = %d",
                    kHours, kPercentage);
      line.replace(columns, sizeof(kMessage) - 1, buffer.get());
      benchmark::DoNotOptimize(clock_gettime(CLOCK_REALTIME, &time));
      benchmark::DoNotOptimize(fstat(fileno(file), &status));
      std::fwrite(line.data(), 1, line.size(), file);
      std::fflush(file);
    }
  }
  std::fclose(file);
}

void lineSpdlog(benchmark::State& state) {
  spdlogLine(spdlog::level::info);
  const int fd = open(bench::logPath().c_str(), O_RDONLY);
  {
    const WrittenLines lines(state);
    struct stat status;
    for (auto _ : state) {
      benchmark::DoNotOptimize(fstat(fd, &status));
      spdlogLine(spdlog::level::info);
    }
  }
  close(fd);
}

BENCHMARK(suppressedOurs)->Name("log_suppressed/ours");
BENCHMARK(suppressedSpdlog)->Name("log_suppressed/reference");
BENCHMARK(lineOurs)->Name("log_line/ours");
BENCHMARK(lineFloor)->Name("log_line/floor");
BENCHMARK(lineBound)->Name("log_line/bound");
BENCHMARK(lineSpdlog)->Name("log_line/spdlog");

}  // namespace

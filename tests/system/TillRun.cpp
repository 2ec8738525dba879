#include "tests/system/TillRun.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>

using nlohmann::json;

namespace {

/// So many simulated seconds pass in a real one where the machine says nothing of it: nobody waits
/// a second for each polling thread.
constexpr int kTimeScale = 100;

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// Splits a log into its records: a line that doesn't begin with a stamp belongs to the one before.
std::vector<LogLine> recordsOf(const std::string& text) {
  static const std::regex kStamp(
      "^[0-9]{2}/[0-9]{2}/[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}\tP\\[[ 0-9]{8}\\] "
      "T\\[([0-9a-f]{8})\\]\t(.{5})\t(.*)$");
  std::vector<LogLine> records;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    std::smatch match;
    if (std::regex_match(line, match, kStamp)) {
      std::string level = match[2];
      level.erase(level.find_last_not_of(' ') + 1);
      records.push_back({std::stoul(match[1], nullptr, 16), level + ' ' + match[3].str()});
    } else if (records.empty()) {
      throw std::runtime_error("the log doesn't begin with a stamp: " + line);
    } else {
      records.back().text += '\n' + line;
    }
  }
  return records;
}

}  // namespace

ScratchDirectory::ScratchDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vekssd.XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("no scratch directory");
  }
  path_ = pattern;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

TillRun::TillRun(const std::string& machine) {
  const bool isText = machine.find('{') != std::string::npos;
  json description = json::parse(
      isText ? machine : contentOf(std::string(VEKSSD_MACHINES) + "/" + machine + ".json"));
  if (!description.contains("time")) {
    description["time"] = {{"scale", kTimeScale}};
  }
  const std::string file = directory_.file("machine.json");
  writeFile(file, description.dump());
  environment("LD_PRELOAD", VEKSSD_SIMULATOR);
  environment("VEKSSD_MACHINE", file);
  environment("VEKSSD_JOURNAL", directory_.file("journal"));
  environment("VEKSSD_ETC", directory_.file("etc"));
  environment("VEKSSD_LOG_DIR", directory_.file("log"));
  // An instrumented simulator stands in front of a runtime that would rather be first. What the
  // library leaves behind on purpose is looked at elsewhere.
  environment("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
}

TillRun& TillRun::setting(const std::string& line) {
  settings_ += line + '\n';
  return *this;
}

TillRun& TillRun::logSetting(const std::string& line) {
  logSettings_ += line + '\n';
  return *this;
}

TillRun& TillRun::environment(const std::string& name, const std::string& value) {
  environment_.emplace_back(name, value);
  return *this;
}

TillRun& TillRun::run(const std::vector<std::string>& steps) {
  std::filesystem::create_directories(directory_.file("etc"));
  std::filesystem::create_directories(directory_.file("log"));
  if (!settings_.empty()) {
    writeFile(directory_.file("etc/ssddrv.ini"), settings_);
  }
  const bool levelGiven = logSettings_.find("Level=") != std::string::npos;
  writeFile(directory_.file("etc/log.conf"), logSettings_ + (levelGiven ? "" : "Level=4\n"));
  start(steps);
  readResults();
  return *this;
}

void TillRun::start(const std::vector<std::string>& steps) {
  std::vector<std::string> words = {VEKSSD_PROBE, directory_.file("results")};
  words.insert(words.end(), steps.begin(), steps.end());
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  const std::string out = directory_.file("out");
  const std::string err = directory_.file("err");
  const pid_t child = fork();
  if (child == 0) {
    if (std::freopen(out.c_str(), "w", stdout) == nullptr ||
        std::freopen(err.c_str(), "w", stderr) == nullptr) {
      _exit(126);
    }
    for (const auto& [name, value] : environment_) {
      setenv(name.c_str(), value.c_str(), 1);
    }
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  out_ = contentOf(out);
  err_ = contentOf(err);
  logText_ = contentOf(directory_.file("log/ssddrv.log"));
  log_ = recordsOf(logText_);
  EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status) << '\n' << err_;
  EXPECT_EQ(WEXITSTATUS(status), 0) << err_;
}

void TillRun::readResults() {
  steps_.clear();
  std::size_t out = 0;
  std::size_t err = 0;
  std::size_t log = 0;
  std::istringstream results(contentOf(directory_.file("results")));
  for (std::string line; std::getline(results, line);) {
    const json entry = json::parse(line);
    const auto taken = [&entry](const std::string& text, const char* name, std::size_t& from) {
      const std::size_t to = std::max(from, entry.at(name).get<std::size_t>());
      const std::string part = text.substr(from, to - from);
      from = to;
      return part;
    };
    Step step;
    step.step = entry.at("step");
    step.result = entry.at("result");
    step.out = taken(out_, "out", out);
    step.err = taken(err_, "err", err);
    step.log = recordsOf(taken(logText_, "log", log));
    steps_.push_back(std::move(step));
  }
}

const Step& TillRun::step(const std::string& name, std::size_t nth) const {
  for (const Step& step : steps_) {
    if (step.step.substr(0, step.step.find(':')) == name && nth-- == 0) {
      return step;
    }
  }
  throw std::runtime_error("no step " + name);
}

std::vector<json> TillRun::journal(const std::string& call) const {
  std::vector<json> entries;
  std::istringstream stream(contentOf(directory_.file("journal")));
  for (std::string line; std::getline(stream, line);) {
    json entry = json::parse(line);
    if (call.empty() || entry.at("call") == call) {
      entries.push_back(std::move(entry));
    }
  }
  return entries;
}

std::string machineWith(const std::string& drives, const std::string& more) {
  return R"({"name": "test", "bios": "1.02.3", )" + more + R"("drives": [)" + drives + "]}";
}

std::string sataDrive(const std::string& node, const std::string& serial, const std::string& wear) {
  return R"({"kind": "sata", "node": ")" + node + R"(", "model": "TS64GHSD630", "serial": ")" +
         serial + R"(", "firmware": "20180526", "hours": 18422, "wear": )" + wear +
         R"(, "statistics": true})";
}

std::string withoutAddresses(const std::string& text) {
  static const std::regex kPointer("0x[0-9a-f]{9,16}");
  static const std::regex kId(
      "((?:_ssdDevice|started id|new instance )= ?|pthread_join\\()0x[0-9a-f]{8}");
  return std::regex_replace(std::regex_replace(text, kPointer, "(ptr)"), kId, "$1(id)");
}

std::string textsOf(const std::vector<LogLine>& log, unsigned long thread) {
  std::string all;
  for (const LogLine& line : log) {
    if (thread == 0 || line.thread == thread) {
      all += withoutAddresses(line.text) + '\n';
    }
  }
  return all;
}

std::vector<unsigned long> threadsOf(const std::vector<LogLine>& log) {
  std::vector<unsigned long> threads;
  for (const LogLine& line : log) {
    if (std::find(threads.begin(), threads.end(), line.thread) == threads.end()) {
      threads.push_back(line.thread);
    }
  }
  return threads;
}

std::string lines(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) {
    all += text + '\n';
  }
  return all;
}

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++found;
  }
  return found;
}

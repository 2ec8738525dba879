#include "tests/simulator/ProbeRun.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace simulator::test {

namespace {

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

}  // namespace

void PrintTo(const ProbeProgram& program, std::ostream* out) { *out << program.name; }

std::string programName(const testing::TestParamInfo<ProbeProgram>& info) {
  return info.param.name;
}

ScratchDirectory::ScratchDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vekssdsim.XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("no scratch directory");
  }
  path_ = pattern;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ScratchDirectory::write(const std::string& name, const std::string& content) const {
  std::ofstream(file(name), std::ios::binary) << content;
  return file(name);
}

std::string ScratchDirectory::read(const std::string& name) const { return contentOf(file(name)); }

ProbeRun::ProbeRun(const std::string& machine) : program_(VEKSSD_PROBE) {
  environment("LD_PRELOAD", VEKSSD_SIMULATOR);
  // An instrumented simulator in front of a program whose runtime would rather be first.
  environment("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
  environment("VEKSSD_JOURNAL", directory_.file("journal"));
  if (!machine.empty()) {
    environment("VEKSSD_MACHINE", directory_.write("machine.json", machine));
  }
}

ProbeRun& ProbeRun::environment(std::string name, std::string value) {
  environment_.emplace_back(std::move(name), std::move(value));
  return *this;
}

ProbeRun& ProbeRun::program(std::string path) {
  program_ = std::move(path);
  return *this;
}

ProbeResult ProbeRun::run(const std::vector<std::string>& arguments) {
  std::vector<std::string> words{program_};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) {
    pointers.push_back(word.data());
  }
  pointers.push_back(nullptr);
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
    execv(pointers[0], pointers.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ProbeResult result;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.lines = linesOf(contentOf(out));
  result.errors = contentOf(err);
  return result;
}

std::vector<nlohmann::json> ProbeRun::journal(const std::string& call) const {
  std::vector<nlohmann::json> entries;
  for (const std::string& line : linesOf(contentOf(directory_.file("journal")))) {
    nlohmann::json entry = nlohmann::json::parse(line);
    if (call.empty() || entry.at("call") == call) {
      entries.push_back(std::move(entry));
    }
  }
  return entries;
}

}  // namespace simulator::test

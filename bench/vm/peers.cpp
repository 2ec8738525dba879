// The processor time of one reading by the library, beside that of a peer's command which reads the
// same drive.
//
//   bench_peers NODE COMMAND [ARGUMENT...]
//
// Prints one JSON object with the nanoseconds of both, measured in turns. Exits with 1 unless the
// library and the command say the same of the drive.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "core/SsdDevice.h"
#include "device/SmartIo.h"

extern char** environ;

namespace {

using nlohmann::json;

constexpr int kRepetitions = 9;
constexpr int kReadings = 20;  // to a repetition: one is too short to be timed

struct Values {
  std::uint64_t percentageUsed;
  std::uint64_t poweredOnHours;

  bool operator==(const Values& other) const {
    return percentageUsed == other.percentageUsed && poweredOnHours == other.poweredOnHours;
  }
};

double threadNanoseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// A device as the manager sets it up. Never deleted: it has a polling thread.
SsdDevice& makeDevice(const std::string& node) {
  const std::string name = node.substr(node.find_last_of('/') + 1);
  IdentifyData identify;
  const bool identified = name.compare(0, 4, "nvme") == 0
                              ? SmartIo::getIdentifyNVMeData(node, identify)
                              : SmartIo::getIdentifyData(node, identify);
  auto* device = new SsdDevice;
  if (!identified || !device->initialise(identify, name, node, nullptr)) {
    throw std::runtime_error(node + " can't be read");
  }
  return *device;
}

double timeReading(SsdDevice& device) {
  const double start = threadNanoseconds();
  for (int i = 0; i < kReadings; ++i) {
    device.getSsdData();
  }
  return (threadNanoseconds() - start) / kReadings;
}

struct Run {
  std::string output;
  double nanoseconds;
};

std::string readAll(int fd) {
  std::string text;
  std::array<char, 4096> buffer;
  for (ssize_t length; (length = read(fd, buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(length));
  }
  return text;
}

double nanoseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_usec) * 1e3;
}

Run runCommand(char* const* command) {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) {
    throw std::runtime_error("no pipe");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  pid_t child = 0;
  const int error = posix_spawnp(&child, command[0], &actions, nullptr, command, environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (error != 0) {
    throw std::runtime_error(std::string(command[0]) + " can't be started");
  }
  Run run;
  run.output = readAll(ends[0]);
  close(ends[0]);
  rusage usage{};
  int status = 0;
  if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status)) {
    throw std::runtime_error(std::string(command[0]) + " did not end well");
  }
  run.nanoseconds = nanoseconds(usage.ru_utime) + nanoseconds(usage.ru_stime);
  return run;
}

/// What nvme prints; its hours are a text.
Values nvmeValues(const json& answer) {
  const json& hours = answer.at("power_on_hours");
  return {answer.at("percent_used"),
          hours.is_string() ? std::stoull(hours.get<std::string>()) : hours.get<std::uint64_t>()};
}

Values smartctlValues(const json& answer) {
  for (const json& page : answer.at("ata_device_statistics").at("pages")) {
    for (const json& statistic : page.at("table")) {
      if (statistic.at("name") == "Percentage Used Endurance Indicator") {
        for (const json& attribute : answer.at("ata_smart_attributes").at("table")) {
          if (attribute.at("id") == 9) {
            return {statistic.at("value"), attribute.at("raw").at("value")};
          }
        }
      }
    }
  }
  throw std::runtime_error("smartctl shows no wear");
}

Values valuesOf(const std::string& output) {
  const json answer = json::parse(output);
  return answer.contains("percent_used") ? nvmeValues(answer) : smartctlValues(answer);
}

Values valuesOf(SsdDevice& device) {
  SsdInformation information;
  device.copySsdInformation(information);
  return {information.percentageUsed, information.poweredOnHours};
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 3) {
    std::fprintf(stderr, "usage: bench_peers NODE COMMAND [ARGUMENT...]\n");
    return 2;
  }
  SsdDevice& device = makeDevice(argv[1]);
  char* const* command = argv + 2;
  json result = {{"ours_ns", json::array()}, {"reference_ns", json::array()}};
  for (int i = 0; i < kRepetitions; ++i) {
    result["ours_ns"].push_back(timeReading(device));
    const Run run = runCommand(command);
    result["reference_ns"].push_back(run.nanoseconds);
    if (!(valuesOf(run.output) == valuesOf(device))) {
      throw std::runtime_error("the library and " + std::string(command[0]) + " disagree");
    }
  }
  std::printf("\n%s\n", result.dump().c_str());
  std::fflush(stdout);
  _exit(0);
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench_peers: %s\n", error.what());
  std::fflush(nullptr);
  _exit(1);
}

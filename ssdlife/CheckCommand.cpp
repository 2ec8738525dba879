#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

#include "ssdlife/Commands.h"
#include "ssdlife/SsdClient.h"
#include "ssdlife/forecast/DriveForecast.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {
namespace {

// While it lives the process ends with the state UNKNOWN when the time is over, whatever drive the
// library is waiting for.
class Deadline {
 public:
  Deadline(double seconds, const OwnOutput& output)
      : thread_([seconds, &output, met = met_.get_future()] {
          if (met.wait_for(std::chrono::duration<double>(seconds)) == std::future_status::timeout) {
            endAsUnknown(seconds, output);
          }
        }) {}
  ~Deadline() {
    met_.set_value();
    thread_.join();
  }
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

 private:
  [[noreturn]] static void endAsUnknown(double seconds, const OwnOutput& output) {
    std::array<char, 64> reason{};
    std::snprintf(reason.data(), reason.size(), "no answer within %g seconds", seconds);
    const HealthReport unknown = unknownHealth(reason.data());
    try {
      output.out(unknown.line);
    } catch (const std::exception& unwritten) {
      output.error(unwritten.what());
    }
    std::quick_exit(static_cast<int>(unknown.health));
  }

  std::promise<void> met_;
  std::thread thread_;
};

std::vector<Drive> drivesInTime(const Options& options, const std::string& library,
                                const OwnOutput& output) {
  const Deadline deadline(options.timeout, output);
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  std::vector<Drive> drives = client.list();
  client.close();
  return drives;
}

}  // namespace

Health check(const Options& options, const std::string& library, const OwnOutput& output) {
  std::vector<Drive> drives = drivesInTime(options, library, output);
  Thresholds thresholds = options.thresholds;
  if (options.warningDays) {
    addExpected(drives, stateFolder(options.state));
    thresholds.expectedBefore = now() + *options.warningDays * kDay;
  }
  const HealthReport report = healthOf(drives, thresholds);
  output.out(report.line);
  return report.health;
}

}  // namespace ssdlife

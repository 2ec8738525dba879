#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "base/UniqueFile.h"
#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/history/StateFile.h"
#include "ssdlife/report/Page.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {
namespace {

// The whole page or none: a browser may have the old one open.
void writeFile(const std::string& file, const std::string& content) {
  const std::string fresh = file + ".new";
  const auto fail = [&](const std::string& why) {
    std::remove(fresh.c_str());
    throw Failure(ExitCode::kNothing, file + " can't be written: " + why);
  };
  UniqueFile stream(std::fopen(fresh.c_str(), "w"));
  if (stream == nullptr) {
    fail(std::generic_category().message(errno));
  }
  const bool written =
      std::fwrite(content.data(), 1, content.size(), stream.get()) == content.size() &&
      std::fflush(stream.get()) == 0 && fsync(fileno(stream.get())) == 0;
  if (!written || std::rename(fresh.c_str(), file.c_str()) != 0) {
    fail(std::generic_category().message(errno));
  }
}

std::string hostName() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "this machine";
}

}  // namespace

ExitCode report(const Options& options, const OwnOutput& output) {
  const std::string folder = stateFolder(options.state);
  const auto database = readState(folder);
  if (!database) {
    throw Failure(ExitCode::kNothing, "there is no history in " + folder);
  }
  const unsigned threshold = thresholdOfLibrary();
  std::vector<DriveReport> drives;
  for (DriveForecast& forecast : forecastsIn(*database, "", threshold, now())) {
    std::vector<Alarm> alarms = alarmsOf(*database, forecast.drive.id);
    drives.push_back({std::move(forecast), std::move(alarms)});
  }
  const std::string page = pageOf(drives, threshold, hostName(), now());
  if (options.page == "-") {
    output.out(page);
  } else {
    writeFile(options.page, page);
  }
  return ExitCode::kOk;
}

}  // namespace ssdlife

#include "ssdlife/AccessRoads.h"
#include "ssdlife/Commands.h"
#include "ssdlife/DriveLookup.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {
namespace {

// The library is asked only for the beginning of a DeviceID.
std::string nodeOf(const Options& options, const std::string& library) {
  if (const auto node = nodeNamed(options.deviceId)) {
    return *node;
  }
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  const std::string node = client.get(options.deviceId).physicalDrive;
  client.close();
  return node;
}

}  // namespace

ExitCode roads(const Options& options, const std::string& library, const OwnOutput& output) {
  output.out(showRoads(askRoads(nodeOf(options, library)), options.format));
  return ExitCode::kOk;
}

}  // namespace ssdlife

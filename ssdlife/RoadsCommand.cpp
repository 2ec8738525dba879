#include <unistd.h>

#include "ssdlife/AccessRoads.h"
#include "ssdlife/Commands.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {
namespace {

constexpr const char* kNodes = "/dev/";

// The node of what the user called "sda", "/dev/sda", or by (the beginning of) a DeviceID; only for
// the last the library is asked.
std::string nodeOf(const Options& options, const std::string& library) {
  const std::string& text = options.deviceId;
  const std::string name = text.compare(0, 5, kNodes) == 0 ? text.substr(5) : text;
  const bool plain = !name.empty() && name.find('/') == std::string::npos && name[0] != '.';
  if (plain && access((kNodes + name).c_str(), F_OK) == 0) {
    return name;
  }
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  const std::string node = client.get(text).physicalDrive;
  client.close();
  return node;
}

}  // namespace

ExitCode roads(const Options& options, const std::string& library, const OwnOutput& output) {
  output.out(showRoads(askRoads(nodeOf(options, library)), options.format));
  return ExitCode::kOk;
}

}  // namespace ssdlife

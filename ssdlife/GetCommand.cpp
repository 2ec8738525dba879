#include "ssdlife/Commands.h"
#include "ssdlife/DriveLookup.h"
#include "ssdlife/Show.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {

ExitCode get(const Options& options, const std::string& library, const OwnOutput& output) {
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  output.out(showDrive(driveNamed(client, options.deviceId), options.format));
  client.close();
  return ExitCode::kOk;
}

}  // namespace ssdlife

#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/Show.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {

ExitCode names(const Options& options, const std::string& library, const OwnOutput& output) {
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  try {
    output.out(showNames(client.names(), options.format));
  } catch (const NoDrives&) {
    if (options.format == Format::kJson) {
      output.out(showNames({}, options.format));
    }
    throw;
  }
  client.close();
  return ExitCode::kOk;
}

}  // namespace ssdlife

#include "ssdlife/Commands.h"
#include "ssdlife/Metrics.h"
#include "ssdlife/Show.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {

ExitCode list(const Options& options, const std::string& library, const OwnOutput& output) {
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  const std::vector<Drive> drives = client.list();
  output.out(options.format == Format::kPrometheus ? showMetrics(drives)
                                                   : showDrives(drives, options.format));
  client.close();
  return ExitCode::kOk;
}

}  // namespace ssdlife

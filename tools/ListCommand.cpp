#include "tools/Commands.h"
#include "tools/Metrics.h"
#include "tools/Show.h"
#include "tools/SsdClient.h"

namespace ssdlife {

ExitCode list(const Options& options, const std::string& library, const OwnOutput& output) {
  SsdClient client(library, options.like);
  const std::vector<Drive> drives = client.list();
  output.out(options.format == Format::kPrometheus ? showMetrics(drives)
                                                   : showDrives(drives, options.format));
  client.close();
  return ExitCode::kOk;
}

}  // namespace ssdlife

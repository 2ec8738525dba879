#include "ssdlife/Commands.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {

Health check(const Options& options, const std::string& library, const OwnOutput& output) {
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  const HealthReport report = healthOf(client.list(), options.thresholds);
  client.close();
  output.out(report.line);
  return report.health;
}

}  // namespace ssdlife

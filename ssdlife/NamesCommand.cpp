#include "ssdlife/Commands.h"
#include "ssdlife/Show.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {

ExitCode names(const Options& options, const std::string& library, const OwnOutput& output) {
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  output.out(showNames(client.names(), options.format));
  client.close();
  return ExitCode::kOk;
}

}  // namespace ssdlife

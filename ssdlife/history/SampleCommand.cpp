#include <algorithm>

#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/SsdClient.h"
#include "ssdlife/history/History.h"
#include "ssdlife/history/StateFile.h"
#include "ssdlife/service/Settings.h"

namespace ssdlife {
namespace {

void takeAllDown(SsdClient& client, StateFile& state) {
  const std::vector<Drive> drives = client.list();
  state.write([&](const Database& database) {
    for (const Drive& drive : drives) {
      takeDown(database, drive, now());
    }
  });
}

}  // namespace

ExitCode sample(const Options& options, const std::string& library, const OwnOutput& output) {
  const std::string folder = stateFolder(options.state);
  StateFile state(folder, [&output](const std::string& line) { output.error(line); });
  if (options.days > 0 && !beginEarlier(options.days * kDay)) {
    throw Failure(ExitCode::kUsage, "--days is for simulated machines only");
  }
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  takeAllDown(client, state);
  for (unsigned day = 0; day < options.days; ++day) {
    skip(kDay);
    takeAllDown(client, state);
  }
  client.close();
  return state.inMemory() ? ExitCode::kState : ExitCode::kOk;
}

}  // namespace ssdlife

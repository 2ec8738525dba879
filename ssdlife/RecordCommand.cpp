#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/RecordedRun.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {
namespace {

// Reads all drives once, as "list" does, and says in words what came of it. That there is nothing
// to show is worth a record too; without a library nothing was asked.
std::string readAll(const Options& options, const std::string& library) {
  try {
    SsdClient client(library, options.like);
    const std::size_t count = client.list().size();
    client.close();
    return std::to_string(count) + (count == 1 ? " SSD" : " SSDs");
  } catch (const Failure& failure) {
    if (failure.exitCode() == ExitCode::kLibrary) {
      throw;
    }
    return failure.what();
  }
}

}  // namespace

ExitCode record(const Options& options, const std::string& library, const OwnOutput& output) {
  const std::string result = readAll(options, library);
  if (options.recordFile == kStandardOutput) {
    output.giveBackStandardOutput();
    saveRecording();
    output.error("machine file written: " + result);
  } else {
    saveRecording();
    output.out(options.recordFile + " written: " + result + '\n');
  }
  return ExitCode::kOk;
}

}  // namespace ssdlife

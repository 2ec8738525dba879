#include "ssdlife/RecordedRun.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include <filesystem>
#include <system_error>

#include "ssdlife/Failure.h"
#include "ssdlife/Preload.h"

namespace ssdlife {
namespace {

constexpr const char* kFileVariable = "VEKSSD_RECORD";
constexpr const char* kAnonymousVariable = "VEKSSD_RECORD_ANONYMOUS";

// Tried before the drives are read. A file that was there keeps its content until then.
std::string writableFile(const std::string& file) {
  if (file == kStandardOutput) {
    return file;
  }
  constexpr mode_t kReadable = 0644;
  const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kReadable);
  if (descriptor < 0) {
    throw Failure(ExitCode::kMachine,
                  file + " can't be written: " + std::generic_category().message(errno));
  }
  close(descriptor);
  std::error_code ignored;
  return std::filesystem::absolute(file, ignored).string();
}

}  // namespace

void enterRecording(const std::string& file, bool anonymous, const std::string& library,
                    char** argv) {
  const std::string path = writableFile(file);
  const Preload recorder("recorder", "libvekssdrec.so", library);
  if (environment(kFileVariable) == path && recorder.isThere()) {
    return;
  }
  setenv(kFileVariable, path.c_str(), 1);
  setenv(kAnonymousVariable, anonymous ? "1" : "0", 1);
  recorder.startAnew(argv);
}

void saveRecording() {
  using Save = const char* (*)();
  const auto save = reinterpret_cast<Save>(dlsym(RTLD_DEFAULT, "vekssdrecSave"));
  const char* const trouble = save == nullptr ? "the recorder is not one" : save();
  if (trouble != nullptr) {
    throw Failure(ExitCode::kMachine, trouble);
  }
}

}  // namespace ssdlife

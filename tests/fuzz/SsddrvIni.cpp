// ssddrv.ini: whatever it holds, every setting stays within what it accepts.

#include "config/Config.h"
#include "tests/fuzz/World.h"

namespace {

// An explicit instantiation may name a private member: the file can be read again and again into
// the one object.
using ReadIniFile = void (Config::*)();
ReadIniFile readIniFile();
template <ReadIniFile member>
struct Opener {
  friend ReadIniFile readIniFile() { return member; }
};
template struct Opener<&Config::readIniFile>;

bool isFlag(std::uint64_t value) { return value <= 1; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Config* const config = Config::GetInstance();
  static const Config defaults = *config;
  *config = defaults;
  world::Input input(data, size);
  world::setFile("/etc/ssddrv/ssddrv.ini", input.rest());
  (config->*readIniFile())();
  world::require(config->getPollRate() != 0, "the poll rate is not 0");
  world::require(
      config->getPercentUsedThreshold() >= 10 && config->getPercentUsedThreshold() <= 100,
      "the threshold lies from 10 to 100");
  world::require(isFlag(config->getSptLogAccess()) && isFlag(config->getDebugIndications()) &&
                     isFlag(config->getDebugTraceAttributes()) &&
                     isFlag(config->getDebugTraceLogs()),
                 "the switches are 0 or 1");
  const std::string& models = config->getModelsFile();
  world::require(models.empty() || models[0] == '/', "the models file has an absolute path");
  return 0;
}

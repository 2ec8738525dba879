#include "config/Config.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>

#include "base/KeyValueFile.h"
#include "base/UniqueFile.h"
#include "config/ModelsFileKey.h"
#include "log/Log.h"

namespace {

constexpr char kConfigPath[] = "/etc/ssddrv/ssddrv.ini";

/// What "key=" at the very end of the file assigns; no key accepts it.
constexpr std::string_view kNoValue = "***bad value length***";

using Setting = std::uint64_t;

void setNumber(Setting& setting, const std::string& value, Setting least, Setting greatest) {
  const auto number = parseUnsigned(value);
  if (number && *number >= least && *number <= greatest) {
    setting = *number;
  }
}

bool startsWithOneOf(const std::string& value, std::string_view characters) {
  return !value.empty() && characters.find(value[0]) != std::string_view::npos;
}

void setPollRate(Setting& setting, const std::string& value) {
  setNumber(setting, value, 1, std::numeric_limits<Setting>::max());
}

void setThreshold(Setting& setting, const std::string& value) {
  setNumber(setting, value, 10, 100);
}

/// On unless turned off; nothing turns it on again.
void turnOff(Setting& setting, const std::string& value) {
  if (startsWithOneOf(value, "0Ff")) {
    setting = 0;
  }
}

/// Off unless turned on; nothing turns it off again.
void turnOn(Setting& setting, const std::string& value) {
  if (startsWithOneOf(value, "1Tt")) {
    setting = 1;
  }
}

}  // namespace

Config* Config::GetInstance() {
  static Config* s_instance = nullptr;
  if (s_instance == nullptr) {
    s_instance = new Config;
    Log(LOG_LEVEL_DEBUG, "Config::GetInstance - new instance = 0x%08x",
        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(s_instance)));
  }
  return s_instance;
}

Config::Config() {
  LogQuick(LOG_LEVEL_TRACE, "Config::initialise");
  readIniFile();
  LogQuick(LOG_LEVEL_DEBUG, "Config constructed");
}

void Config::readIniFile() {
  struct Key {
    std::string_view name;
    Setting Config::*setting;
    void (*set)(Setting& setting, const std::string& value);
  };
  static constexpr std::array<Key, 6> kKeys = {{
      {"PollRate", &Config::pollRate, setPollRate},
      {"PercentUsedThreshold", &Config::percentUsedThreshold, setThreshold},
      {"SptLogAccess", &Config::sptLogAccess, turnOff},
      {"DebugIndications", &Config::debugIndications, turnOn},
      {"DebugTraceAttributes", &Config::debugTraceAttributes, turnOn},
      {"DebugTraceLogs", &Config::debugTraceLogs, turnOn},
  }};

  std::fprintf(stderr, "trying to open config: %s\n", kConfigPath);
  const UniqueFile file(std::fopen(kConfigPath, "r"));
  if (file == nullptr) {
    return;
  }
  std::fprintf(stderr, "opened config: %s\n", kConfigPath);
  readKeyValueLines(file.get(), kNoValue, [this](std::string_view name, const std::string& value) {
    const auto* key = std::find_if(kKeys.begin(), kKeys.end(),
                                   [name](const Key& known) { return known.name == name; });
    if (key != kKeys.end()) {
      key->set(this->*key->setting, value);
    } else if (name == kModelsFileKey) {
      setModelsFile(modelsFile, value);
    }
  });
}

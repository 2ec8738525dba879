#include "ssdlife/service/Settings.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string_view>
#include <system_error>

#include "base/KeyValueFile.h"
#include "base/UniqueFile.h"
#include "ssdlife/Failure.h"
#include "ssdlife/Preload.h"
#include "ssdlife/SimulatedMachine.h"

namespace ssdlife {
namespace {

constexpr const char* kUsualFile = "/etc/ssddrv/ssdlife.conf";
constexpr const char* kUsualHooks = "/etc/ssddrv/alarm.d";
constexpr const char* kLibraryFile = "/etc/ssddrv/ssddrv.ini";

struct Wrong {
  std::string what;
};

bool yesOrNo(const std::string& value) {
  if (value != "yes" && value != "no") {
    throw Wrong{"\"" + value + "\" is neither yes nor no"};
  }
  return value == "yes";
}

std::chrono::seconds hookTime(const std::string& value) {
  constexpr int kLongest = 600;
  const bool digits = !value.empty() && value.size() <= 3 &&
                      value.find_first_not_of("0123456789") == std::string::npos;
  const int seconds = digits ? std::stoi(value) : 0;
  if (seconds < 1 || seconds > kLongest) {
    throw Wrong{"\"" + value + "\" is not a number of seconds from 1 to 600"};
  }
  return std::chrono::seconds(seconds);
}

std::string folder(const std::string& value) {
  if (!value.empty() && value.front() != '/') {
    throw Wrong{"\"" + value + "\" is not a full path"};
  }
  return value;
}

struct Key {
  std::string_view name;
  void (*set)(Settings& settings, const std::string& value);
};

constexpr std::array<Key, 5> kKeys = {{
    {"AlarmThreshold", [](Settings& s, const std::string& v) { s.alarmThreshold = yesOrNo(v); }},
    {"AlarmSilent", [](Settings& s, const std::string& v) { s.alarmSilent = yesOrNo(v); }},
    {"AlarmVanished", [](Settings& s, const std::string& v) { s.alarmVanished = yesOrNo(v); }},
    {"HookFolder", [](Settings& s, const std::string& v) { s.hookFolder = folder(v); }},
    {"HookTime", [](Settings& s, const std::string& v) { s.hookTime = hookTime(v); }},
}};

std::string trimmed(const std::string& text) {
  constexpr const char* kBlanks = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(kBlanks);
  return begin == std::string::npos
             ? ""
             : text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

void set(Settings& settings, const std::string& line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string::npos) {
    throw Wrong{"there is no \"=\""};
  }
  const std::string name = trimmed(line.substr(0, equals));
  std::string known;
  for (const Key& key : kKeys) {
    if (key.name == name) {
      key.set(settings, trimmed(line.substr(equals + 1)));
      return;
    }
    known += (known.empty() ? "" : ", ") + std::string(key.name);
  }
  throw Wrong{"unknown setting \"" + name + "\"; there are " + known};
}

// The next line, or false at the end. What no stream of the C library can read throws.
bool nextLine(std::FILE* file, const std::string& name, std::string& line) {
  line.clear();
  int character = 0;
  while ((character = std::fgetc(file)) != EOF && character != '\n') {
    line += static_cast<char>(character);
  }
  if (std::ferror(file) != 0) {
    throw Failure(ExitCode::kState,
                  name + " can't be read: " + std::generic_category().message(errno));
  }
  return character != EOF || !line.empty();
}

}  // namespace

Settings readSettings(const std::string& file) {
  Settings settings;
  settings.hookFolder = onSimulatedMachine() ? "" : kUsualHooks;
  const std::string name = file.empty() ? kUsualFile : file;
  const UniqueFile stream(std::fopen(name.c_str(), "r"));
  if (stream == nullptr) {
    if (file.empty() && errno == ENOENT) {
      return settings;
    }
    throw Failure(ExitCode::kState,
                  name + " can't be read: " + std::generic_category().message(errno));
  }
  std::string line;
  for (int number = 1; nextLine(stream.get(), name, line); ++number) {
    const std::string text = trimmed(line);
    try {
      if (!text.empty() && text.front() != '#') {
        set(settings, text);
      }
    } catch (const Wrong& wrong) {
      throw Failure(ExitCode::kState, name + ":" + std::to_string(number) + ": " + wrong.what);
    }
  }
  return settings;
}

unsigned thresholdOfLibrary() {
  constexpr unsigned long kLeast = 10;
  constexpr unsigned long kGreatest = 100;
  unsigned threshold = 95;
  const UniqueFile file(std::fopen(kLibraryFile, "r"));
  if (file == nullptr) {
    return threshold;
  }
  readKeyValueLines(file.get(), "", [&](std::string_view key, const std::string& value) {
    const auto number =
        key == "PercentUsedThreshold" ? parseUnsigned(value) : std::optional<unsigned long>();
    if (number && *number >= kLeast && *number <= kGreatest) {
      threshold = static_cast<unsigned>(*number);
    }
  });
  return threshold;
}

std::string stateFolder(const std::string& asked) {
  if (!asked.empty()) {
    return asked;
  }
  if (!onSimulatedMachine()) {
    return "/var/lib/ssddrv";
  }
  const std::string state = environment("XDG_STATE_HOME");
  const std::string base = state.empty() ? environment("HOME") + "/.local/state" : state;
  return base + "/ssdlife/" + std::filesystem::path(environment("VEKSSD_MACHINE")).stem().string();
}

}  // namespace ssdlife

#pragma once

#include <chrono>
#include <string>

namespace ssdlife {

// /etc/ssddrv/ssdlife.conf: what the service does. ssdlife(8) explains the keys.
struct Settings {
  bool alarmThreshold = true;
  bool alarmSilent = true;
  bool alarmVanished = true;
  std::string hookFolder;  // empty: no hooks
  std::chrono::seconds hookTime{60};
};

// Reads `file`; empty for the usual one, which need not be there. Throws Failure, naming the line,
// for what it can't read or doesn't know.
Settings readSettings(const std::string& file);

// The percentage above which the library calls a drive failing, from its own ssddrv.ini.
unsigned thresholdOfLibrary();

// Where history.db is: `asked`, or else /var/lib/ssddrv; for a simulated machine a folder of its
// own below the user's state ($XDG_STATE_HOME, or ~/.local/state).
std::string stateFolder(const std::string& asked);

}  // namespace ssdlife

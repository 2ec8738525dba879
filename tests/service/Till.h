#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/service/TemporaryFolder.h"

// A simulated till with settings and hooks of its own, for the service.
class Till {
 public:
  Till();

  // A drive per percentage, in the places sda, sdb, ...; their serial numbers are S0, S1, ...
  void setWear(const std::vector<nlohmann::json>& wear, double timeScale = 60);

  // Its text is taken literally; "$LOG" is a file that the test reads by logOf().
  void addHook(const std::string& name, const std::string& script, mode_t mode = 0755);

  // Writes the serial number of its alarm into its log.
  void addWritingHook(const std::string& name) {
    addHook(name, "echo \"$SSDLIFE_SERIAL\" >>$LOG\n");
  }

  void setSettings(const std::string& more);

  [[nodiscard]] std::vector<std::string> logOf(const std::string& hook) const;

  // ssdlife on this till: "watch --service" and more, or another command.
  [[nodiscard]] std::vector<std::string> service(const std::vector<std::string>& more = {}) const;
  [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& words) const;

  [[nodiscard]] const TemporaryFolder& folder() const { return folder_; }
  [[nodiscard]] std::string state() const { return folder_ / "state"; }

  // The alarms as "ssdlife alarms --format json" has them.
  [[nodiscard]] nlohmann::json alarms() const;

 private:
  TemporaryFolder folder_;
};

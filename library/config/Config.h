#pragma once

#include <cstdint>
#include <string>

/// The settings of /etc/ssddrv/ssddrv.ini. Read once, on first use, and never again: a change
/// of the file takes effect in a new process. A missing file or a bad value leaves the default.
///
/// The first use must come before the library starts a thread; from then on any thread may read.
class Config {
 public:
  /// The one object, made on the first call and never destroyed.
  static Config* GetInstance();

  /// Seconds between two readings of a drive; not 0.
  [[nodiscard]] std::uint64_t getPollRate() const { return pollRate; }
  /// The percentage used above which a drive counts as failing; 10 to 100.
  [[nodiscard]] std::uint64_t getPercentUsedThreshold() const { return percentUsedThreshold; }
  /// 1: device statistics are read through SCSI/ATA translation; 0: by ATA drive command.
  [[nodiscard]] std::uint64_t getSptLogAccess() const { return sptLogAccess; }
  /// 1: every successful reading is reported as if the drive failed.
  [[nodiscard]] std::uint64_t getDebugIndications() const { return debugIndications; }
  /// 1: the SMART attributes read are logged.
  [[nodiscard]] std::uint64_t getDebugTraceAttributes() const { return debugTraceAttributes; }
  /// 1: the log pages read are dumped to the log.
  [[nodiscard]] std::uint64_t getDebugTraceLogs() const { return debugTraceLogs; }
  /// The file that says where further models keep their wear; empty: there is none.
  [[nodiscard]] const std::string& getModelsFile() const { return modelsFile; }

 private:
  Config();

  void readIniFile();

  std::uint64_t pollRate = 10;
  std::uint64_t percentUsedThreshold = 95;
  std::uint64_t sptLogAccess = 1;
  std::uint64_t debugIndications = 0;
  std::uint64_t debugTraceAttributes = 0;
  std::uint64_t debugTraceLogs = 0;
  std::string modelsFile;
};

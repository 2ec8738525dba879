#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/Instance.h"
#include "tests/support/TempDir.h"

namespace fault {

/// A drive of the machine.
struct Drive {
  enum Kind {
    kAttribute,   ///< SATA, wear in SMART attribute 230
    kStatistics,  ///< SATA, wear in the Device Statistics log
    kNvme,
  };
  Kind kind;
  std::string name;  ///< "sda", "nvme0"
  std::string model;
  std::string serialNumber;
  std::atomic<std::uint8_t> percentage{0};
  std::atomic<std::uint64_t> hours{0};
  std::atomic<unsigned> opened{0};    ///< since the machine was last started
  std::atomic<bool> hanging{false};   ///< commands don't come back before this ends
  std::atomic<bool> refusing{false};  ///< commands come back with an error

  std::string node() const { return "/dev/" + name; }
  std::string deviceId() const { return model + "___" + serialNumber + "___" + name; }
};

/// The machine that the library sees: a folder that stands for its files, and drives that answer
/// the few commands that the library sends. One at a time.
class Machine {
 public:
  Machine();
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  Drive& add(Drive::Kind kind, const std::string& name, const std::string& model,
             const std::string& serialNumber);
  Drive& drive(const std::string& name) const;
  const std::vector<std::unique_ptr<Drive>>& drives() const { return drives_; }

  /// Writes a file of the machine.
  void write(const std::string& path, const std::string& content) const;

  /// The text of a file of the machine; empty when there is none.
  std::string read(const std::string& path) const;

  /// Where a path of the machine really is; the path itself for one that isn't the machine's.
  std::string real(const std::string& path) const;

  /// Where the folder that stands for "/" is.
  const std::string& root() const { return root_; }

  /// The drive at a node of the machine, or null.
  Drive* driveAt(const std::string& node) const;

  /// The machine that there is, or null.
  static Machine* current();

 private:
  testkit::TempDir folder_;
  std::string root_;
  std::vector<std::unique_ptr<Drive>> drives_;
};

}  // namespace fault

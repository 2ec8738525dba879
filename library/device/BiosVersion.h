#pragma once

#include <string>

class BiosVersion {
 public:
  BiosVersion() = delete;

  /// Reads the machine's BIOS version, its line feed included and at most 63 characters long, into
  /// `version`. False when the kernel doesn't tell it: `version` is then unchanged (no file) or
  /// empty (nothing in it).
  static bool getBiosVersion(std::string& version);
};

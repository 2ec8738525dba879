// The bytes with which a SATA drive answers, made from its description. Keys:
//   model, serial, firmware      identify texts
//   rotation                     word 217: 1 for an SSD, else the speed (default 1)
//   removable                    1: removable medium
//   attribute = ID CURRENT WORST RAW   a row of the SMART table; repeated
//   statistics-pages             pages of the Device Statistics log (default 8; 0: no such log)
//   percentage                   the endurance indicator
//   percentage-flags             its flags byte (default 0xe0: supported, valid, normalised)
//   page7-number                 byte 2 of page 7 (default 7)
//   rule                         a line for softata's rules; repeated
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/vm/drives/DriveFile.h"

namespace vm {

constexpr std::size_t kSectorSize = 512;
using Sector = std::array<std::uint8_t, kSectorSize>;

struct AtaImage {
  Sector identify{};
  Sector smart{};
  std::vector<std::uint8_t> smartLogs;  // [address][page], as softata keeps them
  std::vector<std::uint8_t> gpLogs;
  std::string rules;
};

[[nodiscard]] AtaImage makeAtaImage(const DriveFile& drive);

}  // namespace vm

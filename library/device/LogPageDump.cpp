// SmartIo: log pages in hexadecimal.

#include <array>
#include <cstdio>

#include "config/Config.h"
#include "device/AtaFormat.h"
#include "device/SmartIo.h"
#include "log/Log.h"

void SmartIo::dumpSmartLogPage(const std::uint8_t* buffer, std::uint32_t logNumber,
                               std::uint32_t pageNumber) {
  if (Config::GetInstance()->getDebugTraceLogs() == 0) {
    return;
  }
  if (logNumber == ata::kLogDeviceStatistics && pageNumber == ata::statistics::kSolidStatePage) {
    Log(LOG_LEVEL_DEBUG, "\n\n*** Solid State device Statistics log page ***\n");
  }
  Log(LOG_LEVEL_DEBUG, "Dump Data Buffer for Log # %d Statistics Page/Sector %d", logNumber,
      pageNumber);
  dumpSector(buffer);
}

void SmartIo::dumpSector(const std::uint8_t* buffer) {
  constexpr std::size_t kBytesPerLine = 16;
  std::array<char, 16> piece{};
  std::string text = "\n";
  for (std::size_t offset = 0; offset < ata::kSectorSize; ++offset) {
    if (offset % kBytesPerLine == 0) {
      std::snprintf(piece.data(), piece.size(), "\n%08x: ", static_cast<unsigned>(offset));
      text += piece.data();
    }
    std::snprintf(piece.data(), piece.size(), "%02x ", buffer[offset]);
    text += piece.data();
  }
  text += '\n';
  Log(LOG_LEVEL_DEBUG, "%s", text.c_str());
}

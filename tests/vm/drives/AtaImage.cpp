#include "tests/vm/drives/AtaImage.h"

#include <numeric>
#include <stdexcept>
#include <utility>

#include "tests/vm/drives/Bytes.h"

namespace vm {
namespace {

constexpr std::size_t kPagesPerLog = 8;
constexpr std::size_t kLogsSize = 256 * kPagesPerLog * kSectorSize;
constexpr std::uint8_t kDeviceStatistics = 0x04;
constexpr std::uint8_t kPowerOnHoursAttribute = 9;
constexpr std::uint32_t kSectors = 131072;  // 64 MiB, all of it zeros

// All 512 bytes sum to zero, as the standard wants of its data structures.
void seal(Sector& sector) {
  sector.back() = 0;
  const auto sum = std::accumulate(sector.begin(), sector.end(), std::uint8_t{0});
  sector.back() = static_cast<std::uint8_t>(-sum);
}

void putWord(Sector& sector, std::size_t word, std::uint16_t value) {
  putLe<std::uint16_t>(&sector[word * 2], value);
}

// Texts travel with the bytes of each word exchanged.
void putWireText(Sector& sector, std::size_t word, std::size_t width, const std::string& text) {
  std::uint8_t* field = &sector[word * 2];
  putText(field, width, text);
  for (std::size_t i = 0; i < width; i += 2) {
    std::swap(field[i], field[i + 1]);
  }
}

Sector makeIdentify(const DriveFile& drive) {
  Sector sector{};
  putWord(sector, 0, drive.number("removable", 0) != 0 ? 0x00c0 : 0x0040);
  putWireText(sector, 10, 20, drive.text("serial"));
  putWireText(sector, 23, 8, drive.text("firmware"));
  putWireText(sector, 27, 40, drive.text("model"));
  putWord(sector, 47, 0x8001);  // one sector per interrupt
  putWord(sector, 49, 0x0a00);  // LBA, IORDY; no DMA
  putWord(sector, 53, 0x0006);  // words 64-70 and 88 are valid
  putLe<std::uint32_t>(&sector[60 * 2], kSectors);
  putWord(sector, 64, 0x0003);  // PIO modes 3 and 4
  putWord(sector, 67, 120);     // cycle times, ns
  putWord(sector, 68, 120);
  putWord(sector, 76, 0x0006);  // SATA generations 1 and 2
  putWord(sector, 80, 0x01f0);  // ATA-4 to ATA8-ACS
  putWord(sector, 82, 0x0001);  // SMART
  putWord(sector, 83, 0x7400);  // 48-bit addresses, FLUSH CACHE and its EXT
  putWord(sector, 84, 0x4020);  // general purpose logging
  putWord(sector, 85, 0x0001);
  putWord(sector, 86, 0x3400);
  putWord(sector, 87, 0x4020);
  putLe<std::uint64_t>(&sector[100 * 2], kSectors);
  putWord(sector, 217, static_cast<std::uint16_t>(drive.number("rotation", 1)));
  putWord(sector, 222, 0x1010);  // serial transport
  sector[510] = 0xa5;
  seal(sector);
  return sector;
}

Sector makeSmart(const DriveFile& drive) {
  constexpr std::size_t kRows = 30;
  constexpr std::size_t kRowSize = 12;
  const auto attributes = drive.records("attribute");
  if (attributes.size() > kRows) {
    throw std::runtime_error("more than 30 attributes");
  }
  Sector sector{};
  putLe<std::uint16_t>(sector.data(), 0x0010);
  std::uint8_t* row = &sector[2];
  for (const auto& attribute : attributes) {
    if (attribute.size() != 4) {
      throw std::runtime_error("an attribute is ID CURRENT WORST RAW");
    }
    row[0] = static_cast<std::uint8_t>(parseNumber(attribute[0]));
    putLe<std::uint16_t>(row + 1, 0x0032);
    row[3] = static_cast<std::uint8_t>(parseNumber(attribute[1]));
    row[4] = static_cast<std::uint8_t>(parseNumber(attribute[2]));
    const std::uint64_t raw = parseNumber(attribute[3]);
    putLe<std::uint32_t>(row + 5, static_cast<std::uint32_t>(raw));
    putLe<std::uint16_t>(row + 9, static_cast<std::uint16_t>(raw >> 32));
    row += kRowSize;
  }
  seal(sector);
  return sector;
}

std::uint64_t powerOnHours(const DriveFile& drive) {
  for (const auto& attribute : drive.records("attribute")) {
    if (parseNumber(attribute.at(0)) == kPowerOnHoursAttribute) {
      return parseNumber(attribute.at(3));
    }
  }
  return 0;
}

// A statistic: its value in the low seven bytes, its flags in the eighth.
void putStatistic(std::uint8_t* at, std::uint64_t value, std::uint8_t flags) {
  putLe<std::uint64_t>(at, value);
  at[7] = flags;
}

void putStatisticsPages(std::uint8_t* pages, const DriveFile& drive) {
  constexpr std::uint8_t kSupportedAndValid = 0xc0;
  // Page 0 lists the pages that there are, itself included.
  putLe<std::uint16_t>(pages, 1);
  pages[8] = 3;
  pages[9] = 0;
  pages[10] = 1;
  pages[11] = 7;

  std::uint8_t* general = pages + 1 * kSectorSize;
  putLe<std::uint16_t>(general, 1);
  general[2] = 1;
  putStatistic(general + 16, powerOnHours(drive), kSupportedAndValid);

  std::uint8_t* solidState = pages + 7 * kSectorSize;
  putLe<std::uint16_t>(solidState, 1);
  solidState[2] = static_cast<std::uint8_t>(drive.number("page7-number", 7));
  putStatistic(solidState + 8, drive.number("percentage", 0),
               static_cast<std::uint8_t>(drive.number("percentage-flags", 0xe0)));
}

std::vector<std::uint8_t> makeLogs(const DriveFile& drive) {
  std::vector<std::uint8_t> logs(kLogsSize);
  const auto pages = static_cast<std::uint16_t>(drive.number("statistics-pages", 8));
  putLe<std::uint16_t>(logs.data(), 1);  // the directory's version
  putLe<std::uint16_t>(&logs[2 * kDeviceStatistics], pages);
  putStatisticsPages(&logs[kDeviceStatistics * kPagesPerLog * kSectorSize], drive);
  return logs;
}

std::string makeRules(const DriveFile& drive) {
  std::string rules;
  for (const auto& rule : drive.records("rule")) {
    for (std::size_t i = 0; i < rule.size(); ++i) {
      rules += (i == 0 ? "" : " ") + rule[i];
    }
    rules += "\n";
  }
  return rules;
}

}  // namespace

AtaImage makeAtaImage(const DriveFile& drive) {
  AtaImage image;
  image.identify = makeIdentify(drive);
  image.smart = makeSmart(drive);
  image.smartLogs = makeLogs(drive);
  image.gpLogs = image.smartLogs;
  image.rules = makeRules(drive);
  return image;
}

}  // namespace vm

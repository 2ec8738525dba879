#include "simulator/AtaDevice.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "simulator/AtaFormat.h"

namespace simulator {

namespace {

constexpr std::uint16_t kLoggingVersion = 1;

// count sectors of a log from sector first on; nothing if the log ends before.
std::optional<Bytes> sectors(const Bytes& log, std::size_t first, std::size_t count) {
  const std::size_t begin = first * ata::kSectorSize;
  const std::size_t end = begin + count * ata::kSectorSize;
  if (count == 0 || end > log.size()) {
    return std::nullopt;
  }
  return Bytes(log.begin() + static_cast<std::ptrdiff_t>(begin),
               log.begin() + static_cast<std::ptrdiff_t>(end));
}

// A log of errors or self-tests in which nothing stands yet.
Bytes emptyLog() {
  Bytes sector(ata::kSectorSize, 0);
  sector[0] = 1;  // revision
  sealChecksum(sector);
  return sector;
}

void putWord(Bytes& identify, std::size_t word, unsigned value) {
  putLe16(identify, word * 2, static_cast<std::uint16_t>(value));
}

void putIdentifyText(Bytes& identify, std::size_t word, std::size_t width,
                     const std::string& text) {
  putText(identify, word * 2, width, text);
  swapWords(identify, word * 2, width);
}

void swapIdentifyTexts(Bytes& identify) {
  swapWords(identify, ata::kWordSerialNumber * 2, ata::kSerialNumberWidth);
  swapWords(identify, ata::kWordFirmware * 2, ata::kFirmwareWidth);
  swapWords(identify, ata::kWordModel * 2, ata::kModelWidth);
}

}  // namespace

AtaDevice::AtaDevice(AtaDescription description)
    : description_(std::move(description)), identify_(makeIdentify()) {}

AtaAnswer AtaDevice::execute(const AtaCommand& command, double seconds) {
  AtaAnswer answer;
  answer.result.count = command.count;
  answer.result.lba = command.lba;
  std::optional<Bytes> data;
  switch (command.command) {
    case ata::kIdentifyDevice:
      data = identify_;
      break;
    case ata::kSmart:
      data = smart(command, seconds, answer.result);
      break;
    case ata::kReadLogExt:
      data = readLogExt(command, seconds);
      break;
    default:
      break;
  }
  if (!data) {
    answer.result.status = ata::kStatusAborted;
    answer.result.error = ata::kErrorAbort;
    return answer;
  }
  answer.result.status = ata::kStatusGood;
  answer.data = *std::move(data);
  return answer;
}

std::optional<Bytes> AtaDevice::smart(const AtaCommand& command, double seconds,
                                      AtaResult& result) {
  constexpr std::uint64_t kSignature = ata::kSmartLbaHigh << 16 | ata::kSmartLbaMid << 8;
  if (!description_.smart || (command.lba & 0xffff00) != kSignature) {
    return std::nullopt;
  }
  switch (command.feature) {
    case ata::kSmartEnable:
      return Bytes();
    case ata::kSmartReturnStatus:
      result.lba = kSignature;  // unchanged: no threshold exceeded
      return Bytes();
    case ata::kSmartReadData:
      return makeSmartData(seconds);
    case ata::kSmartReadThresholds: {
      Bytes thresholds(ata::kSectorSize, 0);
      for (std::size_t i = 0; i < description_.attributes.size(); ++i) {
        thresholds[ata::kAttributeTable + i * ata::kAttributeSize] = description_.attributes[i].id;
      }
      sealChecksum(thresholds);
      return thresholds;
    }
    case ata::kSmartReadLog:
      return readSmartLog(static_cast<std::uint8_t>(command.lba), command.count, seconds);
    default:
      return std::nullopt;
  }
}

std::optional<Bytes> AtaDevice::readSmartLog(std::uint8_t log, std::uint16_t count,
                                             double seconds) {
  if (const auto raw = description_.rawSmartLogs.find(log);
      raw != description_.rawSmartLogs.end()) {
    return sectors(raw->second, 0, count);
  }
  if (!description_.smartLogs) {
    return std::nullopt;
  }
  switch (log) {
    case ata::kLogDirectory:
      return sectors(makeLogDirectory(false), 0, count);
    case ata::kLogSummaryError:
    case ata::kLogSelfTest:
      return sectors(emptyLog(), 0, count);
    case ata::kLogDeviceStatistics:
      return statistics(0, count, seconds);
    default:
      return std::nullopt;
  }
}

std::optional<Bytes> AtaDevice::readLogExt(const AtaCommand& command, double seconds) {
  // ACS-3 7.24.2: log address in LBA bits 7:0, page number in bits 15:8 and 39:32.
  const auto log = static_cast<std::uint8_t>(command.lba);
  const auto page =
      static_cast<std::uint16_t>((command.lba >> 8 & 0xff) | (command.lba >> 32 & 0xff) << 8);
  if (const auto raw = description_.rawGeneralPurposeLogs.find(log);
      raw != description_.rawGeneralPurposeLogs.end()) {
    return sectors(raw->second, page, command.count);
  }
  if (!description_.generalPurposeLogs) {
    return std::nullopt;
  }
  switch (log) {
    case ata::kLogDirectory:
      return sectors(makeLogDirectory(true), page, command.count);
    case ata::kLogDeviceStatistics:
      return statistics(page, command.count, seconds);
    default:
      return std::nullopt;
  }
}

std::optional<Bytes> AtaDevice::statistics(std::uint16_t page, std::uint16_t count,
                                           double seconds) {
  if (!description_.statistics || count == 0 || page + count > description_.statistics->pages) {
    return std::nullopt;
  }
  // A reading of the wear is a command that brings page 7 along.
  const bool reading = page <= ata::kPageSolidState && page + count > ata::kPageSolidState;
  const std::uint8_t percent =
      reading ? description_.wear.at(statisticsReadings_.fetch_add(1), seconds) : std::uint8_t{0};
  Bytes data;
  data.reserve(count * ata::kSectorSize);
  for (std::uint16_t i = 0; i < count; ++i) {
    const Bytes sector = makeStatisticsPage(static_cast<std::uint16_t>(page + i), percent);
    data.insert(data.end(), sector.begin(), sector.end());
  }
  return data;
}

Bytes AtaDevice::makeStatisticsPage(std::uint16_t page, std::uint8_t percent) const {
  Bytes sector(ata::kSectorSize, 0);
  putLe16(sector, 0, 1);  // revision of the page
  sector[ata::kStatisticsPageNumber] = static_cast<std::uint8_t>(page);
  switch (page) {
    case ata::kPageList:
      sector[8] = 3;
      sector[9] = ata::kPageList;
      sector[10] = ata::kPageGeneral;
      sector[11] = ata::kPageSolidState;
      break;
    case ata::kPageGeneral:
      putLe64(sector, ata::kGeneralPowerOnHours,
              (description_.hours & 0xffffffff) |
                  std::uint64_t{ata::kFlagSupported | ata::kFlagValid} << 56);
      break;
    case ata::kPageSolidState:
      sector[ata::kStatisticsPageNumber] = description_.statistics->pageNumber;
      sector[ata::kPercentageUsed] = percent;
      sector[ata::kPercentageUsedFlags] = description_.statistics->flags;
      break;
    default:
      break;
  }
  return sector;
}

Bytes AtaDevice::makeLogDirectory(bool generalPurpose) const {
  Bytes directory(ata::kSectorSize, 0);
  putLe16(directory, 0, kLoggingVersion);
  if (!generalPurpose) {
    putLe16(directory, 2 * ata::kLogSummaryError, 1);
    putLe16(directory, 2 * ata::kLogSelfTest, 1);
  }
  if (description_.statistics) {
    putLe16(directory, 2 * ata::kLogDeviceStatistics, description_.statistics->pages);
  }
  return directory;
}

Bytes AtaDevice::makeSmartData(double seconds) {
  const std::uint64_t reading = smartReadings_.fetch_add(1);
  if (!description_.rawSmartData.empty()) {
    return description_.rawSmartData;
  }
  Bytes sector(ata::kSectorSize, 0);
  putLe16(sector, 0, 0x0010);
  std::size_t entry = ata::kAttributeTable;
  for (const SmartAttribute& attribute : description_.attributes) {
    sector[entry] = attribute.id;
    putLe16(sector, entry + 1, attribute.flags);
    sector[entry + 3] =
        attribute.currentIsWear ? description_.wear.at(reading, seconds) : attribute.current;
    sector[entry + 4] = attribute.worst;
    putLe48(sector, entry + 5, attribute.raw);
    sector[entry + 11] = attribute.reserved;
    entry += ata::kAttributeSize;
  }
  sealChecksum(sector);
  return sector;
}

Bytes AtaDevice::makeIdentify() const {
  if (!description_.rawIdentify.empty()) {
    Bytes identify = description_.rawIdentify;
    swapIdentifyTexts(identify);
    return identify;
  }
  Bytes identify(ata::kSectorSize, 0);
  putIdentifyText(identify, ata::kWordSerialNumber, ata::kSerialNumberWidth, description_.serial);
  putIdentifyText(identify, ata::kWordFirmware, ata::kFirmwareWidth, description_.firmware);
  putIdentifyText(identify, ata::kWordModel, ata::kModelWidth, description_.model);
  const std::uint64_t sectorCount = std::uint64_t{description_.gigabytes} * 1'000'000'000 / 512;
  putWord(identify, 0, 0x0040);
  putWord(identify, ata::kWordCapabilities, 0x2f00);
  putLe32(identify, ata::kWordSectors28 * 2,
          static_cast<std::uint32_t>(std::min<std::uint64_t>(sectorCount, 0x0fffffff)));
  putWord(identify, ata::kWordSataCapabilities, 0x000e);
  putWord(identify, ata::kWordMajorVersion, description_.majorVersion);
  const unsigned features82 = 0x4020U | (description_.smart ? 1U : 0U);
  const unsigned features84 = 0x4000U |
                              (description_.smart && description_.smartLogs ? 0x03U : 0U) |
                              (description_.generalPurposeLogs ? 0x20U : 0U);
  putWord(identify, ata::kWordFeatures82, features82);
  putWord(identify, ata::kWordFeatures83, 0x7400);
  putWord(identify, ata::kWordFeatures84, features84);
  putWord(identify, ata::kWordFeatures85, features82);
  putWord(identify, ata::kWordFeatures85 + 1, 0x3400);
  putWord(identify, ata::kWordFeatures85 + 2, features84);
  putLe64(identify, ata::kWordSectors48 * 2, sectorCount);
  putWord(identify, ata::kWordRotationRate, description_.rotation);
  identify[ata::kWordIntegrity * 2] = 0xa5;
  sealChecksum(identify);
  return identify;
}

}  // namespace simulator

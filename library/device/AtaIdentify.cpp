// SmartIo: IDENTIFY DEVICE data as the kernel keeps it.

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>

#include <fcntl.h>
#include <linux/hdreg.h>

#include "base/UniqueFd.h"
#include "device/AtaFormat.h"
#include "device/Bytes.h"
#include "device/DriveCommand.h"
#include "device/SmartIo.h"
#include "log/Log.h"

static_assert(HDIO_GET_IDENTITY == 0x030D);

namespace {

const char* yesOrNo(bool value) { return value ? "Yes" : "No"; }

}  // namespace

bool SmartIo::getIdentifyData(const std::string& path, IdentifyData& identify) {
  UniqueFd fd(open(path.c_str(), O_RDONLY));
  if (!fd.isOpen()) {
    Log(LOG_LEVEL_DEBUG, "SmartIo::getIdentifyData - Open %s failed, 0x%08x", path.c_str(),
        static_cast<unsigned>(errno));
    return false;
  }
  std::array<std::uint8_t, ata::kSectorSize> sector{};
  if (!issueDriveCommand(fd.get(), HDIO_GET_IDENTITY, sector.data())) {
    Log(LOG_LEVEL_DEBUG, "SmartIo::getIdentifyData - Ioctl failed, 0x%08x",
        static_cast<unsigned>(errno));
    return false;
  }
  fd.reset();

  using namespace ata::identify;
  const std::uint8_t* data = sector.data();
  const std::uint16_t rotationRate = bytes::littleEndian16(data, kRotationRateOffset);
  identify.identifySource |= IDENTIFIED_BY_ATA;
  identify.ataMajorVersion = bytes::littleEndian16(data, kMajorVersionOffset);
  identify.model = bytes::trimmedField(data, kModelOffset, kModelLength);
  identify.serialNumber = bytes::trimmedField(data, kSerialNumberOffset, kSerialNumberLength);
  identify.firmwareVersion = bytes::trimmedField(data, kFirmwareOffset, kFirmwareLength);
  if (rotationRate == kNonRotatingMedium) {
    identify.nonRotating = true;
  }

  Log(LOG_LEVEL_DEBUG, "ATA Major version = %08x", identify.ataMajorVersion);
  Log(LOG_LEVEL_DEBUG, "model: %s", identify.model.c_str());
  Log(LOG_LEVEL_DEBUG, "serial no: %s", identify.serialNumber.c_str());
  Log(LOG_LEVEL_DEBUG, "fw rev: %s", identify.firmwareVersion.c_str());
  Log(LOG_LEVEL_DEBUG, "Rotation word: 0x%04x", rotationRate);
  Log(LOG_LEVEL_DEBUG, "SSD Heuristics: ' SSD ' in model - %s",
      yesOrNo(isSsdHeuristic(identify.model)));
  Log(LOG_LEVEL_DEBUG, "Non-rotating SSD %s", yesOrNo(identify.nonRotating));
  return true;
}

bool SmartIo::isSsdHeuristic(const std::string& model) {
  std::string upper(model);
  std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char character) {
    return static_cast<char>(std::toupper(character));
  });
  return upper.find(" SSD ") != std::string::npos;
}

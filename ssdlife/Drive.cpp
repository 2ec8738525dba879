#include "ssdlife/Drive.h"

namespace ssdlife {
namespace {

using cmpihost::Instance;
using cmpihost::Value;

// A provider that leaves a property out, or gives it another type, is still shown as far as it
// goes.

std::string text(const Instance& instance, const char* name) {
  const Value* const value = instance.property(name);
  return value != nullptr && value->isText() ? value->asText() : "";
}

std::optional<std::uint64_t> number(const Instance& instance, const char* name) {
  const Value* const value = instance.property(name);
  const bool there = value != nullptr && !value->isNull() &&
                     (value->type() == CMPI_uint8 || value->type() == CMPI_uint16 ||
                      value->type() == CMPI_uint32 || value->type() == CMPI_uint64);
  return there ? std::optional(value->asUnsigned()) : std::nullopt;
}

bool flag(const Instance& instance, const char* name) {
  const Value* const value = instance.property(name);
  return value != nullptr && !value->isNull() && value->type() == CMPI_boolean &&
         value->asBoolean();
}

// What the provider publishes where the drive does not tell.
constexpr std::uint64_t kUnknownPercentage = 255;

}  // namespace

Drive driveOf(const Instance& instance) {
  Drive drive;
  drive.deviceId = text(instance, "DeviceID");
  drive.model = text(instance, "DriveModel");
  drive.serialNumber = text(instance, "DriveSerialNumber");
  drive.firmware = text(instance, "DriveFirmwareVersion");
  drive.physicalDrive = text(instance, "PhysicalDrive");
  drive.caption = text(instance, "Caption");
  drive.description = text(instance, "Description");
  drive.poweredOnHours = number(instance, "PoweredOnHours");
  const auto percentage = number(instance, "PercentageUsed");
  if (percentage && *percentage != kUnknownPercentage) {
    drive.percentageUsed = static_cast<unsigned>(*percentage);
  }
  drive.percentageUsedSource =
      static_cast<unsigned>(number(instance, "PercentageUsedSource").value_or(0));
  drive.failureImminent = flag(instance, "FailureImminent");
  return drive;
}

std::string sourceInWords(unsigned source) {
  switch (source) {
    case 2:
      return "standard statistic";
    case 3:
      return "vendor attribute";
    default:
      return "source " + std::to_string(source);
  }
}

FailureEvent failureEventOf(const cmpihost::Indication& indication) {
  FailureEvent event;
  event.deviceId = text(indication.instance, "DeviceID");
  event.physicalDrive = text(indication.instance, "PhysicalDrive");
  const Value* const time = indication.instance.property("IndicationTime");
  if (time != nullptr && !time->isNull() && time->type() == CMPI_dateTime) {
    event.time = time->asDateTime();
  }
  return event;
}

}  // namespace ssdlife

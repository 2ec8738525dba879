#include <algorithm>
#include <cstring>
#include <string_view>

#include <cmpi/cmpimacs.h>

#include "log/Log.h"
#include "provider/CimNames.h"
#include "provider/CmpiUtils.h"
#include "provider/Containment.h"
#include "provider/SsdProvider.h"

/// What the two enumerations don't share. The texts follow two names of each operation.
struct SsdProvider::Enumeration {
  const char* operation;  ///< in the request's own line
  const char* origin;     ///< in the lines of its failures
  const char* unknownFailure;
  bool reportsUpdateFailure;
  CMPIStatus (*returnOne)(const CMPIResult* result, const CMPIBroker* broker,
                          const KAV_SSDLifeMonitor& monitor);
};

namespace {

/// The class and namespace that a request is about; empty where the broker gives none.
struct Target {
  explicit Target(const CMPIObjectPath* path)
      : cimNamespace(charactersOf(CMGetNameSpace(path, nullptr))),
        className(charactersOf(CMGetClassName(path, nullptr))) {}

  [[nodiscard]] CMPIrc check() const {
    if (!SsdProvider::isCimV2Namespace(cimNamespace)) {
      return CMPI_RC_ERR_INVALID_NAMESPACE;
    }
    return SsdProvider::isKavInstanceClass(className) ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_CLASS;
  }

  const char* cimNamespace;
  const char* className;
};

/// Small letters for the capitals of CIM names, whatever the host's locale: a Turkish one keeps "I"
/// and "i" apart.
char lowered(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                              : character;
}

bool equalIgnoringCase(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return lowered(a) == lowered(b); });
}

CMPIStatus finish(const CMPIResult* result, CMPIrc rc) {
  (void)CMReturnDone(result);
  return {rc, nullptr};
}

}  // namespace

SSD_CODE SsdProvider::update() {
  Log(LOG_LEVEL_DEBUG, "SsdProvider::update");
  SsdInformationList list;
  const SSD_CODE code = service->getSsdInformationList(list);
  if (code != SSD_SUCCESS) {
    Log(LOG_LEVEL_ERROR, "SsdProvider::update - getSsdInformationList failed, sscode=0x%08x", code);
    return code;
  }
  Monitors fresh;
  fresh.reserve(list.size());
  for (const SsdInformation& information : list) {
    fresh.push_back(makeMonitor(information));
  }
  // In one step: an event must never meet a cache that is half rebuilt.
  const MutexLock lock(cacheMutex);
  monitors.swap(fresh);
  return SSD_SUCCESS;
}

KAV_SSDLifeMonitor SsdProvider::makeMonitor(const SsdInformation& information) {
  const std::string deviceID =
      makeDeviceID(information.model, information.serialNumber, information.physicalDrive);
  KAV_SSDLifeMonitor monitor;
  monitor.setCaption("SSD Life Monitor (" + deviceID + ")");
  monitor.setDescription("Lifecycle information for Solid State Disk: " + information.model +
                         " with Serial Number " + information.serialNumber +
                         " on Linux Physical Drive " + information.physicalDrive);
  monitor.setDeviceID(deviceID);
  monitor.setDriveFirmwareVersion(information.firmwareVersion);
  monitor.setDriveModel(information.model);
  monitor.setDriveSerialNumber(information.serialNumber);
  monitor.setPhysicalDrive(information.physicalDrive);
  monitor.setPoweredOnHours(information.poweredOnHours);
  monitor.setPercentageUsed(information.percentageUsed);
  monitor.setPercentageUsedSource(information.percentageUsedSource);
  monitor.setFailureImminent(information.failureImminent);
  return monitor;
}

SsdProvider::Monitors SsdProvider::snapshot() {
  const MutexLock lock(cacheMutex);
  return monitors;
}

std::uint32_t SsdProvider::getSsdIndex(const std::string& deviceID) const {
  const auto found = std::find_if(
      monitors.begin(), monitors.end(),
      [&](const KAV_SSDLifeMonitor& monitor) { return monitor.hasDeviceID(deviceID); });
  return found == monitors.end() ? kNoSuchSsd
                                 : static_cast<std::uint32_t>(found - monitors.begin());
}

CMPIStatus SsdProvider::enumInstanceNames(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                                          const CMPIResult* result, const CMPIObjectPath* path) {
  static constexpr Enumeration kNames = {
      "enumInstanceNames", "SsdProvider::enumerateInstanceNames",
      "SsdProvider::enumerateInstanceNames -  Unknown Exception", false,
      [](const CMPIResult* to, const CMPIBroker* by, const KAV_SSDLifeMonitor& monitor) {
        return CMReturnObjectPath(to, monitor.getObjectPath(by));
      }};
  return enumerate(kNames, result, path);
}

CMPIStatus SsdProvider::enumInstances(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                                      const CMPIResult* result, const CMPIObjectPath* path,
                                      const char** /*properties*/) {
  static constexpr Enumeration kInstances = {
      "enumInstances", "SsdProvider::enumerateInstances",
      "SsdProvider::enumerateInstances -  Unknown Exception", true,
      [](const CMPIResult* to, const CMPIBroker* by, const KAV_SSDLifeMonitor& monitor) {
        return CMReturnInstance(to, monitor.getInstance(by));
      }};
  return enumerate(kInstances, result, path);
}

CMPIStatus SsdProvider::enumerate(const Enumeration& kind, const CMPIResult* result,
                                  const CMPIObjectPath* path) {
  const Target target(path);
  Log(LOG_LEVEL_DEBUG, "SsdProvider::%s - Reference object path: class = %s, namespace = %s\n",
      kind.operation, target.className, target.cimNamespace);
  CMPIrc rc = target.check();
  if (rc == CMPI_RC_OK) {
    rc = returnAll(kind, result);
  }
  return finish(result, rc);
}

/// A machine without SSDs is a failure, not an empty success: it is a till whose SSD can't be read.
CMPIrc SsdProvider::returnAll(const Enumeration& kind, const CMPIResult* result) {
  SSD_CODE code = SSD_SUCCESS;
  std::size_t returned = 0;
  const bool complete = succeeds(kind.origin, kind.unknownFailure, [&] {
    code = update();
    if (code != SSD_SUCCESS) {
      return;
    }
    for (const KAV_SSDLifeMonitor& monitor : snapshot()) {
      (void)kind.returnOne(result, broker, monitor);
      ++returned;
    }
  });
  if (code != SSD_SUCCESS) {
    if (kind.reportsUpdateFailure) {
      Log(LOG_LEVEL_DEBUG, "SsdProvider::%s - error: %d", kind.operation, static_cast<int>(code));
    }
    return CMPI_RC_ERR_FAILED;
  }
  if (returned == 0) {
    Log(LOG_LEVEL_DEBUG, "%s - No instances found", kind.origin);
    return CMPI_RC_ERR_FAILED;
  }
  return complete ? CMPI_RC_OK : CMPI_RC_ERR_FAILED;
}

CMPIStatus SsdProvider::getInstance(CMPIInstanceMI* /*mi*/, const CMPIContext* /*context*/,
                                    const CMPIResult* result, const CMPIObjectPath* path,
                                    const char** /*properties*/) {
  const Target target(path);
  Log(LOG_LEVEL_DEBUG, "SsdProvider::getInstance - Object path: class = %s, namespace = %s",
      target.className, target.cimNamespace);
  CMPIrc rc = target.check();
  if (rc == CMPI_RC_OK) {
    rc = returnFirstMatch(result, path);
  }
  return finish(result, rc);
}

/// The first entry whose identifier begins with the key: clients may leave off its end. The key is
/// read anew for each entry.
CMPIrc SsdProvider::returnFirstMatch(const CMPIResult* result, const CMPIObjectPath* path) {
  SSD_CODE code = SSD_SUCCESS;
  bool found = false;
  const bool complete =
      succeeds("SsdProvider::getInstance", "SsdProvider::getInstance -  Unknown Exception", [&] {
        code = update();
        if (code != SSD_SUCCESS) {
          return;
        }
        for (const KAV_SSDLifeMonitor& monitor : snapshot()) {
          const char* key = Utils::GetCharsKeyValue(path, kDeviceIdProperty);
          if (std::strncmp(monitor.getDeviceID(), key, std::strlen(key)) == 0) {
            (void)CMReturnInstance(result, monitor.getInstance(broker));
            found = true;
            return;
          }
        }
      });
  if (code != SSD_SUCCESS) {
    return CMPI_RC_ERR_FAILED;
  }
  if (!complete || !found) {
    Log(LOG_LEVEL_DEBUG, "SsdProvider::getInstance - No instance found");
    return CMPI_RC_ERR_FAILED;
  }
  return CMPI_RC_OK;
}

std::string SsdProvider::makeDeviceID(const std::string& model, const std::string& serialNumber,
                                      const std::string& physicalDrive) {
  return model + "___" + serialNumber + "___" + physicalDrive;
}

bool SsdProvider::isCimV2Namespace(const char* name) {
  return equalIgnoringCase(name, kCimNamespace);
}

bool SsdProvider::isKavInstanceClass(const char* name) {
  return std::strcmp(name, kInstanceClass) == 0;
}

#include "ssdlife/SsdClient.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "host/HostError.h"
#include "ssdlife/AbsentFigures.h"
#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

using cmpihost::HostError;
using cmpihost::ObjectPath;
using cmpihost::Reply;
using cmpihost::Status;

constexpr const char* kPrefix = "SsdProvider";
constexpr const char* kKey = "DeviceID";

ObjectPath drivesPath() { return {"root/cimv2", "KAV_SSDLifeMonitor"}; }

cmpihost::Filter failureFilter() { return {"KAV_SSDLifeMonitorFailureImminent"}; }

// What the schema declares, for managers that look at it.
std::vector<cmpihost::ClassDeclaration> classes() {
  return {{"root/cimv2",
           "KAV_SSDLifeMonitor",
           "",
           {{"Caption", CMPI_string},
            {"CreationClassName", CMPI_string},
            {"Description", CMPI_string},
            {"DeviceID", CMPI_string},
            {"DriveFirmwareVersion", CMPI_string},
            {"DriveModel", CMPI_string},
            {"DriveSerialNumber", CMPI_string},
            {"PhysicalDrive", CMPI_string},
            {"PoweredOnHours", CMPI_uint64},
            {"PercentageUsed", CMPI_uint8},
            {"PercentageUsedSource", CMPI_uint8},
            {"FailureImminent", CMPI_boolean},
            {"SystemCreationClassName", CMPI_string},
            {"SystemName", CMPI_string}}},
          {"root/cimv2",
           "KAV_SSDLifeMonitorFailureImminent",
           "CIM_ProcessIndication",
           {{"DeviceID", CMPI_string},
            {"PhysicalDrive", CMPI_string},
            {"IndicationTime", CMPI_dateTime}}}};
}

cmpihost::Personality personality(const std::string& like) {
  cmpihost::Personality chosen = cmpihost::personalityOf(like.empty() ? "plain" : like);
  // A watch runs for weeks.
  chosen.broker.journal = false;
  return chosen;
}

// What the library can't do because of what it is, rather than because of the machine.
template <typename Action>
auto withLibrary(Action action) {
  try {
    return action();
  } catch (const HostError& error) {
    throw Failure(ExitCode::kLibrary, error.what());
  }
}

// Nobody is sent to a file that is not there.
std::string hintAtLog() {
  constexpr const char* kLog = "/var/log/ssddrv/ssddrv.log";
  return access(kLog, F_OK) == 0 ? std::string("; see ") + kLog : "";
}

// Throws, except where the provider says no more than that it has nothing.
void requireNoOtherTrouble(const Status& status) {
  switch (status.rc) {
    case CMPI_RC_OK:
    case CMPI_RC_ERR_FAILED:
      return;
    case CMPI_RC_ERR_METHOD_NOT_AVAILABLE:
      throw Failure(ExitCode::kNotStarted,
                    "the SSD driver could not start (no readable BIOS version or no /sys/block?)" +
                        hintAtLog());
    default:
      throw Failure(ExitCode::kNothing, "the request was refused: " + status.describe());
  }
}

void requireDone(const Status& status) {
  requireNoOtherTrouble(status);
  if (!status.ok()) {
    throw Failure(ExitCode::kNothing, "the library refused the subscription");
  }
}

// FAILED is how the provider says that it has none.
template <typename Entries>
void requireDrives(const Status& status, const Entries& entries) {
  requireNoOtherTrouble(status);
  if (!status.ok() || entries.empty()) {
    throw NoDrives();
  }
}

bool libraryIsLeft = false;

}  // namespace

SsdClient::SsdClient(const std::string& library, const std::string& like, Parting parting)
    : parting_(parting), manager_(withLibrary([&] {
        return std::make_unique<cmpihost::ObjectManager>(personality(like), classes(), library,
                                                         kPrefix);
      })) {}

SsdClient::~SsdClient() {
  if (parting_ == Parting::kWithProcess) {
    libraryIsLeft = true;
    static_cast<void>(manager_.release());
  }
}

SsdClient SsdClient::forOneAnswer(const std::string& library, const std::string& like) {
  return SsdClient(library, like, like.empty() ? Parting::kWithProcess : Parting::kUnload);
}

std::vector<Drive> SsdClient::list() {
  const Reply reply = withLibrary([&] { return manager_->enumerateInstances(drivesPath()); });
  requireDrives(reply.status, reply.instances);
  std::vector<Drive> drives;
  std::transform(reply.instances.begin(), reply.instances.end(), std::back_inserter(drives),
                 driveOf);
  std::for_each(drives.begin(), drives.end(), noteReadError);
  return drives;
}

std::vector<std::string> SsdClient::names() {
  const Reply reply = withLibrary([&] { return manager_->enumerateInstanceNames(drivesPath()); });
  requireDrives(reply.status, reply.paths);
  std::vector<std::string> names;
  for (const ObjectPath& path : reply.paths) {
    const cmpihost::Value* const key = path.key(kKey);
    names.push_back(key != nullptr && key->isText() ? key->asText() : "");
  }
  return names;
}

Drive SsdClient::get(const std::string& deviceId) {
  const ObjectPath path = drivesPath().withKey(kKey, cmpihost::Value::string(deviceId));
  const Reply reply = withLibrary([&] { return manager_->getInstance(path); });
  requireNoOtherTrouble(reply.status);
  if (!reply.status.ok() || reply.instances.empty()) {
    throw Failure(ExitCode::kNothing, "no SSD whose DeviceID begins with \"" + deviceId +
                                          "\", or none that could be read");
  }
  Drive drive = driveOf(reply.instances.front());
  noteReadError(drive);
  return drive;
}

void SsdClient::subscribe(std::function<void(const FailureEvent&)> sink) {
  manager_->broker().onIndication([sink = std::move(sink)](const cmpihost::Indication& indication) {
    sink(failureEventOf(indication));
  });
  withLibrary([&] { requireDone(manager_->subscribe(failureFilter())); });
}

void SsdClient::unsubscribe() {
  withLibrary([&] { requireDone(manager_->unsubscribe(failureFilter())); });
}

bool SsdClient::hasLeftLibrary() { return libraryIsLeft; }

void SsdClient::leave() { parting_ = Parting::kWithProcess; }

void SsdClient::close() {
  if (parting_ == Parting::kUnload) {
    withLibrary([&] { manager_->stop(); });
  }
}

}  // namespace ssdlife

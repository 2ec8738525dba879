#include "tests/fault/Till.h"

#include <cstdlib>

#include "tests/fault/Calls.h"

namespace fault {

namespace {

cmpihost::Broker* theBroker = nullptr;
decltype(CMPIBrokerExtFT::newThread) startThread = nullptr;

CMPI_THREAD_TYPE startAndAwait(CMPIThreadFunc function, void* parameter, int detached) {
  CMPI_THREAD_TYPE const thread = startThread(function, parameter, detached);
  theBroker->waitForThreads(std::chrono::seconds(50));  // a busy machine; a hang ends after 60
  return thread;
}

/// Every log line is one more chance to fail: worth it where there is time.
bool traceEverything() { return std::getenv("VEKSSD_FAULT_TRACE") != nullptr; }

const cmpihost::Filter kFilter = {kIndicationClass};

}  // namespace

Till::Till(bool orderly) {
  machine.add(Drive::kAttribute, "sda", "SanDisk SSD P4 64GB", "SD0123456789");
  machine.add(Drive::kStatistics, "sdb", "TS64GHSD630", "TS0123456789");
  machine.add(Drive::kNvme, "nvme0", "Simulated NVMe Controller 256GB", "NV01234567890123456");
  setTraced(traceEverything());
  setGeneration(1);
  if (!orderly) {
    return;
  }
  theBroker = &broker;
  CMPIBrokerExtFT& table = *const_cast<CMPIBrokerExtFT*>(broker.cmpi()->xft);
  startThread = table.newThread;
  table.newThread = startAndAwait;
}

Till::~Till() {
  provider_.reset();
  theBroker = nullptr;
}

void Till::setTraced(bool traced) {
  traced_ = traced;
  machine.write("/etc/ssddrv/log.conf",
                traced ? "MaxLength=1000000\nLevel=4\nIsConsole=1\n" : "MaxLength=1000000\n");
  machine.write("/etc/ssddrv/ssddrv.ini",
                "PollRate=" + std::to_string(kTicksPerPoll) + "\nPercentUsedThreshold=80\n" +
                    (traced ? "DebugTraceAttributes=1\nDebugTraceLogs=1\n" : ""));
}

std::string Till::library() { return VEKSSD_LIBRARY; }

void Till::load() {
  for (const auto& drive : machine.drives()) {
    drive->opened = 0;
  }
  provider_ = std::make_unique<cmpihost::Provider>(broker, library(), "SsdProvider");
}

void Till::start() {
  provider_->createInstanceMI();
  provider_->createIndicationMI();
}

bool Till::unload() {
  const bool gone = provider_->unload();
  provider_.reset();
  return gone;
}

cmpihost::Reply Till::names() { return provider_->enumerateInstanceNames({kNamespace, kClass}); }

cmpihost::Reply Till::list() { return provider_->enumerateInstances({kNamespace, kClass}); }

cmpihost::Reply Till::get(const std::string& deviceId) {
  return provider_->getInstance(cmpihost::ObjectPath{kNamespace, kClass}.withKey(
      "DeviceID", cmpihost::Value::string(deviceId)));
}

std::vector<CMPIrc> Till::subscribe() {
  std::vector<CMPIrc> codes = {provider_->authorizeFilter(kFilter).rc,
                               provider_->mustPoll(kFilter).rc,
                               provider_->activateFilter(kFilter, 1).rc};
  provider_->enableIndications();
  return codes;
}

CMPIrc Till::unsubscribe() {
  provider_->disableIndications();
  return provider_->deActivateFilter(kFilter, 1).rc;
}

std::vector<CMPIrc> Till::cleanUp() {
  return {unsubscribe(), provider_->cleanupIndicationMI(true).rc,
          provider_->cleanupInstanceMI(true).rc};
}

void Till::setGeneration(unsigned generation) {
  unsigned number = 0;
  for (const auto& drive : machine.drives()) {
    ++number;
    drive->percentage = static_cast<std::uint8_t>(10 * number + generation);
    drive->hours = 1000 * number + generation;
  }
}

std::vector<std::string> Till::takeIndications() {
  std::vector<std::string> ids;
  while (const auto indication = broker.waitForIndication(std::chrono::milliseconds(0))) {
    ids.push_back(indication->instance.property("DeviceID")->asText());
  }
  return ids;
}

}  // namespace fault

// Stands in for the provider library: the same factories and classes, drives out of a hat.
//
// FAKE_SSDS     till (or nothing): two drives; young: the same, hardly worn; odd: one that calls
//               itself strange things; empty: an empty answer; none: CMPI_RC_ERR_FAILED;
//               unstarted: CMPI_RC_ERR_METHOD_NOT_AVAILABLE; refused: CMPI_RC_ERR_ACCESS_DENIED
//               with a text; hanging: never answers
// FAKE_EVENTS   how many indications follow when indications are enabled
// FAKE_JOURNAL  a file that gets a line for each thing that is asked
#include <cmpi/cmpimacs.h>
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

namespace {

const CMPIBroker* theBroker = nullptr;
CMPIContext* indicationContext = nullptr;

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// Every line also goes to both standard streams, as it does in a library that chatters.
void note(const std::string& line) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  std::printf("library: %s\n", line.c_str());
  std::fprintf(stderr, "library: %s\n", line.c_str());
  const std::string journal = environment("FAKE_JOURNAL");
  if (!journal.empty()) {
    std::ofstream(journal, std::ios::app) << line << '\n';
  }
}

__attribute__((constructor)) void loaded() { note("loaded"); }
__attribute__((destructor)) void unloaded() { note("unloaded"); }

struct Ssd {
  std::string model;
  std::string serial;
  std::string firmware;
  std::string drive;
  CMPIUint64 hours;
  CMPIUint8 percentage;
  CMPIUint8 source;
  CMPIBoolean failing;

  std::string id() const { return model + "___" + serial + "___" + drive; }
};

std::vector<Ssd> ssds() {
  if (environment("FAKE_SSDS") == "odd") {
    return {{"Caf\xe9 \x1b[31mDisk", "S\xc3\xa9rie\x01", "", "sdb", ~0ULL, 101, 9, 0}};
  }
  if (environment("FAKE_SSDS") == "young") {
    return {{"Transcend 64", "E2148", "20180526", "sda", 18422, 33, 2, 0},
            {"KINGSTON SNV2S250G", "5002", "SBM02103", "nvme0", 7, 12, 2, 0}};
  }
  if (environment("FAKE_SSDS") == "empty") {
    return {};
  }
  // On the machine of a file the drive is named after that.
  const std::string machine = environment("VEKSSD_MACHINE");
  const bool simulated =
      dlsym(RTLD_DEFAULT, "vekssdsimProblem") != nullptr && machine.find('/') != std::string::npos;
  const std::string model = simulated ? machine.substr(machine.rfind('/') + 1) : "Transcend 64";
  return {{model, "E2148", "20180526", "sda", 18422, 98, 2, 1},
          {"KINGSTON SNV2S250G", "5002", "SBM02103", "nvme0", 0, 255, 3, 0}};
}

CMPIObjectPath* pathOf(const Ssd& ssd) {
  CMPIObjectPath* const op =
      CMNewObjectPath(theBroker, "root/cimv2", "KAV_SSDLifeMonitor", nullptr);
  CMAddKey(op, "DeviceID", ssd.id().c_str(), CMPI_chars);
  return op;
}

CMPIInstance* instanceOf(const Ssd& ssd) {
  CMPIInstance* const inst = CMNewInstance(theBroker, pathOf(ssd), nullptr);
  const auto text = [inst](const char* name, const std::string& value) {
    CMSetProperty(inst, name, value.c_str(), CMPI_chars);
  };
  text("Caption", "SSD Life Monitor (" + ssd.id() + ")");
  text("Description", "Lifecycle information");
  text("DeviceID", ssd.id());
  text("DriveFirmwareVersion", ssd.firmware);
  text("DriveModel", ssd.model);
  text("DriveSerialNumber", ssd.serial);
  text("PhysicalDrive", ssd.drive);
  CMSetProperty(inst, "PoweredOnHours", &ssd.hours, CMPI_uint64);
  CMSetProperty(inst, "PercentageUsed", &ssd.percentage, CMPI_uint8);
  CMSetProperty(inst, "PercentageUsedSource", &ssd.source, CMPI_uint8);
  CMSetProperty(inst, "FailureImminent", &ssd.failing, CMPI_boolean);
  return inst;
}

CMPIStatus answer(CMPIrc otherwise = CMPI_RC_OK) {
  const std::string ssds = environment("FAKE_SSDS");
  if (ssds == "none") {
    return {CMPI_RC_ERR_FAILED, nullptr};
  }
  if (ssds == "unstarted") {
    return {CMPI_RC_ERR_METHOD_NOT_AVAILABLE, nullptr};
  }
  if (ssds == "refused") {
    return {CMPI_RC_ERR_ACCESS_DENIED, CMNewString(theBroker, "not today", nullptr)};
  }
  return {otherwise, nullptr};
}

CMPIStatus instanceCleanup(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean terminating) {
  note("instance cleanup " + std::to_string(terminating));
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus names(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* rslt,
                 const CMPIObjectPath*) {
  note("names");
  const CMPIStatus status = answer();
  if (status.rc == CMPI_RC_OK) {
    for (const Ssd& ssd : ssds()) {
      CMReturnObjectPath(rslt, pathOf(ssd));
    }
  }
  CMReturnDone(rslt);
  return status;
}

CMPIStatus instances(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* rslt,
                     const CMPIObjectPath*, const char**) {
  note("instances");
  if (environment("FAKE_SSDS") == "hanging") {
    pause();
  }
  const CMPIStatus status = answer();
  if (status.rc == CMPI_RC_OK) {
    for (const Ssd& ssd : ssds()) {
      CMReturnInstance(rslt, instanceOf(ssd));
    }
  }
  CMReturnDone(rslt);
  return status;
}

CMPIStatus instance(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* rslt,
                    const CMPIObjectPath* op, const char**) {
  const char* const wanted = CMGetCharPtr(CMGetKey(op, "DeviceID", nullptr).value.string);
  note(std::string("instance ") + wanted);
  CMPIStatus status = answer(CMPI_RC_ERR_FAILED);
  for (const Ssd& ssd : ssds()) {
    if (status.rc == CMPI_RC_ERR_FAILED && ssd.id().compare(0, std::strlen(wanted), wanted) == 0) {
      CMReturnInstance(rslt, instanceOf(ssd));
      status = {CMPI_RC_OK, nullptr};
    }
  }
  CMReturnDone(rslt);
  return status;
}

CMPIStatus indicationCleanup(CMPIIndicationMI*, const CMPIContext*, CMPIBoolean terminating) {
  note("indication cleanup " + std::to_string(terminating));
  if (indicationContext != nullptr) {
    CMRelease(indicationContext);
  }
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus authorize(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                     const char* className, const CMPIObjectPath*, const char*) {
  note(std::string("authorize ") + className);
  return answer();
}

CMPIStatus mustPoll(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*, const char*,
                    const CMPIObjectPath*) {
  note("mustPoll");
  return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

CMPIStatus activate(CMPIIndicationMI*, const CMPIContext* ctx, const CMPISelectExp*,
                    const char* className, const CMPIObjectPath*, CMPIBoolean first) {
  note(std::string("activate ") + className + ' ' + std::to_string(first));
  indicationContext = CBPrepareAttachThread(theBroker, ctx);
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus deactivate(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                      const char* className, const CMPIObjectPath*, CMPIBoolean last) {
  note(std::string("deactivate ") + className + ' ' + std::to_string(last));
  return {CMPI_RC_OK, nullptr};
}

void* sendEvents(void*) {
  CMPIContext* const ctx = CBPrepareAttachThread(theBroker, indicationContext);
  CBAttachThread(theBroker, ctx);
  for (int left = std::atoi(environment("FAKE_EVENTS").c_str()); left > 0; --left) {
    CMPIObjectPath* const op =
        CMNewObjectPath(theBroker, "root/cimv2", "KAV_SSDLifeMonitorFailureImminent", nullptr);
    CMPIInstance* const inst = CMNewInstance(theBroker, op, nullptr);
    CMPIDateTime* const time =
        theBroker->eft->newDateTimeFromChars(theBroker, "20240229123456.000042+000", nullptr);
    CMSetProperty(inst, "DeviceID", ssds()[0].id().c_str(), CMPI_chars);
    CMSetProperty(inst, "PhysicalDrive", ssds()[0].drive.c_str(), CMPI_chars);
    CMSetProperty(inst, "IndicationTime", &time, CMPI_dateTime);
    CBDeliverIndication(theBroker, ctx, "root/cimv2", inst);
  }
  CBDetachThread(theBroker, ctx);
  return nullptr;
}

void enable(CMPIIndicationMI*, const CMPIContext*) {
  note("enable");
  theBroker->xft->newThread(sendEvents, nullptr, 1);
}

void disable(CMPIIndicationMI*, const CMPIContext*) { note("disable"); }

CMPIInstanceMIFT instanceTable{};
CMPIIndicationMIFT indicationTable{};
CMPIInstanceMI instanceMI{nullptr, &instanceTable};
CMPIIndicationMI indicationMI{nullptr, &indicationTable};

// Whatever form the headers give a slot, brokers call it in the form of the first version.
template <typename Slot, typename Function>
void fill(Slot& slot, Function function) {
  slot = reinterpret_cast<Slot>(reinterpret_cast<void (*)()>(function));
}

}  // namespace

CMPI_EXTERN_C CMPI_EXPORT CMPIInstanceMI* SsdProvider_Create_InstanceMI(const CMPIBroker* mb,
                                                                        const CMPIContext*,
                                                                        CMPIStatus* rc) {
  note("instance factory");
  theBroker = mb;
  instanceTable.cleanup = instanceCleanup;
  instanceTable.enumerateInstanceNames = names;
  instanceTable.enumerateInstances = instances;
  instanceTable.getInstance = instance;
  CMSetStatus(rc, CMPI_RC_OK);
  return &instanceMI;
}

CMPI_EXTERN_C CMPI_EXPORT CMPIIndicationMI* SsdProvider_Create_IndicationMI(const CMPIBroker* mb,
                                                                            const CMPIContext*,
                                                                            CMPIStatus* rc) {
  note("indication factory");
  theBroker = mb;
  indicationTable.cleanup = indicationCleanup;
  indicationTable.authorizeFilter = authorize;
  fill(indicationTable.mustPoll, mustPoll);
  indicationTable.activateFilter = activate;
  indicationTable.deActivateFilter = deactivate;
  fill(indicationTable.enableIndications, enable);
  fill(indicationTable.disableIndications, disable);
  CMSetStatus(rc, CMPI_RC_OK);
  return &indicationMI;
}

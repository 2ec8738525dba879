// A provider library for the host's own tests: two instances, and an indication that it sends from
// a thread of its own when a test says so. What it was asked can be read back.
#include <cmpi/cmpimacs.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

namespace {

const CMPIBroker* theBroker = nullptr;
CMPIContext* indicationContext = nullptr;
std::atomic<bool> enabled{false};
std::atomic<long> cleanupTime{0};
std::mutex contextMutex;
std::mutex mutex;
std::string asked;

void note(const std::string& what) {
  const std::lock_guard lock(mutex);
  asked += what + '\n';
}

CMPIStatus status(CMPIrc rc) { return {rc, nullptr}; }

std::string text(CMPIString* string) {
  const char* const characters = string == nullptr ? nullptr : CMGetCharPtr(string);
  return characters == nullptr ? "(null)" : characters;
}

std::string nameOf(const CMPIObjectPath* op) {
  return text(CMGetNameSpace(op, nullptr)) + ':' + text(CMGetClassName(op, nullptr));
}

std::string listed(const char** properties) {
  std::string all = properties == nullptr ? " all" : "";
  for (; properties != nullptr && *properties != nullptr; ++properties) {
    all += std::string(" ") + *properties;
  }
  return all;
}

CMPIObjectPath* gaugePath(const char* name) {
  CMPIObjectPath* const op = CMNewObjectPath(theBroker, "root/cimv2", "Sample_Gauge", nullptr);
  CMAddKey(op, "Name", name, CMPI_chars);
  return op;
}

CMPIInstance* gauge(const char* name, CMPIUint8 level) {
  CMPIInstance* const inst = CMNewInstance(theBroker, gaugePath(name), nullptr);
  CMSetProperty(inst, "Name", name, CMPI_chars);
  CMSetProperty(inst, "Level", &level, CMPI_uint8);
  CMSetProperty(inst, "Name", name, CMPI_chars);
  return inst;
}

// ---- Instances --------------------------------------------------------------------------------

CMPIStatus instanceCleanup(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean terminating) {
  note("instance cleanup " + std::to_string(terminating));
  // Only once: the clean-ups that follow are quick.
  std::this_thread::sleep_for(std::chrono::milliseconds(cleanupTime.exchange(0)));
  return status(terminating != 0 ? CMPI_RC_OK : CMPI_RC_DO_NOT_UNLOAD);
}

CMPIStatus enumerateInstanceNames(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* rslt,
                                  const CMPIObjectPath* op) {
  note("names " + nameOf(op));
  CMReturnObjectPath(rslt, gaugePath("left"));
  CMReturnObjectPath(rslt, gaugePath("right"));
  CMReturnDone(rslt);
  return status(CMPI_RC_OK);
}

CMPIStatus enumerateInstances(CMPIInstanceMI*, const CMPIContext*, const CMPIResult* rslt,
                              const CMPIObjectPath* op, const char** properties) {
  note("instances " + nameOf(op) + listed(properties));
  CMReturnInstance(rslt, gauge("left", 34));
  CMReturnInstance(rslt, gauge("right", 255));
  CMReturnDone(rslt);
  return status(CMPI_RC_OK);
}

// Notes the key as it arrived, and answers its type and state as data.
CMPIStatus getInstance(CMPIInstanceMI*, const CMPIContext* ctx, const CMPIResult* rslt,
                       const CMPIObjectPath* op, const char** properties) {
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  const CMPIData key = CMGetKey(op, "Name", &rc);
  std::string value = "-";
  if (key.type == CMPI_string) {
    value = text(key.value.string);
  } else if (key.type == CMPI_chars) {
    value = key.value.chars == nullptr ? "(null)" : key.value.chars;
  } else if (key.type == CMPI_uint8) {
    value = std::to_string(key.value.uint8);
  }
  CMPIStatus entryRc{CMPI_RC_OK, nullptr};
  const CMPIData principal = ctx->ft->getEntry(ctx, "CMPIPrincipal", &entryRc);
  note("get " + nameOf(op) + " Name=" + value + listed(properties) + " by " +
       (entryRc.rc == CMPI_RC_OK ? text(principal.value.string) : "nobody"));
  const CMPIUint16 type = key.type;
  const CMPIUint16 state = key.state;
  CMReturnData(rslt, &type, CMPI_uint16);
  CMReturnData(rslt, &state, CMPI_uint16);
  if (rc.rc == CMPI_RC_OK && value == "left") {
    CMReturnInstance(rslt, gauge("left", 34));
    CMReturnDone(rslt);
    return status(CMPI_RC_OK);
  }
  CMReturnDone(rslt);
  return {CMPI_RC_ERR_NOT_FOUND, CMNewString(theBroker, "no such gauge", nullptr)};
}

CMPIStatus createInstance(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                          const CMPIObjectPath* op, const CMPIInstance* inst) {
  note("create " + nameOf(op) +
       " Level=" + std::to_string(CMGetProperty(inst, "Level", nullptr).value.uint8));
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIStatus modifyInstance(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                          const CMPIObjectPath* op, const CMPIInstance*, const char** properties) {
  note("modify " + nameOf(op) + listed(properties));
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIStatus deleteInstance(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                          const CMPIObjectPath* op) {
  note("delete " + nameOf(op));
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIStatus execQuery(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                     const CMPIObjectPath* op, const char* query, const char* language) {
  note("query " + nameOf(op) + ' ' + language + ": " + query);
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

// ---- Indications ------------------------------------------------------------------------------

CMPIStatus indicationCleanup(CMPIIndicationMI*, const CMPIContext*, CMPIBoolean terminating) {
  note("indication cleanup " + std::to_string(terminating));
  const std::lock_guard lock(contextMutex);
  if (terminating != 0 && indicationContext != nullptr) {
    CMRelease(indicationContext);
    indicationContext = nullptr;
  }
  return status(terminating != 0 ? CMPI_RC_OK : CMPI_RC_DO_NOT_UNLOAD);
}

CMPIStatus authorizeFilter(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp* filter,
                           const char* className, const CMPIObjectPath* op, const char* owner) {
  note("authorize " + nameOf(op) + ' ' + className + " by " +
       (owner == nullptr ? "nobody" : owner) + ": " +
       static_cast<const char*>(static_cast<const void*>(filter->hdl)));
  return status(std::strcmp(className, "Sample_Alarm") == 0 ? CMPI_RC_OK
                                                            : CMPI_RC_ERR_INVALID_CLASS);
}

CMPIStatus mustPoll(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                    const char* className, const CMPIObjectPath* op) {
  note("mustPoll " + nameOf(op) + ' ' + className);
  return status(CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIStatus activateFilter(CMPIIndicationMI*, const CMPIContext* ctx, const CMPISelectExp*,
                          const char* className, const CMPIObjectPath* op, CMPIBoolean first) {
  note("activate " + nameOf(op) + ' ' + className + ' ' + std::to_string(first));
  if (indicationContext == nullptr) {
    indicationContext = CBPrepareAttachThread(theBroker, ctx);
  }
  return status(CMPI_RC_OK);
}

CMPIStatus deActivateFilter(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                            const char* className, const CMPIObjectPath* op, CMPIBoolean last) {
  note("deactivate " + nameOf(op) + ' ' + className + ' ' + std::to_string(last));
  return status(CMPI_RC_OK);
}

void enableIndications(CMPIIndicationMI*, const CMPIContext*) {
  note("enable");
  enabled = true;
}

void disableIndications(CMPIIndicationMI*, const CMPIContext*) {
  note("disable");
  enabled = false;
}

// On a thread of the broker: attaches itself, builds the indication, delivers it.
void* sendAlarm(void* milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(reinterpret_cast<long>(milliseconds)));
  CMPIContext* const ctx = CBPrepareAttachThread(theBroker, indicationContext);
  if (CBAttachThread(theBroker, ctx).rc != CMPI_RC_OK) {
    note("not attached");
    CMRelease(ctx);
    CBDetachThread(theBroker, ctx);
    return nullptr;
  }
  CMPIObjectPath* const op = CMNewObjectPath(theBroker, "root/cimv2", "Sample_Alarm", nullptr);
  CMPIInstance* const inst = CMNewInstance(theBroker, op, nullptr);
  CMPIDateTime* const now = CMNewDateTime(theBroker, nullptr);
  CMSetProperty(inst, "Name", "left", CMPI_chars);
  CMSetProperty(inst, "IndicationTime", &now, CMPI_dateTime);
  CBDeliverIndication(theBroker, ctx, "root/cimv2", inst);
  CBDetachThread(theBroker, ctx);
  return nullptr;
}

#ifdef CMPI_VER_200
CMPIStatus enableWithStatus(CMPIIndicationMI* mi, const CMPIContext* ctx) {
  enableIndications(mi, ctx);
  return status(CMPI_RC_OK);
}
CMPIStatus disableWithStatus(CMPIIndicationMI* mi, const CMPIContext* ctx) {
  disableIndications(mi, ctx);
  return status(CMPI_RC_OK);
}
#endif

CMPIInstanceMIFT instanceTable{};
CMPIIndicationMIFT indicationTable{};
CMPIInstanceMI instanceMI{nullptr, &instanceTable};
CMPIIndicationMI indicationMI{nullptr, &indicationTable};

void fillTables() {
  instanceTable.ftVersion = 100;
  instanceTable.miVersion = 100;
  instanceTable.miName = "instanceSample";
  instanceTable.cleanup = instanceCleanup;
  instanceTable.enumerateInstanceNames = enumerateInstanceNames;
  instanceTable.enumerateInstances = enumerateInstances;
  instanceTable.getInstance = getInstance;
  instanceTable.createInstance = createInstance;
  instanceTable.modifyInstance = modifyInstance;
  instanceTable.deleteInstance = deleteInstance;
  instanceTable.execQuery = execQuery;
  indicationTable.ftVersion = 100;
  indicationTable.miVersion = 100;
  indicationTable.miName = "indicationSample";
  indicationTable.cleanup = indicationCleanup;
  indicationTable.authorizeFilter = authorizeFilter;
  // Whatever form the headers give the slot, brokers call it with five arguments.
  indicationTable.mustPoll =
      reinterpret_cast<decltype(indicationTable.mustPoll)>(reinterpret_cast<void (*)()>(mustPoll));
  indicationTable.activateFilter = activateFilter;
  indicationTable.deActivateFilter = deActivateFilter;
#ifdef CMPI_VER_200
  indicationTable.enableIndications = enableWithStatus;
  indicationTable.disableIndications = disableWithStatus;
#else
  indicationTable.enableIndications = enableIndications;
  indicationTable.disableIndications = disableIndications;
#endif
}

}  // namespace

CMPI_EXTERN_C CMPI_EXPORT CMPIInstanceMI* Sample_Create_InstanceMI(const CMPIBroker* mb,
                                                                   const CMPIContext*,
                                                                   CMPIStatus* rc) {
  note("instance factory");
  theBroker = mb;
  fillTables();
  CMSetStatus(rc, CMPI_RC_OK);
  return &instanceMI;
}

CMPI_EXTERN_C CMPI_EXPORT CMPIIndicationMI* Sample_Create_IndicationMI(const CMPIBroker* mb,
                                                                       const CMPIContext*,
                                                                       CMPIStatus* rc) {
  note("indication factory");
  theBroker = mb;
  fillTables();
  CMSetStatus(rc, CMPI_RC_OK);
  return &indicationMI;
}

// A second prefix whose factories have nothing to give.
CMPI_EXTERN_C CMPI_EXPORT CMPIInstanceMI* Empty_Create_InstanceMI(const CMPIBroker* mb,
                                                                  const CMPIContext*,
                                                                  CMPIStatus* rc) {
  *rc = {CMPI_RC_ERR_FAILED, CMNewString(mb, "nothing to manage", nullptr)};
  return nullptr;
}

// ---- For the tests: reached through the library's exported names -------------------------------

// Everything that the provider was asked since the last call, one line each.
CMPI_EXTERN_C CMPI_EXPORT const char* sampleWasAsked() {
  static std::string taken;
  const std::lock_guard lock(mutex);
  taken.swap(asked);
  asked.clear();
  return taken.c_str();
}

// Starts the alarm on a detached thread of the broker; it waits that long before it sends. Answers
// what newThread answered.
CMPI_EXTERN_C CMPI_EXPORT void* sampleAlarm(long milliseconds) {
  return enabled ? theBroker->xft->newThread(sendAlarm, reinterpret_cast<void*>(milliseconds), 1)
                 : nullptr;
}

// The next clean-up of the instance MI takes that long.
CMPI_EXTERN_C CMPI_EXPORT void sampleCleansUpSlowly(long milliseconds) {
  cleanupTime = milliseconds;
}

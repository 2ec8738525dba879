#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>

#include "base/Mutex.h"
#include "core/ISsdListener.h"
#include "core/SsdApi.h"
#include "provider/KAV_SSDLifeMonitor.h"

/// The one provider behind both MIs: answers the instance requests and turns a drive's failure
/// event into an indication.
///
/// All operations are called with the provider lock held, one at a time; only SsdFailureImminent
/// comes without it, on the threads that read the drives, and must never take it: it also comes on
/// a request's own thread, under that very lock.
class SsdProvider : public ISsdListener {
 public:
  SsdProvider();
  SsdProvider(const SsdProvider&) = delete;
  SsdProvider& operator=(const SsdProvider&) = delete;

  void SsdFailureImminent(std::string model, std::string serialNumber, std::string physicalDrive,
                          std::uint8_t percentageUsed) override;

  /// No event reaches the provider any more once this begins; resets `drvProvider`.
  ~SsdProvider() override;

  void setBroker(const CMPIBroker* theBroker) { broker = theBroker; }

  /// Starts the SSD driver and fills the cache. A failure is logged and leaves the provider
  /// uninitialised for good.
  void initialise(const CMPIContext* context);
  [[nodiscard]] bool isInitialised() const { return initialised; }

  // Instance operations. The property lists are ignored: every property is returned.
  CMPIStatus enumInstanceNames(CMPIInstanceMI* mi, const CMPIContext* context,
                               const CMPIResult* result, const CMPIObjectPath* path);
  CMPIStatus enumInstances(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                           const CMPIObjectPath* path, const char** properties);
  CMPIStatus getInstance(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                         const CMPIObjectPath* path, const char** properties);

  // Indication operations.
  CMPIStatus authorizeFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                             const CMPISelectExp* filter, const char* className,
                             const CMPIObjectPath* path, const char* owner);
  CMPIStatus mustPoll(CMPIIndicationMI* mi, const CMPIContext* context, const CMPISelectExp* filter,
                      const char* className, const CMPIObjectPath* path);
  CMPIStatus activateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                            const CMPISelectExp* filter, const char* className,
                            const CMPIObjectPath* path, std::uint8_t firstActivation);
  CMPIStatus deActivateFilter(CMPIIndicationMI* mi, const CMPIContext* context,
                              const CMPISelectExp* filter, const char* className,
                              const CMPIObjectPath* path, std::uint8_t lastActivation);
  void enableIndications(CMPIIndicationMI* mi, const CMPIContext* context);
  void disableIndications(CMPIIndicationMI* mi, const CMPIContext* context);

  /// Closes the gate for indications and unregisters from the core.
  void indicationCleanup();

  /// The key of an SSD: the three texts joined by "___".
  [[nodiscard]] static std::string makeDeviceID(const std::string& model,
                                                const std::string& serialNumber,
                                                const std::string& physicalDrive);
  [[nodiscard]] static bool isCimV2Namespace(const char* name);
  [[nodiscard]] static bool isKavInstanceClass(const char* name);
  [[nodiscard]] static bool isKavIndicationClass(const char* name);

 private:
  using Monitors = std::vector<KAV_SSDLifeMonitor>;
  struct Enumeration;

  /// What getSsdIndex answers when there is no such entry.
  static constexpr std::uint32_t kNoSuchSsd = 0xFFFFFFFF;

  SSD_CODE initSsdProvider();

  /// Reads all drives and rebuilds the cache; on failure the cache stays as it was.
  SSD_CODE update() VEKSSD_EXCLUDES(cacheMutex);
  [[nodiscard]] static KAV_SSDLifeMonitor makeMonitor(const SsdInformation& information);
  /// The cache as it is at this moment, for one request.
  [[nodiscard]] Monitors snapshot() VEKSSD_EXCLUDES(cacheMutex);
  [[nodiscard]] std::uint32_t getSsdIndex(const std::string& deviceID) const
      VEKSSD_REQUIRES(cacheMutex);
  /// Marks the entry; false if there is none.
  [[nodiscard]] bool markFailing(const std::string& deviceID) VEKSSD_EXCLUDES(cacheMutex);

  CMPIStatus enumerate(const Enumeration& kind, const CMPIResult* result,
                       const CMPIObjectPath* path);
  [[nodiscard]] CMPIrc returnAll(const Enumeration& kind, const CMPIResult* result);
  [[nodiscard]] CMPIrc returnFirstMatch(const CMPIResult* result, const CMPIObjectPath* path);

  void prepareIndicationContext(const CMPIContext* context) VEKSSD_EXCLUDES(cacheMutex);
  [[nodiscard]] std::shared_ptr<CMPIContext> indicationContext() VEKSSD_EXCLUDES(cacheMutex);
  void sendIndication(const std::string& deviceID, const std::string& physicalDrive,
                      const std::shared_ptr<CMPIContext>& context);

  bool initialised = false;
  const CMPIBroker* broker = nullptr;
  std::int32_t reserved = 0;
  std::int32_t activeIndSubscriptions = 0;
  std::atomic<bool> indicationsEnabled{false};
  /// Prepared once for the indication threads; one that begins shares it until it has its own.
  std::shared_ptr<CMPIContext> indCtx VEKSSD_GUARDED_BY(cacheMutex);
  std::unique_ptr<SsdApi> service;
  Monitors monitors VEKSSD_GUARDED_BY(cacheMutex);
  /// Guards what the events read. Never held over a call to the broker or the core.
  Mutex cacheMutex;
};

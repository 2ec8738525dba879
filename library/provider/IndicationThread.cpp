#include "provider/IndicationThread.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <utility>

#include <pthread.h>
#include <unistd.h>

#include <cmpi/cmpimacs.h>

#include "base/NoCancellation.h"
#include "log/Log.h"
#include "provider/CimNames.h"
#include "provider/CmpiUtils.h"
#include "provider/Containment.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kLongestDelivery{10};
constexpr std::chrono::seconds kLongestBeginning{1};

/// Threads that were asked for and have not begun: brokers don't tell whether they will.
std::atomic<int> threadsToCome{0};
std::atomic<Clock::time_point> lastStart{Clock::time_point()};
/// Threads that run this library's code, which must stay mapped until they are through.
std::atomic<int> threadsInside{0};
std::atomic<bool> someThreadRan{false};

template <typename Work>
bool guarded(Work work) {
  return succeeds("indicateThread", "indicateThread - Unknown Exception", work);
}

/// Attaches the calling thread to a broker that can start threads only from one that it knows;
/// detaches it when it goes.
///
/// Pegasus looks up the caller's own broker context in newThread and doesn't expect to find none,
/// as on a polling thread: its agent dies. Every other broker takes callers as they are, so nothing
/// is done for them.
class CallerAttachment {
 public:
  CallerAttachment(const CMPIBroker* broker, const CMPIContext* context) : broker_(broker) {
    const char* name = broker->bft->brokerName;
    if (name != nullptr && std::strcmp(name, "Pegasus") == 0) {
      context_ = CBPrepareAttachThread(broker, context);
      if (context_ != nullptr) {
        (void)CBAttachThread(broker, context_);
      }
    }
  }
  ~CallerAttachment() {
    if (context_ != nullptr) {
      const NoCancellation whileDetaching;
      (void)succeeds("SsdProvider::SsdFailureImminent - sendIndication",
                     "SsdProvider::SsdFailureImminent - sendIndication - Unknown Exception",
                     [this] { (void)CBDetachThread(broker_, context_); });
    }
  }
  CallerAttachment(const CallerAttachment&) = delete;
  CallerAttachment& operator=(const CallerAttachment&) = delete;

 private:
  const CMPIBroker* broker_;
  CMPIContext* context_ = nullptr;
};

void deliver(const IndicationArguments& arguments, const CMPIContext* context) {
  const CMPIBroker* broker = arguments.broker;
  CMPIObjectPath* path = Utils::MakeNewObjectPath(broker, kCimNamespace, kIndicationClass);
  CMPIInstance* indication = Utils::MakeNewInstance(broker, path);
  Utils::SetCharsProperty(indication, kDeviceIdProperty, arguments.deviceID.c_str());
  Utils::SetCharsProperty(indication, "PhysicalDrive", arguments.physicalDrive.c_str());
  CMPIDateTime* now = Utils::MakeNewDateTime(broker);
  Utils::SetDateTimeProperty(indication, "IndicationTime", now);
  Utils::deliverIndication(broker, context, kCimNamespace, indication);
}

/// Attaches this thread to the broker, delivers, detaches. A context whose attachment failed is
/// released and detached all the same: that is what brokers' own accounts of threads expect.
/// `providers` is given up once the thread has a context of its own.
void deliverAttached(const IndicationArguments& arguments, std::shared_ptr<CMPIContext> providers) {
  const CMPIBroker* broker = arguments.broker;
  CMPIContext* context = nullptr;
  CMPIStatus status = {CMPI_RC_ERR_FAILED, nullptr};
  const bool answered = guarded([&] {
    if (providers != nullptr) {
      context = CBPrepareAttachThread(broker, providers.get());
      providers.reset();
    }
    if (context != nullptr) {
      status = CBAttachThread(broker, context);
    }
  });
  if (status.rc == CMPI_RC_OK) {
    (void)guarded([&] { deliver(arguments, context); });
  } else if (answered) {
    Log(LOG_LEVEL_ERROR, "indicateThread - CMAttachThread: CMPIStatus %i", status.rc);
  }
  if (context != nullptr && status.rc != CMPI_RC_OK) {
    (void)guarded([&] { (void)CMRelease(context); });
  }
  if (context != nullptr) {
    (void)guarded([&] { (void)CBDetachThread(broker, context); });
  }
}

/// Counts a thread in when it begins, and out when it leaves, be it by a host's cancellation.
class Visit {
 public:
  Visit() {
    ++threadsInside;  // before the other one falls: there is no moment at which it is in neither
    --threadsToCome;
    someThreadRan = true;
  }
  ~Visit() { --threadsInside; }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;
};

CMPI_THREAD_RETURN CMPI_THREAD_CDECL indicateThread(void* parameter) {
  const Visit visit;
  std::unique_ptr<IndicationArguments> arguments(static_cast<IndicationArguments*>(parameter));
  std::shared_ptr<CMPIContext> providers = arguments->context.lock();
  std::fprintf(stderr, "IndicateThread - 0x%lx\n", static_cast<unsigned long>(pthread_self()));
  std::fprintf(stderr, "IndicateThread - PhysicalDrive=%s, DeviceID=%s, ind_ctx=%p, broker=%p\n",
               arguments->physicalDrive.c_str(), arguments->deviceID.c_str(),
               static_cast<void*>(providers.get()), static_cast<const void*>(arguments->broker));
  deliverAttached(*arguments, std::move(providers));
  arguments.reset();
  std::fputs("IndicateThread - Exit\n", stderr);
  return nullptr;
}

}  // namespace

void startIndicationThread(std::unique_ptr<IndicationArguments> arguments) {
  const CMPIBroker* broker = arguments->broker;
  const std::shared_ptr<CMPIContext> context = arguments->context.lock();
  const CallerAttachment attachment(broker, context.get());
  lastStart = Clock::now();
  ++threadsToCome;
  // The thread owns its arguments. The result says nothing: brokers answer null for a detached
  // thread that runs.
  constexpr int kDetached = 1;
  (void)broker->xft->newThread(indicateThread, arguments.release(), kDetached);
}

void awaitIndicationThreads() {
  constexpr useconds_t kStepMicroseconds = 1000;
  constexpr useconds_t kWayOutMicroseconds = 50000;
  const Clock::time_point began = Clock::now();
  const auto wanted = [began] {
    const Clock::time_point now = Clock::now();
    return (threadsInside > 0 && now < began + kLongestDelivery) ||
           (threadsToCome > 0 && now < lastStart.load() + kLongestBeginning);
  };
  while (wanted()) {
    usleep(kStepMicroseconds);
  }
  // For the last one's way out of this library, be the machine ever so busy: it has said that it is
  // through, and yet has a few instructions left.
  if (someThreadRan) {
    usleep(kWayOutMicroseconds);
  }
}

void forgetIndicationThreads() {
  threadsToCome = 0;
  threadsInside = 0;
  someThreadRan = false;
}

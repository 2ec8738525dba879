#include "provider/IndicationThread.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include <pthread.h>
#include <unistd.h>

#include <cmpi/cmpimacs.h>

#include "log/Log.h"
#include "provider/CimNames.h"
#include "provider/CmpiUtils.h"
#include "provider/FailureLog.h"

namespace {

/// Threads started and not ended yet. Nobody joins them, but the library's code must stay mapped
/// until they are through.
std::atomic<int> runningThreads{0};
std::atomic<bool> someThreadRan{false};

/// Runs after the static objects have gone, and with them the polling threads that could start
/// another indication. The wait is bounded: a delivery may itself be waiting for this unloading.
__attribute__((destructor(101))) void awaitIndicationThreads() {
  constexpr useconds_t kStepMicroseconds = 1000;
  constexpr int kMostSteps = 2000;
  constexpr useconds_t kWayOutMicroseconds = 50000;
  if (!someThreadRan) {
    return;
  }
  for (int step = 0; runningThreads != 0 && step < kMostSteps; ++step) {
    usleep(kStepMicroseconds);
  }
  // For the last one's way out of this library, be the machine ever so busy: it has said that it is
  // through, and yet has a few instructions left.
  usleep(kWayOutMicroseconds);
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
      (void)CBDetachThread(broker_, context_);
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
void deliverAttached(IndicationArguments& arguments) {
  const CMPIBroker* broker = arguments.broker;
  CMPIContext* context = CBPrepareAttachThread(broker, arguments.context.get());
  arguments.context.reset();
  CMPIStatus status = {CMPI_RC_ERR_FAILED, nullptr};
  if (context != nullptr) {
    status = CBAttachThread(broker, context);
  }
  if (status.rc != CMPI_RC_OK) {
    Log(LOG_LEVEL_ERROR, "indicateThread - CMAttachThread: CMPIStatus %i", status.rc);
    if (context != nullptr) {
      (void)CMRelease(context);
    }
  } else {
    (void)succeeds("indicateThread", "indicateThread - Unknown Exception",
                   [&] { deliver(arguments, context); });
  }
  if (context != nullptr) {
    (void)CBDetachThread(broker, context);
  }
}

/// Counts a thread out when it leaves, be it by a host's cancellation.
class Departure {
 public:
  Departure() = default;
  ~Departure() { --runningThreads; }
  Departure(const Departure&) = delete;
  Departure& operator=(const Departure&) = delete;
};

CMPI_THREAD_RETURN CMPI_THREAD_CDECL indicateThread(void* parameter) {
  const Departure departure;
  std::unique_ptr<IndicationArguments> arguments(static_cast<IndicationArguments*>(parameter));
  std::fprintf(stderr, "IndicateThread - 0x%lx\n", static_cast<unsigned long>(pthread_self()));
  std::fprintf(stderr, "IndicateThread - PhysicalDrive=%s, DeviceID=%s, ind_ctx=%p, broker=%p\n",
               arguments->physicalDrive.c_str(), arguments->deviceID.c_str(),
               static_cast<void*>(arguments->context.get()),
               static_cast<const void*>(arguments->broker));
  deliverAttached(*arguments);
  arguments.reset();
  std::fputs("IndicateThread - Exit\n", stderr);
  return nullptr;
}

}  // namespace

void startIndicationThread(std::unique_ptr<IndicationArguments> arguments) {
  const CMPIBroker* broker = arguments->broker;
  const std::shared_ptr<CMPIContext> context = arguments->context;
  const CallerAttachment attachment(broker, context.get());
  ++runningThreads;
  someThreadRan = true;
  // The thread owns its arguments. The result says nothing: brokers answer null for a detached
  // thread that runs.
  constexpr int kDetached = 1;
  (void)broker->xft->newThread(indicateThread, arguments.release(), kDetached);
}

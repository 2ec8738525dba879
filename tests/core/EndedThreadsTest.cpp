// A host may end a thread (pthread_cancel, pthread_exit) that is in the middle of the library: one
// of its own that initialises the core, or a polling thread while it is told of an event.

#include <future>
#include <memory>
#include <thread>

#include <pthread.h>

#include "core/SsdDevice.h"
#include "core/SsdManager.h"
#include "tests/core/CoreTest.h"

using namespace testkit;

namespace {

/// Ends the first thread that tells it of an event.
class EndingListener : public ISsdDeviceListener {
 public:
  void SsdDeviceFailureImminent(SsdDevice& /*device*/) override {
    told_.set_value();
    pthread_exit(nullptr);
  }
  void waitUntilTold() { told_.get_future().wait(); }

 private:
  std::promise<void> told_;
};

class EndedThreads : public CoreTest {
 protected:
  EndedThreads() : CoreTest("PollRate=1\n") {}

  static void initialiseAndEnd(SsdManager& manager) {
    std::thread([&manager] {
      (void)manager.initialise();
      ADD_FAILURE() << "the thread went on";
    }).join();
    SsdInformationList list;
    EXPECT_EQ(manager.getSsdInformationList(list), SSD_NOT_INITIALISED);
    root().verify();
  }
};

}  // namespace

TEST_F(EndedThreads, LeaveTheCoreToBeInitialisedOnceMore) {
  SsdManager manager;
  root().addFixedDisk("sda");
  root().endThreadAt("fopen", "/sys/block/sda/removable");
  initialiseAndEnd(manager);
  root().setBlockDevices({});
  root().setNodes({"/dev/nvme0"});
  kernel().willRefuseOpen("/dev/nvme0", O_RDONLY | O_NONBLOCK, EIO);
  kernel().meanwhile([] { pthread_exit(nullptr); });
  initialiseAndEnd(manager);
  root().setNodes({});
  EXPECT_EQ(manager.initialise(), SSD_SUCCESS);
}

TEST_F(EndedThreads, OfADriveAreJoinedAllTheSame) {
  EndingListener listener;
  auto device = std::make_unique<SsdDevice>();
  willEnableSmart("/dev/sda");
  willReadP4("/dev/sda", 1);
  willReadP4("/dev/sda", 96);
  EXPECT_TRUE(device->initialise(ataDrive(kP4), "sda", "/dev/sda", &listener));
  listener.waitUntilTold();
  SsdInformation information;
  device->copySsdInformation(information);
  EXPECT_EQ(information.percentageUsed, 96);
  takeLog();
  device.reset();
  const std::string thread = low32(threads().created()[0]);
  EXPECT_EQ(takeLog(), (Lines{"Trace: PollingThread::terminate entered",
                              "Debug: PollingThread::Terminate - pthread_join(" + thread +
                                  ", 0)...done rc=0x00000000",
                              "Debug: PollingThread::Terminate - thread terminated",
                              "Debug: SsdDevice destroyed", "Debug: PollingThread Destroyed"}));
}

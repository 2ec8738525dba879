#include "core/SsdDeviceList.h"

#include <memory>
#include <stdexcept>

#include "core/SsdDevice.h"
#include "tests/core/CoreTest.h"

using namespace testkit;

namespace {

class DeviceList : public CoreTest {
 protected:
  /// A device with this serial number, which has been set up and runs.
  static SsdDevice* device(const std::string& serialNumber) {
    auto* made = new SsdDevice;
    IdentifyData identify = nvmeDrive("M");
    identify.serialNumber = serialNumber;
    willReadHealth("/dev/nvme0", 1, 1);
    EXPECT_TRUE(made->initialise(identify, "nvme0", "/dev/nvme0", nullptr));
    threads().waitUntilAllSleep();
    return made;
  }
};

}  // namespace

TEST_F(DeviceList, IsEmptyAtFirst) {
  {
    const SsdDeviceList list;
    EXPECT_EQ(list.getNumSsdDevices(), 0);
    EXPECT_EQ(list.getSsdDeviceAt(0), nullptr);
  }
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SsdDeviceList constructed", "Debug: SsdDeviceList destroyed"}));
}

TEST_F(DeviceList, KeepsDevicesInTheOrderOfTheirAdding) {
  SsdDevice* first = device("1");
  SsdDevice* second = device("2");
  SsdDeviceList list;
  list.add(first);
  EXPECT_EQ(list.getNumSsdDevices(), 1);
  list.add(second);
  EXPECT_EQ(list.getNumSsdDevices(), 2);
  EXPECT_EQ(list.getSsdDeviceAt(0), first);
  EXPECT_EQ(list.getSsdDeviceAt(1), second);
  EXPECT_EQ(list.getSsdDeviceAt(2), nullptr);
  EXPECT_EQ(list.getSsdDeviceAt(3), nullptr);
}

TEST_F(DeviceList, ThrowsBelowNought) {
  SsdDeviceList list;
  EXPECT_THROW((void)list.getSsdDeviceAt(-1), std::out_of_range);
  list.add(device("1"));
  EXPECT_THROW((void)list.getSsdDeviceAt(-1), std::out_of_range);
}

TEST_F(DeviceList, LogsASerialNumberThatTheLocaleConverts) {
  SsdDeviceList list;
  SsdDevice* one = device("S");
  takeLog();
  list.add(one);
  EXPECT_EQ(takeLog(),
            Lines{"Debug: SsdDeviceList::add - adding SSD device - serial=[S] - to list"});
  SsdDevice* none = device("");
  takeLog();
  list.add(none);
  EXPECT_EQ(takeLog(),
            Lines{"Debug: SsdDeviceList::add - adding SSD device - serial=[] - to list"});
}

TEST_F(DeviceList, DropsTheLineOfASerialNumberThatTheLocaleDoesNotConvert) {
  SsdDeviceList list;
  SsdDevice* usual = device("123456789012");
  takeLog();
  list.add(usual);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(DeviceList, DeletesItsDevicesInOrderWithTheirThreadsStoppedFirst) {
  {
    SsdDeviceList list;
    list.add(device("1"));
    list.add(device("2"));
    takeLog();
  }
  const Lines gone = {"Debug: SsdDevice destroyed", "Debug: PollingThread Destroyed"};
  EXPECT_EQ(takeLog(),
            stopLines(0) + gone + stopLines(1) + gone + Lines{"Debug: SsdDeviceList destroyed"});
  EXPECT_EQ(threads().alive(), 0U);
}

TEST_F(DeviceList, KeepsItsLengthWhenCleared) {
  static auto* list = new SsdDeviceList;  // its destructor would clear it again
  list->add(device("1"));
  list->add(device("2"));
  list->clear();
  EXPECT_EQ(list->getNumSsdDevices(), 2);
  EXPECT_EQ(threads().alive(), 0U);
}

// Which NVMe controllers a manager finds.

#include <string>
#include <vector>

#include <glob.h>

#include "core/SsdManager.h"
#include "tests/core/SsdManagerTest.h"
#include "tests/support/CapturedStream.h"

using namespace testkit;

TEST_F(Manager, FindsTenNvmeControllersInTheirOrderAndNoNamespace) {
  std::vector<std::string> nodes = {"/dev/nvme10", "/dev/nvme0n1", "/dev/nvme",
                                    "/dev/nvme-fabrics"};
  std::string identified;
  for (int i = 9; i >= 0; --i) {
    nodes.push_back("/dev/nvme" + std::to_string(i));
  }
  for (int i = 0; i < 10; ++i) {
    const std::string name = "nvme" + std::to_string(i);
    willFindNvme(name, static_cast<std::uint8_t>(i));
    identified += "Indentified: /dev/" + name + "\n";
  }
  root().setNodes(nodes);
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(output.text(), identified);
  EXPECT_EQ(log_.back(), foundDevices(10));
  const Lines calls = root().takeCalls();
  EXPECT_EQ(calls.back(), "glob /dev/nvme[0-9] 1");  // the result is kept
}

TEST_F(Manager, LogsTheFindingOfAnNvmeDriveInThisOrder) {
  root().setNodes({"/dev/nvme0"});
  willFindNvme("nvme0", 42);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  const std::string device = withoutAddresses();
  EXPECT_EQ(log_,
            (kBiosLines + Lines{
                              "Debug: Model Number: KINGSTON SNVS250G",
                              "Debug: Serial Number: 50026B7684A1B2C3",
                              "Debug: Firmware Version: S8442101",
                              "Debug: PollingThread constructed - pollingRate=10",
                              "Debug: SsdDevice constructed",
                              "Trace: SsdDevice::initialise - drive nvme0 devPath /dev/nvme0, "
                              "listener=0x",
                              "Debug: using defult DEF_SSDNVME_LOG_ALGO Statistics Log algo",
                              "Trace: SsdDevice::getSsdData",
                              readingLine(100, 42),
                              "Debug: PollingThread::initialise - _ssdDevice=" + device,
                              startedLine(),
                              foundDevices(1),
                          }));
  SsdInformationList list;
  willReadHealth("/dev/nvme0", 43, 101);
  EXPECT_EQ(manager_->getSsdInformationList(list), SSD_SUCCESS);
  EXPECT_EQ(list.at(0).physicalDrive, "nvme0");
  EXPECT_EQ(list.at(0).percentageUsedSource, 2);
}

TEST_F(Manager, SaysIndentifiedEvenOfAControllerThatCannotBeAdded) {
  root().setNodes({"/dev/nvme0", "/dev/nvme1"});
  willFindNvme("nvme0", 1);
  threads().refuseNext(EAGAIN);
  willFindNvme("nvme1", 1);
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(output.text(), "Indentified: /dev/nvme0\nIndentified: /dev/nvme1\n");
  EXPECT_EQ(log_.back(), foundDevices(1));
  EXPECT_FALSE(hasLogged(failedToAdd("nvme0")));
}

TEST_F(Manager, SaysIndentifiedOnlyAfterAddingTheController) {
  root().setNodes({"/dev/nvme0"});
  willFindNvme("nvme0", 1);
  const CapturedStream output(stdout);
  std::string before = "never read";
  kernel().meanwhile([&] { before = output.text(); });  // when the first reading ends
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(before, "");
  EXPECT_EQ(output.text(), "Indentified: /dev/nvme0\n");
}

TEST_F(Manager, SaysNothingOfAControllerThatDoesNotIdentifyItself) {
  root().setNodes({"/dev/nvme0", "/dev/nvme1"});
  kernel().willRefuseOpen("/dev/nvme0", O_RDONLY | O_NONBLOCK, ENODEV);
  willFindNvme("nvme1", 1);
  const CapturedStream output(stdout);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(output.text(), "Indentified: /dev/nvme1\n");
}

TEST_F(Manager, ReportsThatGlobHasNoMemory) {
  root().failGlob(GLOB_NOSPACE);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_, (kBiosLines +
                   Lines{"Error: SsdManager::scanNVMeDevice - GLOB_NOSPACE", foundDevices(0)}));
  EXPECT_EQ(root().takeCalls().back(), "globfree");
}

TEST_F(Manager, IsSilentWhenGlobCannotRead) {
  root().failGlob(GLOB_ABORTED);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  EXPECT_EQ(log_, (kBiosLines + Lines{foundDevices(0)}));
  EXPECT_EQ(root().takeCalls().back(), "globfree");
}

TEST_F(Manager, FindsBlockDevicesBeforeNvmeControllers) {
  root().setNodes({"/dev/nvme0"});
  willFindP4("sda", 1);
  willFindNvme("nvme0", 2);
  EXPECT_EQ(initialise(), SSD_SUCCESS);
  willReadP4("/dev/sda", 3);
  willReadHealth("/dev/nvme0", 4, 1);
  EXPECT_EQ(listed(), (Lines{"sda 3", "nvme0 4"}));
}

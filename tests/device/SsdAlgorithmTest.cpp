#include <algorithm>

#include "device/SanDiskAlgo.h"
#include "device/SolidStateLogStatisticsAlgo.h"
#include "device/SolidStateLogStatisticsNVMeAlgo.h"
#include "tests/device/DeviceTest.h"
#include "tests/support/VirtualSlots.h"

using namespace testkit;

namespace {

class SanDisk : public DeviceTest {
 protected:
  bool read(const std::vector<Attribute>& attributes) {
    willReadAttributes("/dev/sda", attributes);
    return algorithm_.getSsdValues("/dev/sda", values_);
  }

  SanDiskAlgo algorithm_;
  SsdValues values_;
};

class Statistics : public DeviceTest {
 protected:
  explicit Statistics(const std::string& settings = "") : DeviceTest(settings) {
    values_.percentageUsed = 17;
    values_.poweredOnHours = 18;
  }

  bool read() { return algorithm_.getSsdValues("/dev/sda", values_); }

  static void willFailStatistics() { kernel().willRefuseOpen("/dev/sda", O_RDONLY, EIO); }

  static Lines errorsIn(const Lines& log) {
    Lines errors;
    for (const std::string& line : log) {
      if (line.compare(0, 6, "Error:") == 0) {
        errors.push_back(line);
      }
    }
    return errors;
  }

  SolidStateLogStatisticsAlgo algorithm_;
  SsdValues values_;
};

class TracedStatistics : public Statistics {
 protected:
  TracedStatistics() : Statistics("DebugTraceAttributes=1\n") {}
};

class NvmeStatistics : public DeviceTest {
 protected:
  SolidStateLogStatisticsNVMeAlgo algorithm_;
  SsdValues values_;
};

constexpr char kStatisticsFailed[] =
    "Error: SolidStateLogStatisticsAlgo::getSsdSmartValues - failed to get data from SSD Device "
    "Statistics log";
constexpr char kSectorFailed[] =
    "Error: SolidStateLogStatisticsAlgo::getSsdSmartValues - failed to get data from SMART Values "
    "sector";

}  // namespace

// The order by which support finds its way in a core dump.
TEST(SsdAlgorithm, ReadsAndTellsItsSourceBehindItsDestructor) {
  EXPECT_EQ(slotOf(&SsdAlgorithm::getSsdValues), 2U);
  EXPECT_EQ(slotOf(&SsdAlgorithm::getPercentageUsedSource), 3U);
}

TEST_F(SanDisk, HasAVendorAttributeForItsSource) {
  EXPECT_EQ(algorithm_.getPercentageUsedSource(), 3);
}

TEST_F(SanDisk, TakesTheNormalisedValueOf230AndTheHoursOf9) {
  EXPECT_TRUE(read({{9, 55, 8760}, {230, 97, 4711, 0, 3}, {231, 1}}));
  EXPECT_EQ(values_.percentageUsed, 97);
  EXPECT_EQ(values_.poweredOnHours, 8760U);
  EXPECT_EQ(values_.attributes.size(), 3U);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(SanDisk, TakesTheFirstOfTwoAttributesOfOneId) {
  EXPECT_TRUE(read({{230, 10}, {9, 1, 100}, {230, 20}, {9, 1, 200}}));
  EXPECT_EQ(values_.percentageUsed, 10);
  EXPECT_EQ(values_.poweredOnHours, 100U);
}

TEST_F(SanDisk, Without230DoesNotKnowThePercentageButTheHours) {
  EXPECT_TRUE(read({{9, 1, 8760}, {229, 97}}));
  EXPECT_EQ(values_.percentageUsed, 255);
  EXPECT_EQ(values_.poweredOnHours, 8760U);
}

TEST_F(SanDisk, Without9KeepsTheHoursThatItWasGiven) {
  values_.poweredOnHours = 5;
  EXPECT_TRUE(read({{230, 97}}));
  EXPECT_EQ(values_.percentageUsed, 97);
  EXPECT_EQ(values_.poweredOnHours, 5U);
}

TEST_F(SanDisk, WithAnEmptyTableDoesNotKnowThePercentage) {
  values_.poweredOnHours = 5;
  EXPECT_TRUE(read({}));
  EXPECT_EQ(values_.percentageUsed, 255);
  EXPECT_EQ(values_.poweredOnHours, 5U);
}

TEST_F(SanDisk, FailsWithItsDriveAndChangesNothing) {
  values_.percentageUsed = 17;
  willFailAttributes("/dev/sda");
  EXPECT_FALSE(algorithm_.getSsdValues("/dev/sda", values_));
  EXPECT_EQ(values_.percentageUsed, 17);
  EXPECT_EQ(takeLog(),
            (Lines{"Debug: SmartIo::getSsdSmartValues - Open /dev/sda failed, 0x00000013",
                   "Error: SmartIo::getSsdSmartValues - failed to get value data, err=0x00000013",
                   "Error: SanDiskAlgo::getSsdSmartValues - failed to get data from SMART Values "
                   "sector"}));
}

TEST_F(Statistics, HaveTheStandardForTheirSource) {
  EXPECT_EQ(algorithm_.getPercentageUsedSource(), 2);
}

TEST_F(Statistics, ReadThePageFirstAndThenTheHours) {
  willReadStatistics("/dev/sda", 42, 8760);
  EXPECT_TRUE(read());
  EXPECT_EQ(values_.percentageUsed, 42);
  EXPECT_EQ(values_.poweredOnHours, 8760U);
  EXPECT_TRUE(values_.attributes.empty());
  EXPECT_EQ(errorsIn(takeLog()), Lines{});
}

TEST_F(Statistics, GiveNoHoursForADriveThatHasNone) {
  willReadStatistics("/dev/sda", 42, 0);
  EXPECT_TRUE(read());
  EXPECT_EQ(values_.poweredOnHours, 0U);
}

TEST_F(Statistics, ThatFailLeaveThePercentageUnknownAndTheHoursGood) {
  willFailStatistics();
  willReadAttributes("/dev/sda", {{9, 1, 8760}, {230, 97}});
  EXPECT_TRUE(read());
  EXPECT_EQ(values_.percentageUsed, 255);
  EXPECT_EQ(values_.poweredOnHours, 8760U);
  EXPECT_EQ(
      errorsIn(takeLog()),
      (Lines{"Error: SmartIo::getSsdDeviceStatisticsLogDataSpt - failed to get log directory, "
             "err=0x00000005",
             kStatisticsFailed}));
}

TEST_F(Statistics, OfADriveWithTooFewPagesAreUnknown) {
  const int fd = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willPassThrough(fd, 0x00, 0, {logDirectory({{4, 7}}), kGoodSense, kGood});
  kernel().willClose(fd);
  willReadAttributes("/dev/sda", {{9, 1, 100}});
  EXPECT_TRUE(read());
  EXPECT_EQ(values_.percentageUsed, 255);
  EXPECT_EQ(values_.poweredOnHours, 100U);
}

TEST_F(Statistics, AreNotPublishedWithoutTheSmartSector) {
  const int directory = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willPassThrough(directory, 0x00, 0, {logDirectory({{4, 8}}), kGoodSense, kGood});
  kernel().willClose(directory);
  const int page = kernel().willOpen("/dev/sda", O_RDONLY);
  kernel().willPassThrough(page, 0x04, 7, {statisticsPage(42), kGoodSense, kGood});
  kernel().willClose(page);
  willFailAttributes("/dev/sda");
  EXPECT_FALSE(read());
  EXPECT_EQ(values_.percentageUsed, 17);
  EXPECT_EQ(values_.poweredOnHours, 18U);
  EXPECT_EQ(errorsIn(takeLog()),
            (Lines{"Error: SmartIo::getSsdSmartValues - failed to get value data, err=0x00000013",
                   kSectorFailed}));
}

TEST_F(Statistics, AndSectorThatBothFailAreBothReported) {
  willFailStatistics();
  willFailAttributes("/dev/sda");
  EXPECT_FALSE(read());
  EXPECT_EQ(values_.percentageUsed, 17);
  const Lines errors = errorsIn(takeLog());
  ASSERT_EQ(errors.size(), 4U);
  EXPECT_EQ(errors[1], kStatisticsFailed);
  EXPECT_EQ(errors[3], kSectorFailed);
}

TEST_F(Statistics, TraceNoAttributesUnlessConfigured) {
  values_.traceAttributes = true;
  willReadStatistics("/dev/sda", 42, 8760);
  EXPECT_TRUE(read());
  for (const std::string& line : takeLog()) {
    EXPECT_EQ(line.find("Index:"), std::string::npos);
  }
}

TEST_F(TracedStatistics, TraceTheAttributesAsConfigured) {
  willReadStatistics("/dev/sda", 42, 8760);
  EXPECT_TRUE(read());
  const Lines log = takeLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), "Trace: Index: 9"), 1);
}

TEST_F(NvmeStatistics, HaveTheStandardForTheirSource) {
  EXPECT_EQ(algorithm_.getPercentageUsedSource(), 2);
}

TEST_F(NvmeStatistics, ComeFromTheHealthLog) {
  willReadHealth("/dev/nvme0", 42, 8760);
  EXPECT_TRUE(algorithm_.getSsdValues("/dev/nvme0", values_));
  EXPECT_EQ(values_.percentageUsed, 42);
  EXPECT_EQ(values_.poweredOnHours, 8760U);
  EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(NvmeStatistics, OfADriveThatCannotBeReadAreWhatTheyWere) {
  kernel().willRefuseOpen("/dev/nvme0", O_RDONLY | O_NONBLOCK, ENOENT);
  EXPECT_TRUE(algorithm_.getSsdValues("/dev/nvme0", values_));
  EXPECT_EQ(values_.percentageUsed, 0);
  EXPECT_EQ(values_.poweredOnHours, 0U);
  EXPECT_EQ(takeLog(),
            (Lines{"Error: SmartIo::getIdentifyNVMeData - Open /dev/nvme0 failed, 2",
                   "Error: SolidStateLogStatisticsNVMeAlgo::getSsdSmartValues - failed to get data "
                   "from SSD Device Statistics log"}));
}

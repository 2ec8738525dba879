#include "ssdlife/AbsentFigures.h"

#include "ssdlife/DriveNode.h"
#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

bool mayBeAbsent(const Drive& drive) {
  const bool nvme = drive.physicalDrive.compare(0, 4, "nvme") == 0;
  return nvme && drive.percentageUsed == 0U && drive.poweredOnHours.value_or(0) == 0;
}

}  // namespace

void noteReadError(Drive& drive) {
  if (!mayBeAbsent(drive)) {
    return;
  }
  try {
    const DriveAnswer answer = DriveNode("/dev/" + drive.physicalDrive).nvmeHealthLog();
    if (!answer.done) {
      drive.readError = answer.words;
    }
  } catch (const Failure& unopened) {
    drive.readError = unopened.what();
  }
}

}  // namespace ssdlife

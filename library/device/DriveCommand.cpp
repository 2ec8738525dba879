#include "device/DriveCommand.h"

#include <cerrno>

#include <sys/ioctl.h>

bool issueDriveCommand(int fd, unsigned long request, void* argument) {
  const int result = ioctl(fd, request, argument);
  if (result > 0) {
    errno = EIO;
  }
  return result == 0;
}

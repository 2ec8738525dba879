#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The world that a fuzzed input meets: the fuzzers' own definitions of open, ioctl, fopen and the
// like answer the library, with what the input says. Everything that isn't the library's own path
// goes to the system. One thread.
namespace world {

/// The drive that answers. A scan finds two more, /dev/nvme0 and /dev/nvme1, which answer alike.
constexpr char kDrive[] = "/dev/drive";

/// Answers an ioctl on the drive as the kernel would: 0, or -1 with `errno`, or an NVMe status.
using DriveAnswer = int (*)(unsigned long request, void* argument);

/// How the drive answers from now on.
void answerDrive(DriveAnswer answer);

/// What the file at `path` holds from now on; the library sees no other files but those given so.
void setFile(const std::string& path, std::string_view content);

/// Descriptors of the drive that are open at this moment.
int openDrives();

/// The number at the end of the node that was opened last.
int currentDrive();

/// The text that was logged since the last call.
std::string takeLog();

/// Bytes of an input, taken from its front; zeros when it has run out.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  std::uint8_t byte();
  void fill(void* buffer, std::size_t length);
  std::string_view rest();

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

/// Ends the process, which is what makes a finding of it.
void require(bool condition, const char* what);

}  // namespace world

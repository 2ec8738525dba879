#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ssdlife {

// What came back from one command.
struct DriveAnswer {
  bool done = false;
  std::string words;  // how it ended, for a reader: the error, or registers where there are some
  std::vector<std::uint8_t> data;
};

// A drive's node in /dev, and the commands that the provider sends to it, the same to the byte. For
// one thread.
class DriveNode {
 public:
  // Throws Failure when the node can't be opened.
  explicit DriveNode(const std::string& path);
  ~DriveNode();
  DriveNode(const DriveNode&) = delete;
  DriveNode& operator=(const DriveNode&) = delete;

  // IDENTIFY DEVICE data as the kernel keeps it: texts in reading order.
  [[nodiscard]] DriveAnswer ataIdentify() const;

  // The SMART command by HDIO_DRIVE_CMD. `sector` is the log address of SMART READ LOG.
  [[nodiscard]] DriveAnswer smart(std::uint8_t feature, std::uint8_t sector,
                                  std::uint8_t sectors) const;

  // READ LOG EXT of one page through SCSI/ATA translation, judged by the registers that come back.
  [[nodiscard]] DriveAnswer readLogExt(std::uint8_t log, std::uint8_t page) const;

  [[nodiscard]] DriveAnswer nvmeIdentifyController() const;
  [[nodiscard]] DriveAnswer nvmeHealthLog() const;

 private:
  [[nodiscard]] DriveAnswer nvme(std::uint8_t opcode, std::uint32_t namespaceId,
                                 std::uint32_t dword10, std::uint32_t length) const;

  int descriptor_;
};

}  // namespace ssdlife

#pragma once

#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>

#include <array>
#include <cstdint>
#include <string>

#include "simulator/Machine.h"

namespace simulator::test {

// A machine from its text in a test.
MachineDescription machineOf(const std::string& json);

// The requests as a program would make them. Each owns the memory that the kernel would write into,
// and every byte that an answer leaves alone keeps its first value.

struct IdentityRequest {
  std::array<std::uint8_t, 512> data{};

  Reply ask(Drive& drive, const Circumstances& circumstances = {});
  [[nodiscard]] std::string text(std::size_t offset, std::size_t length) const;
  [[nodiscard]] unsigned word(std::size_t index) const;
};

struct DriveCmdRequest {
  explicit DriveCmdRequest(std::array<std::uint8_t, 4> header);
  std::array<std::uint8_t, 4 + 8 * 512> block{};

  Reply ask(Drive& drive, const Circumstances& circumstances = {});
  [[nodiscard]] std::string header() const;
  [[nodiscard]] const std::uint8_t* data() const { return block.data() + 4; }
};

// ATA PASS-THROUGH (16), READ LOG EXT with CK_COND unless changed.
struct LogRequest {
  static constexpr std::uint8_t kUntouched = 0xee;

  LogRequest(std::uint8_t log, std::uint8_t page);
  LogRequest(const LogRequest&) = delete;
  LogRequest& operator=(const LogRequest&) = delete;

  std::array<std::uint8_t, 16> block{0x85, 0x09, 0x2e};
  std::array<std::uint8_t, 32> sense{};
  std::array<std::uint8_t, 512> data{};
  sg_io_hdr_t header{};

  Reply ask(Drive& drive, const Circumstances& circumstances = {});
  [[nodiscard]] DriveRequest request();
  // Sense bytes 0 to 21, the ones that callers look at.
  [[nodiscard]] std::string senseText() const;
};

struct NvmeRequest {
  static constexpr std::uint32_t kResultBefore = 0xeeeeeeee;

  NvmeRequest(std::uint8_t opcode, std::uint32_t nsid, std::uint32_t cdw10, std::uint32_t length);

  nvme_admin_cmd command{};
  Bytes data;

  Reply ask(Drive& drive, const Circumstances& circumstances = {});
};

Reply askNamespaceId(Drive& drive);

}  // namespace simulator::test

// An NVMe controller as the admin queue shows it: identify data, health log, registers. Keys of
// its description:
//   model, serial, firmware   identify texts
//   namespaces                NN (default 1); none of them is active, so no I/O is ever asked for
//   percentage                Percentage Used
//   hours                     Power On Hours, up to 128 bits
//   reject = OPCODE SELECTOR STATUS   the command is refused with the status; repeated
//   result = OPCODE SELECTOR VALUE    the command succeeds with a result field; repeated
// Numbers are decimal or begin with 0x. The selector is the CNS of an identify (opcode 0x06) and
// the log identifier of a get log page (0x02).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/vm/drives/DriveFile.h"

namespace vm {

// The opcode of all Fabrics commands (NVMe-oF 3 "Commands").
constexpr std::uint8_t kFabricsCommand = 0x7f;

// A submission queue entry's fields that the target looks at.
struct NvmeCommand {
  std::array<std::uint8_t, 64> bytes{};

  [[nodiscard]] std::uint8_t opcode() const { return bytes[0]; }
  [[nodiscard]] std::uint16_t id() const;
  [[nodiscard]] std::uint32_t namespaceId() const;
  [[nodiscard]] std::uint32_t dword(int number) const;  // 10 to 15
};

struct NvmeAnswer {
  std::uint16_t status = 0;  // without the phase bit
  std::uint64_t result = 0;
  std::vector<std::uint8_t> data;
  bool none = false;  // the command stays outstanding
};

// Reads the description anew for each command, so that a test changes a drive by changing its
// file. Not thread-safe; each connection has its own.
class Controller {
 public:
  // The description is the file path; the commands that arrive are appended to path + ".log",
  // one line each: opcode, namespace id, command dwords 10 and 11, in hexadecimal.
  explicit Controller(std::string path, std::string nqn);

  [[nodiscard]] NvmeAnswer execute(const NvmeCommand& command);

 private:
  [[nodiscard]] NvmeAnswer executeFabrics(const NvmeCommand& command);
  [[nodiscard]] NvmeAnswer executeAdmin(const NvmeCommand& command) const;
  [[nodiscard]] NvmeAnswer getProperty(std::uint32_t offset) const;
  void setProperty(std::uint32_t offset, std::uint64_t value);
  void record(const NvmeCommand& command) const;

  std::string path_;
  std::string nqn_;
  std::uint32_t configuration_ = 0;  // CC
};

}  // namespace vm

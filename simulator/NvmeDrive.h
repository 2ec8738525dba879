#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/Bytes.h"
#include "simulator/Drive.h"
#include "simulator/Wear.h"

struct nvme_passthru_cmd;

namespace simulator {

// An unsigned number of 128 bits, as the health log counts hours.
struct Wide {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
};

struct NvmeDescription {
  std::string node;
  std::string model;
  std::string serial;
  std::string firmware;
  std::uint32_t namespaces = 1;                    // NN
  std::vector<std::uint32_t> activeNamespaces{1};  // those that have nodes of their own
  std::optional<std::int32_t> namespaceId;  // what the node answers to NVME_IOCTL_ID, if anything
  Wide hours;
  Wear wear = Wear::constant(0);
  std::uint8_t criticalWarning = 0;
  std::uint16_t temperature = 310;  // kelvin
  std::uint8_t spare = 100;
  std::uint8_t spareThreshold = 10;
  std::uint32_t gigabytes = 256;

  Bytes rawController;
  std::map<std::uint32_t, Bytes> rawNamespaces;  // by namespace id
  Bytes rawHealth;
};

// An NVMe controller behind its character device.
class NvmeDrive : public Drive {
 public:
  explicit NvmeDrive(NvmeDescription description);

  Reply answer(const DriveRequest& request, const Circumstances& circumstances) override;

 private:
  // Both return 0 and the data, or the status that rejects the command.
  int identify(const nvme_passthru_cmd& command, Bytes& data) const;
  int logPage(const nvme_passthru_cmd& command, double seconds, Bytes& data);
  Reply admin(const DriveRequest& request, const Circumstances& circumstances);
  [[nodiscard]] Bytes makeController() const;
  [[nodiscard]] Bytes makeNamespace(std::uint32_t id) const;
  Bytes makeHealth(double seconds);

  const NvmeDescription description_;
  std::atomic<std::uint64_t> readings_{0};
};

// The block device of one namespace: it knows its own id, and passes admin commands on.
class NvmeNamespace : public Drive {
 public:
  NvmeNamespace(NvmeDrive& controller, std::uint32_t id);

  Reply answer(const DriveRequest& request, const Circumstances& circumstances) override;

 private:
  NvmeDrive& controller_;
  const std::uint32_t id_;
};

}  // namespace simulator

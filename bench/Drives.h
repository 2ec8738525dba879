#pragma once

#include <cstdint>

#include "bench/BareCalls.h"
#include "core/SsdDevice.h"

/// The kinds of drive whose readings are measured.
namespace bench {

struct Kind {
  const char* node;
  const char* model;
  IdentifySource source;
  Reading expected;
  std::uint64_t requests;  ///< that one reading makes
  Reading (*readBare)(const char* node);
};

extern const Kind kNvme;
extern const Kind kSanDisk;
extern const Kind kStatistics;

/// A device as the manager sets it up. Never deleted: it has a polling thread.
SsdDevice& makeDevice(const Kind& kind);

}  // namespace bench

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ssdlife {

// An attribute that makers are known to keep the wear in.
struct WearCandidate {
  unsigned id;
  std::string meaning;
  unsigned normalised;
  std::uint64_t raw;
  std::string row;  // for a models file, if this is it; empty if neither value is a percentage
};

// Those in the SMART data sector of a drive of this model.
std::vector<WearCandidate> wearCandidates(const std::vector<std::uint8_t>& sector,
                                          const std::string& model);

}  // namespace ssdlife

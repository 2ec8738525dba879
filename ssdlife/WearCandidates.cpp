#include "ssdlife/WearCandidates.h"

#include <array>

#include "device/AtaFormat.h"
#include "device/Bytes.h"

namespace ssdlife {
namespace {

struct Known {
  unsigned id;
  const char* meaning;
};

// By the names that /usr/share/vekssdprov/models.conf gives sources for.
constexpr std::array<Known, 9> kKnown = {{
    {169, "lifetime remaining"},
    {173, "erase count"},
    {177, "wear levelling"},
    {202, "lifetime used or remaining"},
    {209, "lifetime remaining"},
    {230, "media wear"},
    {231, "life left"},
    {233, "media wear"},
    {248, "lifetime remaining"},
}};

bool isPercentage(std::uint64_t value) { return value <= 100; }

bool isNear(std::uint64_t one, std::uint64_t other) {
  return (one > other ? one - other : other - one) <= 2;
}

// How the values could be meant. Drives at hand are rather little worn than much.
std::string rule(unsigned normalised, std::uint64_t raw) {
  if (!isPercentage(normalised) || normalised == 0) {
    return isPercentage(raw) ? (raw > 50 ? "raw left" : "raw used") : "";
  }
  const std::string counts = normalised > 50 ? "current left" : "current used";
  if (isPercentage(raw) && isNear(normalised, raw)) {
    return counts + (normalised > 50 ? " agrees raw left" : " agrees raw used");
  }
  if (isPercentage(raw) && isNear(normalised + raw, 100)) {
    return counts + (normalised > 50 ? " agrees raw used" : " agrees raw left");
  }
  return counts;
}

}  // namespace

std::vector<WearCandidate> wearCandidates(const std::vector<std::uint8_t>& sector,
                                          const std::string& model) {
  using namespace ata::smart;
  std::vector<WearCandidate> found;
  for (std::size_t i = 0; i < kAttributeCount; ++i) {
    const std::uint8_t* const entry = sector.data() + kFirstAttributeOffset + i * kAttributeSize;
    for (const Known& known : kKnown) {
      if (entry[kIdOffset] == known.id) {
        const unsigned normalised = entry[kCurrentOffset];
        const std::uint64_t raw = bytes::littleEndian(entry, kRawOffset, kRawLength);
        const std::string text = rule(normalised, raw);
        found.push_back({known.id, known.meaning, normalised, raw,
                         text.empty() ? "" : model + '=' + std::to_string(known.id) + ' ' + text});
      }
    }
  }
  return found;
}

}  // namespace ssdlife

#include "ssdlife/DriveLookup.h"

#include <unistd.h>

#include <regex>

#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

constexpr const char* kNodes = "/dev/";

// "nvme0" of "nvme0n1p2", "sda" of "sda1".
std::string driveOfNode(const std::string& node) {
  static const std::regex form("(nvme[0-9]+|sd[a-z]+).*");
  std::smatch parts;
  return std::regex_match(node, parts, form) ? parts[1].str() : node;
}

}  // namespace

std::optional<std::string> nodeNamed(const std::string& text) {
  const std::string name = text.compare(0, 5, kNodes) == 0 ? text.substr(5) : text;
  const bool plain = !name.empty() && name.find('/') == std::string::npos && name[0] != '.';
  return plain && access((kNodes + name).c_str(), F_OK) == 0 ? std::optional(name) : std::nullopt;
}

Drive driveNamed(SsdClient& client, const std::string& text) {
  const auto node = nodeNamed(text);
  if (!node) {
    return client.get(text);
  }
  for (Drive& drive : client.list()) {
    if (drive.physicalDrive == driveOfNode(*node)) {
      return std::move(drive);
    }
  }
  throw Failure(ExitCode::kNothing, "the provider shows no SSD at " + (kNodes + *node));
}

}  // namespace ssdlife

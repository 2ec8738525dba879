#include "tests/vm/agreement/IoctlCase.h"

#include <fcntl.h>
#include <linux/hdreg.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace vm {
namespace {

using nlohmann::json;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kSectorSize = 512;

Bytes parseHex(const std::string& text) {
  std::istringstream words(text);
  Bytes bytes;
  for (std::string word; words >> word;) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
  }
  return bytes;
}

std::string toHex(const std::uint8_t* bytes, std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    char pair[4];
    std::snprintf(pair, sizeof(pair), i == 0 ? "%02x" : " %02x", bytes[i]);
    text += pair;
  }
  return text;
}

std::string toHex(const Bytes& bytes) { return toHex(bytes.data(), bytes.size()); }

json outcome(int returned) {
  const int error = returned < 0 ? errno : 0;
  const char* name = error == 0 ? "" : strerrorname_np(error);
  return {{"returns", returned}, {"errno", name == nullptr ? std::to_string(error) : name}};
}

// Closes on leaving; open() itself is one of the calls that a case may ask for.
class Node {
 public:
  explicit Node(const std::string& path) : fd_(::open(path.c_str(), O_RDONLY | O_NONBLOCK)) {}
  ~Node() {
    if (fd_ >= 0) {
      ::close(fd_);
    }
  }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  [[nodiscard]] int fd() const { return fd_; }

 private:
  int fd_;
};

json getIdentity(int fd) {
  Bytes data(kSectorSize);
  json observed = outcome(::ioctl(fd, HDIO_GET_IDENTITY, data.data()));
  observed["data"] = toHex(data);
  return observed;
}

json driveCommand(int fd, const json& description) {
  constexpr std::size_t kHeader = 4;
  const Bytes header = parseHex(description.at("header").get<std::string>());
  if (header.size() != kHeader) {
    throw std::runtime_error("a drive command has four header bytes");
  }
  Bytes block(kHeader + header[3] * kSectorSize);
  std::copy(header.begin(), header.end(), block.begin());
  json observed = outcome(::ioctl(fd, HDIO_DRIVE_CMD, block.data()));
  observed["header"] = toHex(block.data(), kHeader);
  observed["data"] = toHex(block.data() + kHeader, block.size() - kHeader);
  return observed;
}

json scsiCommand(int fd, const json& description) {
  constexpr unsigned kSenseSize = 32;
  Bytes block = parseHex(description.at("block").get<std::string>());
  Bytes data(kSectorSize);
  std::uint8_t sense[kSenseSize] = {};
  sg_io_hdr_t request{};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_FROM_DEV;
  request.cmd_len = static_cast<unsigned char>(block.size());
  request.cmdp = block.data();
  request.mx_sb_len = kSenseSize;
  request.sbp = sense;
  request.dxfer_len = static_cast<unsigned>(data.size());
  request.dxferp = data.data();
  request.timeout = 2000;
  json observed = outcome(::ioctl(fd, SG_IO, &request));
  observed["status"] = request.status;
  observed["host_status"] = request.host_status;
  observed["driver_status"] = request.driver_status;
  observed["sense"] = toHex(sense, request.sb_len_wr);
  observed["data"] = toHex(data);
  return observed;
}

json nvmeCommand(int fd, const json& description) {
  const json& fields = description.at("command");
  Bytes data(fields.at("data_len").get<std::size_t>());
  nvme_admin_cmd command{};
  command.opcode = fields.at("opcode").get<std::uint8_t>();
  command.nsid = fields.at("nsid").get<std::uint32_t>();
  command.cdw10 = fields.at("cdw10").get<std::uint32_t>();
  command.addr = reinterpret_cast<std::uintptr_t>(data.data());
  command.data_len = static_cast<std::uint32_t>(data.size());
  json observed = outcome(::ioctl(fd, NVME_IOCTL_ADMIN_CMD, &command));
  observed["result"] = command.result;
  observed["data"] = toHex(data);
  return observed;
}

// The bytes at the offset as the observation's text shows them: three characters a byte.
std::string bytesAt(const std::string& hex, std::size_t offset, const std::string& wanted) {
  const std::size_t from = offset * 3;
  return from < hex.size() ? hex.substr(from, wanted.size()) : "";
}

void compareData(const json& expected, const std::string& observed,
                 std::vector<std::string>& found) {
  for (const auto& [offset, bytes] : expected.items()) {
    const auto wanted = bytes.get<std::string>();
    const std::string there = bytesAt(observed, std::stoul(offset), wanted);
    if (there != wanted) {
      found.push_back("data at " + offset + ": expected " + wanted + ", observed " + there);
    }
  }
}

}  // namespace

json perform(const json& description, const std::string& node) {
  const auto call = description.at("call").get<std::string>();
  const Node opened(node);
  if (call == "open" || opened.fd() < 0) {
    return outcome(opened.fd() < 0 ? -1 : 0);
  }
  if (call == "HDIO_GET_IDENTITY") {
    return getIdentity(opened.fd());
  }
  if (call == "HDIO_DRIVE_CMD") {
    return driveCommand(opened.fd(), description);
  }
  if (call == "SG_IO") {
    return scsiCommand(opened.fd(), description);
  }
  if (call == "NVME_IOCTL_ID") {
    return outcome(::ioctl(opened.fd(), NVME_IOCTL_ID));
  }
  if (call == "NVME_IOCTL_ADMIN_CMD") {
    return nvmeCommand(opened.fd(), description);
  }
  throw std::runtime_error("no such call: " + call);
}

std::vector<std::string> differences(const json& expected, const json& observed) {
  std::vector<std::string> found;
  if (expected.empty()) {
    found.push_back("nothing is expected of it");
  }
  for (const auto& [field, value] : expected.items()) {
    if (!observed.contains(field)) {
      found.push_back(field + ": expected " + value.dump() + ", not observed");
    } else if (field == "data") {
      compareData(value, observed.at(field).get<std::string>(), found);
    } else if (observed.at(field) != value) {
      found.push_back(field + ": expected " + value.dump() + ", observed " +
                      observed.at(field).dump());
    }
  }
  return found;
}

}  // namespace vm

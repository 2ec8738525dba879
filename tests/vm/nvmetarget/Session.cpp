#include "tests/vm/nvmetarget/Session.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "tests/vm/drives/Bytes.h"

namespace vm {
namespace {

// NVMe/TCP transport specification, 3.6 "PDU formats". Every unit begins with type, flags, header
// length, data offset and the 32-bit length of the whole.
constexpr std::uint8_t kInitialiseRequest = 0;
constexpr std::uint8_t kInitialiseResponse = 1;
constexpr std::uint8_t kCommandCapsule = 4;
constexpr std::uint8_t kResponseCapsule = 5;
constexpr std::uint8_t kDataToHost = 7;

constexpr std::size_t kCommonHeader = 8;
constexpr std::size_t kInitialiseSize = 128;
constexpr std::size_t kCommandCapsuleSize = kCommonHeader + 64;
constexpr std::size_t kResponseCapsuleSize = kCommonHeader + 16;
constexpr std::size_t kDataHeader = 24;
constexpr std::uint8_t kLastData = 0x04;

constexpr std::uint8_t kFabricsConnect = 0x01;
constexpr std::size_t kConnectDataSize = 1024;
constexpr std::size_t kSubsystemName = 256;  // in the data of a connect
constexpr std::size_t kSubsystemNameSize = 256;
constexpr std::uint16_t kConnectInvalidParameters = 0x4182;

std::vector<std::uint8_t> makeUnit(std::uint8_t type, std::uint8_t flags, std::size_t header,
                                   std::size_t data) {
  std::vector<std::uint8_t> unit(header + data);
  unit[0] = type;
  unit[1] = flags;
  unit[2] = static_cast<std::uint8_t>(header);
  unit[3] = static_cast<std::uint8_t>(data > 0 ? header : 0);
  putLe(&unit[4], static_cast<std::uint32_t>(unit.size()));
  return unit;
}

}  // namespace

Session::Session(int socket, std::string folder) : socket_(socket), folder_(std::move(folder)) {}

Session::~Session() { ::close(socket_); }

void Session::serve() {
  while (serveUnit()) {
  }
}

bool Session::receive(void* to, std::size_t size) {
  return ::recv(socket_, to, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

bool Session::send(const std::vector<std::uint8_t>& unit) {
  std::size_t sent = 0;
  while (sent < unit.size()) {
    const ssize_t part = ::send(socket_, &unit[sent], unit.size() - sent, MSG_NOSIGNAL);
    if (part <= 0) {
      return false;
    }
    sent += static_cast<std::size_t>(part);
  }
  return true;
}

bool Session::serveUnit() {
  std::uint8_t header[kCommonHeader];
  if (!receive(header, sizeof(header))) {
    return false;
  }
  const auto length = getLe<std::uint32_t>(&header[4]);
  switch (header[0]) {
    case kInitialiseRequest: {
      std::uint8_t rest[kInitialiseSize - kCommonHeader];
      return length == kInitialiseSize && receive(rest, sizeof(rest)) && welcome();
    }
    case kCommandCapsule: {
      if (length < kCommandCapsuleSize || length > kCommandCapsuleSize + kConnectDataSize) {
        return false;
      }
      NvmeCommand command;
      std::vector<std::uint8_t> data(length - kCommandCapsuleSize);
      return receive(command.bytes.data(), command.bytes.size()) &&
             (data.empty() || receive(data.data(), data.size())) && execute(command, data);
    }
    default:
      return false;
  }
}

bool Session::welcome() {
  auto unit = makeUnit(kInitialiseResponse, 0, kInitialiseSize, 0);
  putLe<std::uint32_t>(&unit[12], 128 * 1024);  // data that the host may send at once
  return send(unit);
}

bool Session::execute(const NvmeCommand& command, const std::vector<std::uint8_t>& data) {
  const bool isConnect = command.opcode() == kFabricsCommand && command.bytes[4] == kFabricsConnect;
  if (!isConnect && controller_ == nullptr) {
    return false;
  }
  const NvmeAnswer answer = isConnect ? connect(command, data) : controller_->execute(command);
  if (answer.none) {
    return true;
  }
  if (!answer.data.empty()) {
    auto unit = makeUnit(kDataToHost, kLastData, kDataHeader, answer.data.size());
    putLe(&unit[8], command.id());
    putLe(&unit[16], static_cast<std::uint32_t>(answer.data.size()));
    std::copy(answer.data.begin(), answer.data.end(), unit.begin() + kDataHeader);
    if (!send(unit)) {
      return false;
    }
  }
  auto unit = makeUnit(kResponseCapsule, 0, kResponseCapsuleSize, 0);
  putLe(&unit[8], answer.result);
  putLe(&unit[20], command.id());
  putLe(&unit[22], static_cast<std::uint16_t>(answer.status << 1));
  return send(unit);
}

NvmeAnswer Session::connect(const NvmeCommand& command, const std::vector<std::uint8_t>& data) {
  NvmeAnswer refusal;
  refusal.status = kConnectInvalidParameters;
  if (data.size() != kConnectDataSize) {
    return refusal;
  }
  const auto first = data.begin() + kSubsystemName;
  const std::string nqn(first, std::find(first, first + kSubsystemNameSize, 0));
  const std::string path = folder_ + "/" + nqn.substr(nqn.rfind(':') + 1);
  if (::access(path.c_str(), R_OK) != 0) {
    return refusal;
  }
  controller_ = std::make_unique<Controller>(path, nqn);
  return controller_->execute(command);
}

}  // namespace vm

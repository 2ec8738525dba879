#include "tests/vm/nvmetarget/Controller.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tests/vm/drives/Bytes.h"

namespace vm {
namespace {

__extension__ using Number128 = unsigned __int128;

// NVM Express base specification, 5 "Admin Command Set" and NVMe-oF 3 "Commands".
constexpr std::uint8_t kGetLogPage = 0x02;
constexpr std::uint8_t kIdentify = 0x06;
constexpr std::uint8_t kAbort = 0x08;
constexpr std::uint8_t kSetFeatures = 0x09;
constexpr std::uint8_t kGetFeatures = 0x0a;
constexpr std::uint8_t kAsynchronousEvent = 0x0c;
constexpr std::uint8_t kKeepAlive = 0x18;

constexpr std::uint8_t kPropertySet = 0x00;
constexpr std::uint8_t kConnect = 0x01;
constexpr std::uint8_t kPropertyGet = 0x04;

constexpr std::uint8_t kCnsNamespace = 0x00;
constexpr std::uint8_t kCnsController = 0x01;
constexpr std::uint8_t kCnsActiveNamespaces = 0x02;
constexpr std::uint8_t kLogHealth = 0x02;

constexpr std::uint32_t kRegisterCap = 0x00;
constexpr std::uint32_t kRegisterVs = 0x08;
constexpr std::uint32_t kRegisterCc = 0x14;
constexpr std::uint32_t kRegisterCsts = 0x1c;

constexpr std::uint16_t kInvalidOpcode = 0x4001;  // with "do not retry"
constexpr std::uint16_t kInvalidField = 0x4002;
constexpr std::uint16_t kInvalidNamespace = 0x400b;
constexpr std::uint16_t kInvalidLogPage = 0x4109;

constexpr std::uint32_t kVersion = 0x00010300;
constexpr std::uint16_t kControllerId = 1;
constexpr std::size_t kIdentifySize = 4096;

Number128 parseNumber128(const std::string& text) {
  Number128 value = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') {
      return parseNumber(text);
    }
    value = value * 10 + static_cast<unsigned>(digit - '0');
  }
  return value;
}

std::vector<std::uint8_t> identifyController(const DriveFile& drive, const std::string& nqn) {
  std::vector<std::uint8_t> data(kIdentifySize);
  putText(&data[4], 20, drive.text("serial"));
  putText(&data[24], 40, drive.text("model"));
  putText(&data[64], 8, drive.text("firmware"));
  putLe(&data[78], kControllerId);
  putLe(&data[80], kVersion);
  data[111] = 1;                          // an I/O controller
  putLe<std::uint16_t>(&data[266], 343);  // warning temperature, kelvin
  putLe<std::uint16_t>(&data[268], 353);  // critical temperature
  putLe<std::uint16_t>(&data[320], 10);   // keep-alive in steps of a second
  data[512] = 0x66;                       // queue entries of 64 bytes
  data[513] = 0x44;                       // and of 16
  putLe<std::uint16_t>(&data[514], 64);   // outstanding commands
  putLe<std::uint32_t>(&data[516], static_cast<std::uint32_t>(drive.number("namespaces", 1)));
  putLe<std::uint32_t>(&data[536], 0x00000001);  // scatter-gather lists
  std::copy(nqn.begin(), nqn.end(), data.begin() + 768);
  putLe<std::uint32_t>(&data[1792], 4);  // command capsules of 64 bytes
  putLe<std::uint32_t>(&data[1796], 1);  // response capsules of 16
  return data;
}

std::vector<std::uint8_t> identifyNamespace() {
  std::vector<std::uint8_t> data(kIdentifySize);
  constexpr std::uint64_t kBlocks = 131072;
  putLe(&data[0], kBlocks);
  putLe(&data[8], kBlocks);
  data[130] = 9;  // blocks of 512 bytes
  return data;
}

std::vector<std::uint8_t> healthLog(const DriveFile& drive) {
  std::vector<std::uint8_t> data(512);
  putLe<std::uint16_t>(&data[1], 310);  // kelvin
  data[3] = 100;                        // spare blocks left, percent
  data[4] = 10;                         // below which the drive warns
  data[5] = static_cast<std::uint8_t>(drive.number("percentage", 0));
  putLe(&data[128], parseNumber128(drive.text("hours", "0")));
  return data;
}

// A rule's number for this command, or 0.
std::uint64_t ruleFor(const DriveFile& drive, const char* key, const NvmeCommand& command) {
  for (const auto& rule : drive.records(key)) {
    if (parseNumber(rule.at(0)) == command.opcode() &&
        parseNumber(rule.at(1)) == (command.dword(10) & 0xff)) {
      return parseNumber(rule.at(2));
    }
  }
  return 0;
}

NvmeAnswer refuse(std::uint16_t status) {
  NvmeAnswer answer;
  answer.status = status;
  return answer;
}

NvmeAnswer succeed(std::uint64_t result) {
  NvmeAnswer answer;
  answer.result = result;
  return answer;
}

NvmeAnswer identify(const DriveFile& drive, const std::string& nqn, const NvmeCommand& command) {
  NvmeAnswer answer;
  switch (command.dword(10) & 0xff) {
    case kCnsController:
      answer.data = identifyController(drive, nqn);
      return answer;
    case kCnsNamespace:
      if (command.namespaceId() == 0 || command.namespaceId() > drive.number("namespaces", 1)) {
        return refuse(kInvalidNamespace);
      }
      answer.data = identifyNamespace();
      return answer;
    case kCnsActiveNamespaces:
      answer.data.resize(kIdentifySize);
      return answer;
    default:
      return refuse(kInvalidField);
  }
}

NvmeAnswer getLogPage(const DriveFile& drive, const NvmeCommand& command) {
  if ((command.dword(10) & 0xff) != kLogHealth) {
    return refuse(kInvalidLogPage);
  }
  const std::size_t wanted = ((command.dword(10) >> 16) + std::size_t{1}) * 4;
  NvmeAnswer answer;
  answer.data = healthLog(drive);
  answer.data.resize(wanted);
  return answer;
}

}  // namespace

std::uint16_t NvmeCommand::id() const { return getLe<std::uint16_t>(&bytes[2]); }

std::uint32_t NvmeCommand::namespaceId() const { return getLe<std::uint32_t>(&bytes[4]); }

std::uint32_t NvmeCommand::dword(int number) const {
  return getLe<std::uint32_t>(&bytes[static_cast<std::size_t>(number) * 4]);
}

Controller::Controller(std::string path, std::string nqn)
    : path_(std::move(path)), nqn_(std::move(nqn)) {}

NvmeAnswer Controller::execute(const NvmeCommand& command) {
  if (command.opcode() == kFabricsCommand) {
    return executeFabrics(command);
  }
  record(command);
  return executeAdmin(command);
}

NvmeAnswer Controller::executeFabrics(const NvmeCommand& command) {
  const std::uint8_t type = command.bytes[4];
  const auto offset = getLe<std::uint32_t>(&command.bytes[44]);
  switch (type) {
    case kConnect:
      return succeed(kControllerId);
    case kPropertyGet:
      return getProperty(offset);
    case kPropertySet:
      setProperty(offset, getLe<std::uint64_t>(&command.bytes[48]));
      return {};
    default:
      return refuse(kInvalidOpcode);
  }
}

NvmeAnswer Controller::executeAdmin(const NvmeCommand& command) const {
  const DriveFile drive(path_);
  if (const std::uint64_t status = ruleFor(drive, "reject", command); status != 0) {
    return refuse(static_cast<std::uint16_t>(status));
  }
  NvmeAnswer answer;
  switch (command.opcode()) {
    case kIdentify:
      answer = identify(drive, nqn_, command);
      break;
    case kGetLogPage:
      answer = getLogPage(drive, command);
      break;
    case kAsynchronousEvent:
      answer.none = true;
      break;
    case kAbort:
      answer.result = 1;  // not aborted
      break;
    case kSetFeatures:  // "number of queues" is answered with one pair, which reads 0
    case kGetFeatures:
    case kKeepAlive:
      break;
    default:
      return refuse(kInvalidOpcode);
  }
  if (const std::uint64_t result = ruleFor(drive, "result", command); result != 0) {
    answer.result = result;
  }
  return answer;
}

NvmeAnswer Controller::getProperty(std::uint32_t offset) const {
  constexpr std::uint32_t kEnable = 0x1;
  constexpr std::uint32_t kShutdownNotification = 0xc000;
  constexpr std::uint64_t kReady = 0x1;
  constexpr std::uint64_t kShutdownComplete = 0x8;
  switch (offset) {
    case kRegisterCap:
      // 128 entries a queue, contiguous, 7.5 s to get ready, NVM command set.
      return succeed(0x7f | 1ULL << 16 | 15ULL << 24 | 1ULL << 37);
    case kRegisterVs:
      return succeed(kVersion);
    case kRegisterCc:
      return succeed(configuration_);
    case kRegisterCsts:
      return succeed(((configuration_ & kEnable) != 0 ? kReady : 0) |
                     ((configuration_ & kShutdownNotification) != 0 ? kShutdownComplete : 0));
    default:
      return refuse(kInvalidField);
  }
}

void Controller::setProperty(std::uint32_t offset, std::uint64_t value) {
  if (offset == kRegisterCc) {
    configuration_ = static_cast<std::uint32_t>(value);
  }
}

void Controller::record(const NvmeCommand& command) const {
  std::FILE* log = std::fopen((path_ + ".log").c_str(), "ae");
  if (log == nullptr) {
    return;
  }
  std::fprintf(log, "%02x %08x %08x %08x\n", unsigned{command.opcode()}, command.namespaceId(),
               command.dword(10), command.dword(11));
  std::fclose(log);
}

}  // namespace vm

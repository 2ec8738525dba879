#include "tests/support/FakeKernel.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <algorithm>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>

namespace testkit {

namespace {

constexpr unsigned long kGetIdentity = 0x030D;
constexpr unsigned long kDriveCmd = 0x031F;
constexpr unsigned long kSgIo = 0x2285;
constexpr unsigned long kNvmeId = 0x4E40;
constexpr unsigned long kNvmeAdmin = 0xC0484E41;

/// What close leaves in errno, though it succeeds.
constexpr int kClobbered = EBADMSG;

std::string hex(unsigned long value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "0x%lx", value);
  return text.data();
}

std::string openCall(const std::string& path, int flags) {
  return "open " + path + " " + hex(static_cast<unsigned long>(flags));
}

std::string closeCall(int fd) { return "close " + std::to_string(fd); }

std::string ioctlCall(int fd, unsigned long request) {
  return "ioctl " + std::to_string(fd) + " " + hex(request);
}

std::string flagsCall(int fd, int flags) {
  return "fcntl " + std::to_string(fd) + " F_SETFD " + std::to_string(flags);
}

int finish(Outcome outcome) {
  if (outcome.error != 0) {
    errno = outcome.error;
  }
  return outcome.result;
}

void expectZero(const void* memory, std::size_t length, const char* what) {
  const auto* bytes = static_cast<const std::uint8_t*>(memory);
  const auto* end = bytes + length;
  const auto* odd = std::find_if(bytes, end, [](std::uint8_t byte) { return byte != 0; });
  EXPECT_EQ(odd - bytes, static_cast<std::ptrdiff_t>(length)) << what << " not zeroed";
}

void give(const Bytes& answer, void* memory, std::size_t room) {
  ASSERT_LE(answer.size(), room);
  std::copy(answer.begin(), answer.end(), static_cast<std::uint8_t*>(memory));
}

int answerPassThrough(std::uint8_t logAddress, std::uint8_t page, const SatAnswer& answer,
                      sg_io_hdr& request) {
  EXPECT_EQ(request.interface_id, 'S');
  EXPECT_EQ(request.dxfer_direction, -3);
  EXPECT_EQ(request.cmd_len, 16);
  EXPECT_EQ(request.mx_sb_len, 32);
  EXPECT_EQ(request.dxfer_len, 512U);
  EXPECT_EQ(request.timeout, 2000U);
  EXPECT_EQ(request.iovec_count, 0);
  EXPECT_EQ(request.flags, 0U);
  EXPECT_EQ(request.pack_id, 0);
  EXPECT_EQ(request.usr_ptr, nullptr);
  EXPECT_EQ(request.status, 0);
  EXPECT_EQ(request.masked_status, 0);
  EXPECT_EQ(request.msg_status, 0);
  EXPECT_EQ(request.sb_len_wr, 0);
  EXPECT_EQ(request.host_status, 0);
  EXPECT_EQ(request.driver_status, 0);
  EXPECT_EQ(request.resid, 0);
  EXPECT_EQ(request.duration, 0U);
  EXPECT_EQ(request.info, 0U);
  const Bytes cdb(request.cmdp, request.cmdp + 16);
  EXPECT_EQ(cdb,
            (Bytes{0x85, 0x09, 0x2E, 0, 0, 0, 0x01, 0, logAddress, 0, page, 0, 0, 0, 0x2F, 0}));
  expectZero(request.sbp, 32, "the sense buffer");
  give(answer.data, request.dxferp, 512);
  std::copy(answer.sense.begin(), answer.sense.end(), request.sbp);
  request.status = answer.status;
  request.host_status = answer.hostStatus;
  request.driver_status = answer.driverStatus;
  return finish(answer.outcome);
}

int answerAdmin(const AdminCommand& expected, const AdminAnswer& answer, nvme_admin_cmd& command) {
  EXPECT_EQ(command.opcode, expected.opcode);
  EXPECT_EQ(command.flags, 0);
  EXPECT_EQ(command.rsvd1, 0);
  EXPECT_EQ(command.nsid, expected.nsid);
  EXPECT_EQ(command.cdw2, 0U);
  EXPECT_EQ(command.cdw3, 0U);
  EXPECT_EQ(command.metadata, 0U);
  EXPECT_EQ(command.metadata_len, 0U);
  EXPECT_EQ(command.data_len, expected.dataLength);
  EXPECT_EQ(command.cdw10, expected.cdw10);
  EXPECT_EQ(command.cdw11, 0U);
  EXPECT_EQ(command.cdw12, 0U);
  EXPECT_EQ(command.cdw13, 0U);
  EXPECT_EQ(command.cdw14, 0U);
  EXPECT_EQ(command.cdw15, 0U);
  EXPECT_EQ(command.timeout_ms, 0U);
  EXPECT_EQ(command.result, 0U);
  auto* buffer = reinterpret_cast<void*>(static_cast<std::uintptr_t>(command.addr));
  expectZero(buffer, expected.dataLength, "the data buffer");
  give(answer.data, buffer, expected.dataLength);
  command.result = answer.result;
  return finish(answer.outcome);
}

}  // namespace

FakeKernel& FakeKernel::instance() {
  static auto* kernel = new FakeKernel;
  return *kernel;
}

bool FakeKernel::ownsPath(const std::string& path) {
  return path.compare(0, 7, "/dev/sd") == 0 || path.compare(0, 9, "/dev/nvme") == 0;
}

bool FakeKernel::ownsDescriptor(int fd) const { return fd >= kFirstDescriptor || isOpen(fd); }

void FakeKernel::expect(const std::string& call, std::function<int(void*)> answer) {
  const std::lock_guard lock(mutex_);
  expected_.push_back({call, std::move(answer), {}});
}

int FakeKernel::willOpen(const std::string& path, int flags) {
  const int fd = nextDescriptor_++;
  willOpenAs(fd, path, flags);
  return fd;
}

void FakeKernel::willOpenAs(int fd, const std::string& path, int flags) {
  expect(openCall(path, flags), [this, fd, path](void*) {
    const std::lock_guard lock(mutex_);
    open_[fd] = path;
    return fd;
  });
}

void FakeKernel::willRefuseOpen(const std::string& path, int flags, int error) {
  expect(openCall(path, flags), [error](void*) { return finish(fails(error)); });
}

void FakeKernel::willClose(int fd) {
  expect(closeCall(fd), [this, fd](void*) {
    const std::lock_guard lock(mutex_);
    open_.erase(fd);
    return finish({0, kClobbered});
  });
}

void FakeKernel::willSetCloseOnExec(int fd, Outcome outcome) {
  expect(flagsCall(fd, FD_CLOEXEC), [outcome](void*) { return finish(outcome); });
}

void FakeKernel::willIdentify(int fd, const Bytes& answer, Outcome outcome) {
  expect(ioctlCall(fd, kGetIdentity), [answer, outcome](void* argument) {
    expectZero(argument, 512, "the identify buffer");
    give(answer, argument, 512);
    return finish(outcome);
  });
}

void FakeKernel::willCommand(int fd, const DriveCommand& command, const Bytes& answer,
                             Outcome outcome) {
  expect(ioctlCall(fd, kDriveCmd), [command, answer, outcome](void* argument) {
    auto* block = static_cast<std::uint8_t*>(argument);
    EXPECT_EQ(Bytes(block, block + 4),
              (Bytes{command.command, command.sectorNumber, command.feature, command.sectorCount}));
    expectZero(block + 4, command.room, "the data room");
    give(answer, block + 4, command.room);
    return finish(outcome);
  });
}

void FakeKernel::willPassThrough(int fd, std::uint8_t logAddress, std::uint8_t page,
                                 const SatAnswer& answer) {
  expect(ioctlCall(fd, kSgIo), [logAddress, page, answer](void* argument) {
    return answerPassThrough(logAddress, page, answer, *static_cast<sg_io_hdr*>(argument));
  });
}

void FakeKernel::willAskNamespace(int fd, Outcome outcome) {
  expect(ioctlCall(fd, kNvmeId), [outcome](void*) { return finish(outcome); });
}

void FakeKernel::willAdmin(int fd, const AdminCommand& command, const AdminAnswer& answer) {
  expect(ioctlCall(fd, kNvmeAdmin), [command, answer](void* argument) {
    return answerAdmin(command, answer, *static_cast<nvme_admin_cmd*>(argument));
  });
}

void FakeKernel::meanwhile(std::function<void()> meanwhile) {
  const std::lock_guard lock(mutex_);
  expected_.back().meanwhile = std::move(meanwhile);
}

bool FakeKernel::isOpen(int fd) const {
  const std::lock_guard lock(mutex_);
  return open_.count(fd) != 0;
}

std::size_t FakeKernel::left() const {
  const std::lock_guard lock(mutex_);
  return expected_.size();
}

std::size_t FakeKernel::unexpected() const {
  const std::lock_guard lock(mutex_);
  return unexpected_;
}

void FakeKernel::staysOpen(int fd) {
  const std::lock_guard lock(mutex_);
  staysOpen_.insert(fd);
}

void FakeKernel::verify() {
  const std::lock_guard lock(mutex_);
  for (const Expectation& expectation : expected_) {
    ADD_FAILURE() << "never called: " << expectation.call;
  }
  for (const auto& [fd, path] : open_) {
    EXPECT_EQ(staysOpen_.count(fd), 1U) << path << " was left open";
  }
  for (const int fd : staysOpen_) {
    EXPECT_EQ(open_.count(fd), 1U) << fd << " was to stay open";
  }
  expected_.clear();
}

int FakeKernel::called(const std::string& call, void* argument) {
  Expectation next;
  {
    const std::lock_guard lock(mutex_);
    if (expected_.empty() || expected_.front().call != call) {
      ++unexpected_;
      ADD_FAILURE() << "unexpected: " << call << "\nexpected next: "
                    << (expected_.empty() ? "nothing" : expected_.front().call);
      errno = ENOSYS;
      return -1;
    }
    next = std::move(expected_.front());
    expected_.pop_front();
  }
  if (next.meanwhile) {
    next.meanwhile();
  }
  return next.answer(argument);
}

int FakeKernel::open(const std::string& path, int flags) {
  return called(openCall(path, flags), nullptr);
}

int FakeKernel::close(int fd) { return called(closeCall(fd), nullptr); }

int FakeKernel::setDescriptorFlags(int fd, int flags) {
  return called(flagsCall(fd, flags), nullptr);
}

int FakeKernel::ioctl(int fd, unsigned long request, void* argument) {
  return called(ioctlCall(fd, request), argument);
}

}  // namespace testkit

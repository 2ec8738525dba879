#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace testkit {

using Bytes = std::vector<std::uint8_t>;

/// How a call ends. `error` 0 leaves errno alone.
struct Outcome {
  int result = 0;
  int error = 0;
};

constexpr Outcome kGood{};
constexpr Outcome fails(int error) { return {-1, error}; }
/// The kernel passes a command's status on as a positive result and leaves errno alone.
constexpr Outcome refused(int status) { return {status, 0}; }

/// The four registers of HDIO_DRIVE_CMD, and the room that follows them for data.
struct DriveCommand {
  std::uint8_t command;
  std::uint8_t sectorNumber;
  std::uint8_t feature;
  std::uint8_t sectorCount;
  std::size_t room;
};

/// What comes back from SG_IO. The three statuses are for nobody to look at.
struct SatAnswer {
  Bytes data;
  std::array<std::uint8_t, 32> sense;
  Outcome outcome;
  std::uint8_t status = 0x02;
  std::uint16_t hostStatus = 0;
  std::uint16_t driverStatus = 0x08;
};

/// The fields of an NVMe admin command that aren't always 0.
struct AdminCommand {
  std::uint8_t opcode;
  std::uint32_t nsid;
  std::uint32_t dataLength;
  std::uint32_t cdw10;
};

struct AdminAnswer {
  Bytes data;
  std::uint32_t result = 0;
  Outcome outcome;
};

/// The kernel's side of drive nodes ("/dev/sd*", "/dev/nvme*"): a queue of the calls that must come
/// next, each with its answer. Every field of a command is compared. A call that isn't the next one
/// fails the test and is answered with ENOSYS; so does, at the test's end, what was never called.
///
/// close clobbers errno, as a real one may. Any thread may call.
class FakeKernel {
 public:
  /// The one of this process; never destroyed, for threads may outlive the test's body.
  static FakeKernel& instance();

  // What comes next.

  /// Gives the descriptor that open will return.
  int willOpen(const std::string& path, int flags);
  /// The same for a descriptor of the test's choice.
  void willOpenAs(int fd, const std::string& path, int flags);
  void willRefuseOpen(const std::string& path, int flags, int error);
  void willClose(int fd);
  void willSetCloseOnExec(int fd, Outcome outcome = kGood);
  /// HDIO_GET_IDENTITY.
  void willIdentify(int fd, const Bytes& answer, Outcome outcome = kGood);
  /// HDIO_DRIVE_CMD.
  void willCommand(int fd, const DriveCommand& command, const Bytes& answer,
                   Outcome outcome = kGood);
  /// SG_IO with READ LOG EXT in an ATA PASS-THROUGH (16).
  void willPassThrough(int fd, std::uint8_t logAddress, std::uint8_t page, const SatAnswer& answer);
  /// NVME_IOCTL_ID.
  void willAskNamespace(int fd, Outcome outcome);
  /// NVME_IOCTL_ADMIN_CMD.
  void willAdmin(int fd, const AdminCommand& command, const AdminAnswer& answer);

  /// Runs `meanwhile` on the calling thread before the call that was expected last is answered.
  void meanwhile(std::function<void()> meanwhile);

  // What has happened.

  [[nodiscard]] bool isOpen(int fd) const;
  /// How many expected calls have not come yet.
  [[nodiscard]] std::size_t left() const;
  /// How many calls came that were not expected.
  [[nodiscard]] std::size_t unexpected() const;

  /// Declares that `fd` is to stay open for good.
  void staysOpen(int fd);

  /// Fails the running test if an expected call hasn't come, or a descriptor is open that was not
  /// declared to stay so, or closed that was.
  void verify();

  FakeKernel(const FakeKernel&) = delete;
  FakeKernel& operator=(const FakeKernel&) = delete;

  // Called by the seam.
  [[nodiscard]] static bool ownsPath(const std::string& path);
  [[nodiscard]] bool ownsDescriptor(int fd) const;
  int open(const std::string& path, int flags);
  int close(int fd);
  int setDescriptorFlags(int fd, int flags);
  int ioctl(int fd, unsigned long request, void* argument);

 private:
  struct Expectation {
    std::string call;
    std::function<int(void* argument)> answer;
    std::function<void()> meanwhile;
  };

  /// Above what a process of tests really opens.
  static constexpr int kFirstDescriptor = 5000;

  FakeKernel() = default;

  void expect(const std::string& call, std::function<int(void*)> answer);
  int called(const std::string& call, void* argument);

  mutable std::mutex mutex_;
  std::deque<Expectation> expected_;
  std::map<int, std::string> open_;
  std::set<int> staysOpen_;
  std::size_t unexpected_ = 0;
  int nextDescriptor_ = kFirstDescriptor;
};

}  // namespace testkit

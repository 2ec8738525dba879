#include "tests/hostile/HostileTill.h"

#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/fault/Clock.h"
#include "tests/fault/Streams.h"
#include "tests/fault/Till.h"

namespace {

/// Shows failures where they can be seen although standard output leads nowhere.
class FailureShower : public testing::EmptyTestEventListener {
 public:
  explicit FailureShower(int out) : out_(out) {}

  void OnTestPartResult(const testing::TestPartResult& part) override {
    if (part.failed()) {
      ::dprintf(out_, "%s:%d: %s\n", part.file_name(), part.line_number(), part.message());
    }
  }

 private:
  int out_;
};

void showFailures() {
  static const bool shown = [] {
    testing::UnitTest::GetInstance()->listeners().Append(
        new FailureShower(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100)));
    return true;
  }();
  (void)shown;
}

}  // namespace

HostileTill::HostileTill() : out_(::dup(STDOUT_FILENO)), error_(::dup(STDERR_FILENO)) {
  showFailures();
  fault::Clock::runFreely(500);
  std::fflush(stdout);
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(nowhere, STDOUT_FILENO);
  ::dup2(nowhere, STDERR_FILENO);
  ::close(nowhere);
}

HostileTill::~HostileTill() {
  provider_.reset();
  fault::closeStreams();
  fault::releaseScans();
  std::fflush(stdout);
  ::dup2(out_, STDOUT_FILENO);
  ::dup2(error_, STDERR_FILENO);
  ::close(out_);
  ::close(error_);
}

void HostileTill::start() {
  provider_ = std::make_unique<cmpihost::Provider>(broker, fault::Till::library(), "SsdProvider");
  provider_->createInstanceMI();
  provider_->createIndicationMI();
}

cmpihost::Reply HostileTill::list() {
  return provider_->enumerateInstances({fault::kNamespace, fault::kClass});
}

cmpihost::Reply HostileTill::get(const std::string& deviceId) {
  return provider_->getInstance(cmpihost::ObjectPath{fault::kNamespace, fault::kClass}.withKey(
      "DeviceID", cmpihost::Value::string(deviceId)));
}

std::vector<int> HostileTill::openAt(const std::string& node) const {
  std::vector<int> descriptors;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // the one that this loop reads with
    if (std::filesystem::read_symlink(entry.path(), gone) == machine.real(node)) {
      descriptors.push_back(std::stoi(entry.path().filename()));
    }
  }
  return descriptors;
}

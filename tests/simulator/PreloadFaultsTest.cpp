#include <gtest/gtest.h>

#include "tests/simulator/ProbeRun.h"

#if defined(__has_feature)
#define VEKSSD_HAS_THREAD_SANITIZER __has_feature(thread_sanitizer)
#else
#define VEKSSD_HAS_THREAD_SANITIZER 0
#endif

// Calls that the machine makes fail.
namespace simulator::test {
namespace {

using Lines = std::vector<std::string>;

class PreloadFaults : public testing::TestWithParam<ProbeProgram> {
 protected:
  Lines lines(const std::string& faults, const Lines& commands) {
    ProbeRun run(R"({"name": "m", "config": {"PollRate": 1}, "drives": [
        {"kind": "sata", "node": "sda"}, {"kind": "nvme", "node": "nvme0"}], "faults": [)" +
                 faults + "]}");
    run.program(GetParam().path).environment("VEKSSD_LOG_DIR", run.directory().path());
    const ProbeResult result = run.run(commands);
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.lines;
  }
};

TEST_P(PreloadFaults, OfOpen) {
  EXPECT_EQ(
      lines(R"({"call": "open", "node": "nvme0", "nth": 2, "count": 1, "errno": "EAGAIN"})",
            {"control:/dev/nvme0", "control:/dev/nvme0", "control:/dev/nvme0"}),
      (Lines{"fcntl ok, flags 1, close ok", "open failed EAGAIN", "fcntl ok, flags 1, close ok"}));
}

TEST_P(PreloadFaults, OfFcntlAndClose) {
  EXPECT_EQ(lines(R"({"call": "fcntl", "node": "nvme0", "count": 1, "errno": "EINVAL"},
                     {"call": "close", "node": "nvme0", "errno": "EIO"})",
                  {"control:/dev/nvme0"}),
            Lines{"fcntl failed EINVAL, flags 0, close failed EIO"});
}

TEST_P(PreloadFaults, OfFopenAndAccess) {
  EXPECT_EQ(lines(R"({"call": "fopen", "path": "/sys/block/sda/removable", "errno": "EMFILE"},
                     {"call": "access", "path": "/etc/ssddrv/ssddrv.ini", "errno": "EACCES"})",
                  {"access:/sys/block/sda/removable", "read:/sys/block/sda/removable",
                   "access:/etc/ssddrv/ssddrv.ini"}),
            (Lines{"ok", "fopen failed EMFILE", "failed EACCES"}));
}

TEST_P(PreloadFaults, OfReadingAFile) {
  EXPECT_EQ(lines(R"({"call": "fgets", "path": "/sys/block/sda/removable", "errno": "EIO"},
                     {"call": "getline", "path": "/etc/ssddrv/ssddrv.ini", "errno": "EISDIR"})",
                  {"read:/sys/block/sda/removable", "lines:/etc/ssddrv/ssddrv.ini"}),
            (Lines{"[] then failed EIO", " then failed EISDIR"}));
}

TEST_P(PreloadFaults, OfDirectories) {
  EXPECT_EQ(lines(R"({"call": "opendir", "path": "/sys/block/", "nth": 2, "errno": "EMFILE"},
                     {"call": "readdir", "path": "/sys/block", "nth": 4, "errno": "EIO"})",
                  {"list:/sys/block", "list:/sys/block/"}),
            (Lines{". .. sda@ then failed EIO closedir ok", "opendir failed EMFILE"}));
}

TEST_P(PreloadFaults, OfGlob) {
  EXPECT_EQ(lines(R"({"call": "glob", "nth": 2, "count": 1, "return": "GLOB_NOSPACE"})",
                  {"glob:/dev/nvme[0-9]", "glob:/dev/nvme[0-9]", "glob:/dev/nvme[0-9]"}),
            (Lines{"0 /dev/nvme0", "1", "0 /dev/nvme0"}));
}

TEST_P(PreloadFaults, OfIoctl) {
  EXPECT_EQ(lines(R"({"call": "ioctl", "node": "sda", "feature": "0xD8", "errno": "EIO"},
                     {"call": "ioctl", "node": "nvme0", "log": 2, "result": 4660})",
                  {"drivecmd:/dev/sda:b0:01:d8:00"}),
            Lines{"failed EIO b001d800 "});
}

TEST_P(PreloadFaults, OfTheLogFile) {
  EXPECT_EQ(
      lines(
          R"({"call": "fstat", "path": "/var/log/ssddrv/ssddrv.log", "nth": 2, "count": 1, "errno": "EIO"},
               {"call": "fwrite", "path": "/var/log/ssddrv/ssddrv.log", "nth": 3, "count": 1, "errno": "ENOSPC"},
               {"call": "fflush", "path": "/var/log/ssddrv/ssddrv.log", "nth": 4, "count": 1, "errno": "ENOSPC"})",
          Lines(4, "append:/var/log/ssddrv/ssddrv.log:ab")),
      (Lines{"size 0, fwrite 2, fflush ok, fclose ok",
             "fstat failed EIO, fwrite 2, fflush ok, fclose ok",
             "size 4, fwrite 0, fflush ok, fclose ok",
             "size 4, fwrite 2, fflush failed ENOSPC, fclose ok"}));
}

TEST_P(PreloadFaults, OfRealFilesThatTheMachineNames) {
  const ScratchDirectory directory;
  const std::string path = directory.file("other.log");
  EXPECT_EQ(
      lines(R"({"call": "fwrite", "path": ")" + path + R"(", "nth": 2, "errno": "ENOSPC"})",
            {"append:" + path + ":ab", "append:" + path + ":ab"}),
      (Lines{"size 0, fwrite 2, fflush ok, fclose ok", "size 2, fwrite 0, fflush ok, fclose ok"}));
}

TEST_P(PreloadFaults, OfStartingThreads) {
  // A sanitizer's runtime may start a thread of its own before the program's first.
  const Lines first =
      lines(R"({"call": "pthread_create", "count": 1, "errno": "EAGAIN"})", Lines(3, "thread"));
  const Lines later =
      lines(R"({"call": "pthread_create", "nth": 3, "errno": "EAGAIN"})", Lines(4, "thread"));
  EXPECT_EQ(first.at(1), "ok");
  EXPECT_EQ(first.at(2), "ok");
  EXPECT_EQ(later.at(0), "ok");
  EXPECT_EQ(later.at(2), "failed EAGAIN");
  EXPECT_EQ(later.at(3), "failed EAGAIN");
#if !defined(__SANITIZE_THREAD__) && !VEKSSD_HAS_THREAD_SANITIZER
  EXPECT_EQ(first.at(0), "failed EAGAIN");
  EXPECT_EQ(later.at(1), "ok");
#endif
}

TEST_P(PreloadFaults, OfSleeping) {
  const Lines result = lines(R"({"call": "usleep", "errno": "EINTR"})", {"usleep:5000000"});
  EXPECT_EQ(result.at(0).substr(0, 13), "failed EINTR ");
}

INSTANTIATE_TEST_SUITE_P(Probe, PreloadFaults, testing::Values(kPlainProbe, kFortifiedProbe),
                         programName);

}  // namespace
}  // namespace simulator::test

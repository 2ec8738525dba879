#include "simulator/recorder/MachineWriter.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "simulator/MachineFile.h"

using namespace simulator;

namespace {

MachineDescription readBack(const MachineDescription& machine) {
  return parseMachine(writeMachine(machine, "a comment"));
}

MachineDescription machineWith(RecordedAnswer answer) {
  MachineDescription machine;
  machine.name = "m";
  RecordedDescription drive{"sda", {{RequestKind::sgIo, {0x85, 0x09}, {std::move(answer)}}}};
  machine.drives.push_back({drive, FileContent(std::string("0\n"))});
  return machine;
}

RecordedAnswer answerReadBack(const RecordedAnswer& answer) {
  const MachineDescription machine = readBack(machineWith(answer));
  const auto& drive = std::get<RecordedDescription>(machine.drives.at(0).drive);
  EXPECT_EQ(drive.requests.at(0).kind, RequestKind::sgIo);
  EXPECT_EQ(drive.requests.at(0).sent, (Bytes{0x85, 0x09}));
  return drive.requests.at(0).answers.at(0);
}

TEST(AWrittenMachine, HasEveryPartOfAnAnswer) {
  RecordedAnswer answer;
  answer.result = 0x4002;
  answer.header = {0x50, 1, 2, 3};
  answer.status = 2;
  answer.hostStatus = 0x123;
  answer.driverStatus = 8;
  answer.sense = Bytes(22, 0x72);
  answer.nvmeResult = 0xffffffff;
  answer.data = Bytes(512);
  answer.data[100] = 1;
  answer.data[511] = 2;
  const RecordedAnswer again = answerReadBack(answer);
  EXPECT_EQ(again.result, answer.result);
  EXPECT_EQ(again.header, answer.header);
  EXPECT_EQ(again.status, answer.status);
  EXPECT_EQ(again.hostStatus, answer.hostStatus);
  EXPECT_EQ(again.driverStatus, answer.driverStatus);
  EXPECT_EQ(again.sense, answer.sense);
  EXPECT_EQ(again.nvmeResult, answer.nvmeResult);
  EXPECT_EQ(again.data, answer.data);
}

TEST(AWrittenMachine, HasBytesOfAnyLengthAndContent) {
  for (const std::size_t length : {1U, 31U, 32U, 33U, 100U, 512U, 4096U}) {
    for (const std::uint8_t byte : Bytes{0x00, 0x5a}) {
      RecordedAnswer answer;
      answer.data = Bytes(length, byte);
      EXPECT_EQ(answerReadBack(answer).data, answer.data) << length;
    }
  }
}

TEST(AWrittenMachine, HasErrnosByName) {
  RecordedAnswer answer;
  answer.result = -1;
  answer.error = EACCES;
  EXPECT_EQ(answerReadBack(answer).error, EACCES);
  answer.error = 4711;  // no such errno
  EXPECT_EQ(answerReadBack(answer).error, EIO);
}

TEST(AWrittenMachine, HasTheBiosVersionAsItStands) {
  for (const std::string& text : {std::string("1.02.3\n"), std::string("1.02.3"), std::string("\n"),
                                  std::string(), std::string("a\nb\n"), std::string("\xff\n")}) {
    MachineDescription machine;
    machine.name = "m";
    machine.bios = text;
    EXPECT_EQ(std::get<std::string>(readBack(machine).bios), text);
  }
  for (const int error : {ENOENT, EACCES}) {
    MachineDescription machine;
    machine.name = "m";
    machine.bios = error;
    EXPECT_EQ(std::get<int>(readBack(machine).bios), error);
  }
}

TEST(AWrittenMachine, HasSettingsBlockDirectoryAndFaults) {
  MachineDescription machine = machineWith({});
  machine.config = "PollRate=5\n# a comment\n";
  machine.logConfig = "Level=4\n";
  machine.blockOrder = {{"sdb", "sda", "loop0"}};
  machine.drives[0].removable = FileContent(EACCES);
  FaultDescription fault;
  fault.pattern.call = "open";
  fault.pattern.path = "/dev/sda";
  fault.outcome.error = ENXIO;
  fault.nth = 2;
  fault.count = 3;
  machine.faults.push_back(fault);
  const MachineDescription again = readBack(machine);
  EXPECT_EQ(again.name, "m");
  EXPECT_EQ(again.config, machine.config);
  EXPECT_EQ(again.logConfig, machine.logConfig);
  EXPECT_EQ(again.blockOrder, machine.blockOrder);
  EXPECT_EQ(again.drives.at(0).removable, machine.drives[0].removable);
  ASSERT_EQ(again.faults.size(), 1U);
  EXPECT_EQ(again.faults[0].pattern.path, "/dev/sda");
  EXPECT_EQ(again.faults[0].outcome.error, ENXIO);
  EXPECT_EQ(again.faults[0].nth, 2U);
  EXPECT_EQ(again.faults[0].count, 3U);
  machine.hasBlockDirectory = false;
  EXPECT_FALSE(readBack(machine).hasBlockDirectory);
}

TEST(AWrittenMachine, HasRecordedDrivesOnly) {
  MachineDescription machine;
  machine.drives.push_back({ScsiDescription{"sda"}, std::nullopt});
  EXPECT_THROW(writeMachine(machine, ""), std::invalid_argument);
}

}  // namespace

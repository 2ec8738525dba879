#include <gtest/gtest.h>

#include <cerrno>

#include "simulator/MachineFile.h"

// The "drives" of a machine file.
namespace simulator {
namespace {

DriveDescription drive(const std::string& text) {
  return parseMachine(R"({"name": "m", "drives": [)" + text + "]}").drives.at(0);
}

AtaDescription sata(const std::string& rest) {
  return std::get<AtaDescription>(drive(R"({"kind": "sata", "node": "sda")" + rest + "}").drive);
}

NvmeDescription nvme(const std::string& rest) {
  return std::get<NvmeDescription>(drive(R"({"kind": "nvme", "node": "nvme0")" + rest + "}").drive);
}

std::string driveProblem(const std::string& text) {
  try {
    drive(text);
  } catch (const MachineFileError& error) {
    return error.what();
  }
  return "none";
}

std::string sataProblem(const std::string& rest) {
  return driveProblem(R"({"kind": "sata", "node": "sda")" + rest + "}");
}

std::string nvmeProblem(const std::string& rest) {
  return driveProblem(R"({"kind": "nvme", "node": "nvme0")" + rest + "}");
}

TEST(DriveFile, SataDriveIsAnSsdWithSmartUnlessToldOtherwise) {
  const AtaDescription description = sata("");
  EXPECT_EQ(description.node, "sda");
  EXPECT_EQ(description.rotation, 1);
  EXPECT_TRUE(description.smart);
  EXPECT_TRUE(description.generalPurposeLogs);
  EXPECT_TRUE(description.smartLogs);
  EXPECT_FALSE(description.statistics);
  EXPECT_TRUE(description.attributes.empty());
  EXPECT_EQ(description.wear.at(0, 0), 0);
}

TEST(DriveFile, TextsMayHoldAnyBytesThatFit) {
  EXPECT_EQ(sata(R"(, "model": "A %n B")").model, "A %n B");
  EXPECT_EQ(sata(R"(, "model": {"hex": "00 ff 20"})").model, std::string("\0\xff ", 3));
  EXPECT_EQ(sata(R"(, "serial": "\u0000x")").serial, std::string("\0x", 2));
  EXPECT_EQ(sataProblem(R"(, "firmware": "123456789")"),
            "drives[0].firmware: longer than the 8 bytes that the drive has for it");
  EXPECT_EQ(nvmeProblem(R"(, "serial": "123456789012345678901")"),
            "drives[0].serial: longer than the 20 bytes that the drive has for it");
}

TEST(DriveFile, NumbersMayBeWrittenInHexadecimal) {
  EXPECT_EQ(sata(R"(, "majorVersion": "0x00f0", "rotation": "7200")").majorVersion, 0x00f0);
  EXPECT_EQ(sata(R"(, "rotation": "7200")").rotation, 7200);
  EXPECT_EQ(sataProblem(R"(, "rotation": 65536)"),
            "drives[0].rotation: whole number from 0 to 65535 expected, found 65536");
  EXPECT_EQ(sataProblem(R"(, "rotation": -1)"),
            "drives[0].rotation: whole number from 0 to 65535 expected, found -1");
  EXPECT_EQ(sataProblem(R"(, "rotation": "0x")"),
            "drives[0].rotation: whole number from 0 to 65535 expected, found \"0x\"");
}

TEST(DriveFile, RemovableFileIsTextTruthMissingOrOutOfReach) {
  const auto removable = [](const std::string& value) {
    return *drive(R"({"kind": "scsi", "node": "sda", "removable": )" + value + "}").removable;
  };
  EXPECT_EQ(std::get<std::string>(removable("true")), "1\n");
  EXPECT_EQ(std::get<std::string>(removable("false")), "0\n");
  EXPECT_EQ(std::get<std::string>(removable("\" 0\"")), " 0");
  EXPECT_EQ(std::get<std::string>(removable("\"\"")), "");
  EXPECT_EQ(std::get<int>(removable("null")), ENOENT);
  EXPECT_EQ(std::get<int>(removable(R"({"errno": "EACCES"})")), EACCES);
  EXPECT_EQ(std::get<std::string>(*drive(R"({"kind": "scsi", "node": "sda"})").removable), "0\n");
  EXPECT_FALSE(drive(R"({"kind": "nvme", "node": "nvme0"})").removable);
  EXPECT_EQ(driveProblem(R"({"kind": "scsi", "node": "sda", "removable": 1})"),
            "drives[0].removable: true, false, null, the file's text or {\"errno\": ...} expected, "
            "found 1");
}

TEST(DriveFile, HoursAreAttributeNine) {
  const AtaDescription description = sata(R"(, "hours": 281474976710655)");
  ASSERT_EQ(description.attributes.size(), 1U);
  EXPECT_EQ(description.attributes[0].id, 9);
  EXPECT_EQ(description.attributes[0].raw, 281474976710655U);
  EXPECT_EQ(description.hours, 281474976710655U);
  EXPECT_NE(sataProblem(R"(, "hours": 281474976710656)"), "none");
  EXPECT_EQ(sataProblem(R"(, "hours": 1, "smart": {"attributes": [{"id": 9}]})"),
            "drives[0].hours: attribute 9 says this already");
}

TEST(DriveFile, AttributesHaveAllTheirFields) {
  const AtaDescription description = sata(R"(, "smart": {"logs": false, "attributes": [
      {"id": 230, "name": "wear", "flags": "0x0123", "current": 97, "worst": 98, "raw": 5, "reserved": 6},
      {"id": 231, "current": "wear"}]})");
  const SmartAttribute& first = description.attributes.at(0);
  EXPECT_EQ(first.id, 230);
  EXPECT_EQ(first.flags, 0x0123);
  EXPECT_EQ(first.current, 97);
  EXPECT_FALSE(first.currentIsWear);
  EXPECT_EQ(first.worst, 98);
  EXPECT_EQ(first.raw, 5U);
  EXPECT_EQ(first.reserved, 6);
  EXPECT_TRUE(description.attributes.at(1).currentIsWear);
  EXPECT_FALSE(description.smartLogs);
  EXPECT_EQ(sataProblem(R"(, "smart": {"attributes": [{"raw": 5}]})"),
            "drives[0].smart.attributes[0]: \"id\" is missing");
}

TEST(DriveFile, NoDriveHasMoreThanThirtyAttributes) {
  std::string attributes = "{\"id\": 1}";
  for (int i = 1; i < 30; ++i) {
    attributes += ", {\"id\": 1}";
  }
  EXPECT_EQ(sataProblem(R"(, "smart": {"attributes": [)" + attributes + "]}"), "none");
  EXPECT_EQ(sataProblem(R"(, "hours": 3, "smart": {"attributes": [)" + attributes + "]}"),
            "drives[0]: more than the 30 SMART attributes that a drive can have");
}

TEST(DriveFile, SmartCanBeOffAltogether) {
  EXPECT_FALSE(sata(R"(, "smart": false)").smart);
  EXPECT_TRUE(sata(R"(, "smart": true)").smart);
}

TEST(DriveFile, StatisticsHavePagesNumberFlagsAndPercentage) {
  const AtaDescription description = sata(
      R"(, "statistics": {"pages": "0x0108", "pageNumber": 6, "flags": ["supported", "valid"], "percentageUsed": 33})");
  EXPECT_EQ(description.statistics->pages, 0x0108);
  EXPECT_EQ(description.statistics->pageNumber, 6);
  EXPECT_EQ(description.statistics->flags, 0xc0);
  EXPECT_EQ(description.wear.at(0, 0), 33);
  EXPECT_EQ(sata(R"(, "statistics": {"flags": ["normalized"]})").statistics->flags, 0x20);
  EXPECT_EQ(sata(R"(, "statistics": true)").statistics->flags, 0xe0);
  EXPECT_FALSE(sata(R"(, "statistics": false)").statistics);
  EXPECT_EQ(sataProblem(R"(, "wear": 3, "statistics": {"percentageUsed": 33})"),
            "drives[0].statistics.percentageUsed: the drive's \"wear\" says this already");
  EXPECT_EQ(
      sataProblem(R"(, "statistics": {"flags": ["good"]})"),
      "drives[0].statistics.flags[0]: supported, valid or normalized expected, found \"good\"");
}

TEST(DriveFile, WearMovesInAnyOfItsForms) {
  EXPECT_EQ(sata(R"(, "wear": 33)").wear.at(9, 9), 33);
  EXPECT_EQ(sata(R"(, "wear": {"readings": [1, 2]})").wear.at(1, 0), 2);
  EXPECT_EQ(sata(R"(, "wear": {"schedule": [[0, 1], [2.5, 3]]})").wear.at(0, 2.5), 3);
  EXPECT_EQ(sata(R"(, "wear": {"start": 90, "perSecond": 2})").wear.at(0, 3), 96);
  EXPECT_EQ(nvme(R"(, "wear": {"readings": [1, 2]})").wear.at(1, 0), 2);
}

TEST(DriveFile, WearThatMakesNoSenseIsRefused) {
  EXPECT_NE(sataProblem(R"(, "wear": 256)"), "none");
  EXPECT_EQ(sataProblem(R"(, "wear": {"readings": []})"),
            "drives[0].wear.readings: at least one reading expected");
  EXPECT_EQ(sataProblem(R"(, "wear": {"schedule": []})"),
            "drives[0].wear.schedule: at least one step expected");
  EXPECT_EQ(sataProblem(R"(, "wear": {"schedule": [[5, 1], [5, 2]]})"),
            "drives[0].wear.schedule[1][0]: later than the step before expected");
  EXPECT_EQ(sataProblem(R"(, "wear": {"schedule": [[5]]})"),
            "drives[0].wear.schedule[0]: [seconds, percent] expected");
  EXPECT_EQ(sataProblem(R"(, "wear": {"start": 5})"), "drives[0].wear: \"perSecond\" is missing");
  EXPECT_EQ(sataProblem(R"(, "wear": {"readings": [1], "start": 5})"),
            "drives[0].wear.start: unknown key; known are readings");
}

TEST(DriveFile, RawBytesAreHexAListOrSparse) {
  const AtaDescription description = sata(R"(, "raw": {
      "identify": {"size": 512, "at": {"0x1b2": "01 00", "0": "40"}},
      "smartData": ["0a", {"size": 511}],
      "generalPurposeLogs": {"0x04": {"size": 4096}},
      "smartLogs": {"0": {"size": 512}}})");
  EXPECT_EQ(description.rawIdentify.size(), 512U);
  EXPECT_EQ(description.rawIdentify[0], 0x40);
  EXPECT_EQ(description.rawIdentify[434], 1);
  EXPECT_EQ(description.rawSmartData[0], 0x0a);
  EXPECT_EQ(description.rawGeneralPurposeLogs.at(4).size(), 4096U);
  EXPECT_EQ(description.rawSmartLogs.at(0).size(), 512U);
}

TEST(DriveFile, RawBytesOfTheWrongSizeAreRefused) {
  EXPECT_EQ(sataProblem(R"(, "raw": {"identify": "00"})"),
            "drives[0].raw.identify: 512 bytes expected, found 1");
  EXPECT_EQ(sataProblem(R"(, "raw": {"smartData": "0"})"),
            "drives[0].raw.smartData: bytes in hexadecimal digits expected, found \"0\"");
  EXPECT_EQ(sataProblem(R"(, "raw": {"smartLogs": {"4": {"size": 511}}})"),
            "drives[0].raw.smartLogs.4: whole sectors of 512 bytes expected");
  EXPECT_EQ(sataProblem(R"(, "raw": {"smartLogs": {"256": {"size": 512}}})"),
            "drives[0].raw.smartLogs.256: whole number from 0 to 255 expected, found \"256\"");
  EXPECT_EQ(sataProblem(R"(, "raw": {"identify": {"size": 512, "at": {"511": "01 02"}}})"),
            "drives[0].raw.identify.at.511: bytes do not lie within the size of 512");
}

TEST(DriveFile, NvmeControllerHasOneActiveNamespaceUnlessToldOtherwise) {
  const NvmeDescription usual = nvme("");
  EXPECT_EQ(usual.namespaces, 1U);
  EXPECT_EQ(usual.activeNamespaces, std::vector<std::uint32_t>{1});
  EXPECT_FALSE(usual.namespaceId);
  EXPECT_TRUE(nvme(R"(, "namespaces": 0)").activeNamespaces.empty());
  const NvmeDescription three = nvme(R"(, "namespaces": 3, "activeNamespaces": [1, 3])");
  EXPECT_EQ(three.activeNamespaces, (std::vector<std::uint32_t>{1, 3}));
  EXPECT_EQ(nvme(R"(, "namespaceId": 3)").namespaceId, 3);
  EXPECT_FALSE(nvme(R"(, "namespaceId": -1)").namespaceId);
  EXPECT_EQ(nvmeProblem(R"(, "activeNamespaces": [2])"),
            "drives[0].activeNamespaces[0]: whole number from 1 to 1 expected, found 2");
}

TEST(DriveFile, NvmeHoursMayTake128Bits) {
  EXPECT_EQ(nvme(R"(, "hours": 7310)").hours.low, 7310U);
  const Wide most = nvme(R"(, "hours": "340282366920938463463374607431768211455")").hours;
  EXPECT_EQ(most.low, 0xffffffffffffffff);
  EXPECT_EQ(most.high, 0xffffffffffffffff);
  const Wide beyond = nvme(R"(, "hours": "18446744073709551617")").hours;
  EXPECT_EQ(beyond.low, 1U);
  EXPECT_EQ(beyond.high, 1U);
  EXPECT_NE(nvmeProblem(R"(, "hours": "340282366920938463463374607431768211456")"), "none");
  EXPECT_NE(nvmeProblem(R"(, "hours": "12x")"), "none");
  EXPECT_NE(nvmeProblem(R"(, "hours": "")"), "none");
  EXPECT_NE(nvmeProblem(R"(, "hours": -1)"), "none");
}

TEST(DriveFile, NvmePercentageIsWearThatStays) {
  EXPECT_EQ(nvme(R"(, "percentageUsed": 203)").wear.at(5, 5), 203);
  EXPECT_EQ(nvmeProblem(R"(, "percentageUsed": 203, "wear": 3)"),
            "drives[0].percentageUsed: the drive's \"wear\" says this already");
}

TEST(DriveFile, NvmeRawDataHasTheSizeOfItsStructure) {
  const NvmeDescription description = nvme(R"(, "raw": {"controller": {"size": 4096},
      "namespaces": {"2": {"size": 4096}}, "health": {"size": 512}})");
  EXPECT_EQ(description.rawController.size(), 4096U);
  EXPECT_EQ(description.rawNamespaces.at(2).size(), 4096U);
  EXPECT_EQ(description.rawHealth.size(), 512U);
  EXPECT_EQ(nvmeProblem(R"(, "raw": {"health": {"size": 511}})"),
            "drives[0].raw.health: 512 bytes expected, found 511");
}

TEST(DriveFile, RecordedDriveHasRequestsWithAnswers) {
  const DriveDescription description = drive(R"({"kind": "recorded", "node": "sda", "requests": [
      {"request": "HDIO_DRIVE_CMD", "sent": "b0 01 d8 00", "answers": [
          {"header": "50 00 00 00"}, {"errno": "EIO"}]},
      {"request": "SG_IO", "sent": "85", "answers": [
          {"status": 2, "hostStatus": 1, "driverStatus": 8, "sense": "72", "data": {"size": 512}}]},
      {"request": "NVME_IOCTL_ID", "answers": [{"return": 3, "result": 7}]}]})");
  const auto& recorded = std::get<RecordedDescription>(description.drive);
  ASSERT_EQ(recorded.requests.size(), 3U);
  EXPECT_EQ(recorded.requests[0].kind, RequestKind::hdioDriveCmd);
  EXPECT_EQ(toHex(recorded.requests[0].sent), "b0 01 d8 00");
  EXPECT_EQ(toHex(recorded.requests[0].answers[0].header), "50 00 00 00");
  EXPECT_EQ(recorded.requests[0].answers[1].result, -1);
  EXPECT_EQ(recorded.requests[0].answers[1].error, EIO);
  EXPECT_EQ(recorded.requests[1].answers[0].status, 2);
  EXPECT_EQ(recorded.requests[1].answers[0].hostStatus, 1);
  EXPECT_EQ(recorded.requests[1].answers[0].driverStatus, 8);
  EXPECT_EQ(toHex(recorded.requests[1].answers[0].sense), "72");
  EXPECT_EQ(recorded.requests[1].answers[0].data.size(), 512U);
  EXPECT_EQ(recorded.requests[2].answers[0].result, 3);
  EXPECT_EQ(recorded.requests[2].answers[0].nvmeResult, 7U);
  EXPECT_TRUE(description.removable);
  EXPECT_FALSE(drive(R"({"kind": "recorded", "node": "nvme0", "requests": []})").removable);
}

TEST(DriveFile, RecordedRequestsWithoutAnswersAreRefused) {
  const auto problem = [](const std::string& request) {
    return driveProblem(R"({"kind": "recorded", "node": "sda", "requests": [)" + request + "]}");
  };
  EXPECT_EQ(problem(R"({"request": "SG_IO", "answers": []})"),
            "drives[0].requests[0].answers: at least one answer expected");
  EXPECT_EQ(
      problem(R"({"request": "other", "answers": [{}]})"),
      "drives[0].requests[0].request: HDIO_GET_IDENTITY, HDIO_DRIVE_CMD, SG_IO, NVME_IOCTL_ID or "
      "NVME_IOCTL_ADMIN_CMD expected, found \"other\"");
  EXPECT_EQ(problem(R"({"request": "SG_IO", "answers": [{"errno": "EIO", "return": 0}]})"),
            "drives[0].requests[0].answers[0].return: an answer with an errno has no other result");
}

TEST(DriveFile, NodesAreNamedAsTheKernelNamesThem) {
  for (const char* const node : {"hda", "sd", "sda1", "sdA", "sda/..", ""}) {
    EXPECT_EQ(
        driveProblem(R"({"kind": "sata", "node": ")" + std::string(node) + "\"}"),
        "drives[0].node: sda to sdz, sdaa and so on expected, found \"" + std::string(node) + '"');
  }
  for (const char* const node : {"sda", "nvme", "nvme00", "nvme01", "nvme0n1"}) {
    EXPECT_EQ(
        driveProblem(R"({"kind": "nvme", "node": ")" + std::string(node) + "\"}"),
        "drives[0].node: nvme0, nvme1 and so on expected, found \"" + std::string(node) + '"');
  }
  EXPECT_EQ(driveProblem(R"({"kind": "nvme", "node": "nvme10"})"), "none");
  EXPECT_EQ(driveProblem(R"({"kind": "recorded", "node": "nvme0n1", "requests": []})"), "none");
  EXPECT_EQ(driveProblem(R"({"kind": "tape", "node": "st0"})"),
            "drives[0].kind: sata, nvme, scsi or recorded expected, found \"tape\"");
}

}  // namespace
}  // namespace simulator

#include <gtest/gtest.h>
#include <linux/hdreg.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "simulator/ErrnoNames.h"
#include "simulator/Machine.h"
#include "tests/simulator/Requests.h"

// What a real kernel answered to real requests (6.1, measured), held against the simulator. The
// cases stand in kernel-answers.json so that a real kernel can be asked them again.
namespace simulator {
namespace {

using nlohmann::json;
using test::DriveCmdRequest;
using test::IdentityRequest;
using test::LogRequest;
using test::NvmeRequest;

struct Case {
  std::string name;
  json content;
};

void PrintTo(const Case& kernelCase, std::ostream* out) { *out << kernelCase.name; }

std::vector<Case> cases() {
  std::ifstream file(VEKSSD_KERNEL_ANSWERS);
  std::vector<Case> all;
  for (const json& entry : json::parse(file)) {
    all.push_back({entry.at("name"), entry});
  }
  return all;
}

std::string testName(const testing::TestParamInfo<Case>& info) {
  std::string name = info.param.name;
  name.erase(std::remove_if(name.begin(), name.end(),
                            [](unsigned char c) { return std::isalnum(c) == 0 && c != ' '; }),
             name.end());
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

Machine machineFor(const json& content) {
  json machine{{"name", "case"}, {"drives", json::array({content.at("drive")})}};
  machine["privileged"] = content.value("privileged", true);
  if (content.contains("fault")) {
    json fault = content.at("fault");
    fault["call"] = "ioctl";
    machine["faults"] = json::array({fault});
  }
  return Machine(test::machineOf(machine.dump()));
}

class KernelAnswers : public testing::TestWithParam<Case> {
 protected:
  const json& ask() const { return GetParam().content.at("ask"); }
  const json& expected() const { return GetParam().content.at("expect"); }
  Bytes sent() const { return fromHex(ask().at("sent").get<std::string>()).value(); }

  void expectReply(const Reply& reply) const {
    if (expected().contains("errno")) {
      EXPECT_EQ(reply.result, -1);
      EXPECT_EQ(errnoName(reply.error), expected().at("errno").get<std::string>());
    } else {
      EXPECT_EQ(reply.result, expected().at("return").get<int>());
    }
    EXPECT_EQ(reply.delay, std::chrono::milliseconds(expected().value("delayMs", 0)));
  }

  void askDriveCommand(Machine& machine, Drive& drive) const {
    const Bytes bytes = sent();
    DriveCmdRequest request({bytes.at(0), bytes.at(1), bytes.at(2), bytes.at(3)});
    expectReply(machine.ioctl(drive, decodeRequest(HDIO_DRIVE_CMD, request.block.data()), 0));
    EXPECT_EQ(request.header(), expected().value("header", request.header()));
  }

  void askPassThrough(Machine& machine, Drive& drive) const {
    LogRequest request(0, 0);
    const Bytes bytes = sent();
    std::copy(bytes.begin(), bytes.end(), request.block.begin());
    expectReply(machine.ioctl(drive, request.request(), 0));
    const sg_io_hdr_t& header = request.header;
    EXPECT_EQ(header.status, expected().value("status", header.status));
    EXPECT_EQ(header.host_status, expected().value("hostStatus", header.host_status));
    EXPECT_EQ(header.driver_status, expected().value("driverStatus", header.driver_status));
    EXPECT_EQ(header.sb_len_wr, expected().value("senseLength", header.sb_len_wr));
    EXPECT_EQ(request.senseText(), expected().value("sense", request.senseText()));
    const std::string format = toHex(request.sense.data(), 1);
    EXPECT_EQ(format, expected().value("format", format));
    const std::string registers = toHex(request.sense.data() + 8, 2);
    EXPECT_EQ(registers, expected().value("registers", registers));
  }

  void askNvme(Machine& machine, Drive& drive) const {
    NvmeRequest request(ask().at("opcode"), ask().at("nsid"), ask().at("cdw10"),
                        ask().at("length"));
    expectReply(machine.ioctl(drive, decodeRequest(NVME_IOCTL_ADMIN_CMD, &request.command), 0));
    EXPECT_EQ(request.command.result, expected().value("result", NvmeRequest::kResultBefore));
    if (expected().contains("dataAt5")) {
      EXPECT_EQ(request.data.at(5), expected().at("dataAt5").get<int>());
    }
  }
};

TEST_P(KernelAnswers, AreTheSimulatorsToo) {
  Machine machine = machineFor(GetParam().content);
  Drive* drive = machine.drive(GetParam().content.at("drive").at("node").get<std::string>());
  ASSERT_NE(drive, nullptr);
  const std::string request = ask().at("request");
  if (request == "HDIO_DRIVE_CMD") {
    askDriveCommand(machine, *drive);
  } else if (request == "SG_IO") {
    askPassThrough(machine, *drive);
  } else if (request == "NVME_IOCTL_ADMIN_CMD") {
    askNvme(machine, *drive);
  } else if (request == "NVME_IOCTL_ID") {
    expectReply(machine.ioctl(*drive, decodeRequest(NVME_IOCTL_ID, nullptr), 0));
  } else {
    ASSERT_EQ(request, "HDIO_GET_IDENTITY");
    IdentityRequest identity;
    expectReply(machine.ioctl(*drive, decodeRequest(HDIO_GET_IDENTITY, identity.data.data()), 0));
  }
}

INSTANTIATE_TEST_SUITE_P(Measured, KernelAnswers, testing::ValuesIn(cases()), testName);

}  // namespace
}  // namespace simulator

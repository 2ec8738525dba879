#include "simulator/recorder/Anonymous.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>

#include "simulator/AtaDevice.h"

using namespace simulator;

namespace {

// IDENTIFY DEVICE data as the kernel hands it over, with a worldwide name and a right checksum.
Bytes identifyData(const std::string& serial) {
  Bytes data(512);
  putText(data, 20, 20, serial);
  putText(data, 54, 40, "TS64GHSD630");
  std::fill_n(data.begin() + 216, 8, std::uint8_t{0x5a});
  data[510] = 0xa5;
  sealChecksum(data);
  return data;
}

RecordedRequest identity(Bytes data) {
  RecordedAnswer answer;
  answer.data = std::move(data);
  return {RequestKind::hdioGetIdentity, {}, {answer}};
}

RecordedRequest nvmeIdentify(std::uint8_t cns, Bytes data) {
  RecordedAnswer answer;
  answer.data = std::move(data);
  Bytes sent(72);
  sent[0] = 0x06;
  sent[40] = cns;
  return {RequestKind::nvmeAdmin, sent, {answer}};
}

class Anonymous : public testing::Test {
 protected:
  void drive(const std::string& node, std::vector<RecordedRequest> requests) {
    machine_.drives.push_back({RecordedDescription{node, std::move(requests)}, std::nullopt});
  }

  const Bytes& data(std::size_t drive, std::size_t request = 0) const {
    return std::get<RecordedDescription>(machine_.drives.at(drive).drive)
        .requests.at(request)
        .answers.at(0)
        .data;
  }

  static std::string text(const Bytes& data, std::size_t offset, std::size_t length) {
    const auto start = data.begin() + static_cast<std::ptrdiff_t>(offset);
    return {start, start + static_cast<std::ptrdiff_t>(length)};
  }

  MachineDescription machine_;
};

TEST_F(Anonymous, SerialNumbersKeepTheirLengthAndPlace) {
  drive("sda", {identity(identifyData("  E214870391"))});
  drive("sdb", {identity(identifyData("AB"))});
  makeAnonymous(machine_);
  EXPECT_EQ(text(data(0), 20, 20), "  XXXXXXXXX1        ");
  EXPECT_EQ(text(data(1), 20, 20), "X2                  ");
  EXPECT_EQ(text(data(0), 54, 12), "TS64GHSD630 ");
}

TEST_F(Anonymous, TheSameSerialNumberIsTheSameEverywhere) {
  drive("sda", {identity(identifyData("E214870391")), identity(identifyData("E214870391"))});
  drive("sdb", {identity(identifyData("F000000000")), identity(identifyData("E214870391"))});
  makeAnonymous(machine_);
  EXPECT_EQ(data(0, 0), data(0, 1));
  EXPECT_EQ(data(0, 0), data(1, 1));
  EXPECT_NE(data(0, 0), data(1, 0));
}

TEST_F(Anonymous, WorldwideNamesAreCleared) {
  drive("sda", {identity(identifyData("E214870391"))});
  Bytes controller(4096, 0x5a);
  putText(controller, 4, 20, "50026B7686C1F0A2");
  drive("nvme0", {nvmeIdentify(1, controller), nvmeIdentify(0, Bytes(4096, 0x5a))});
  makeAnonymous(machine_);
  EXPECT_EQ(text(data(0), 216, 8), std::string(8, '\0'));
  EXPECT_EQ(text(data(1), 4, 20), "XXXXXXXXXXXXXXX2    ");
  EXPECT_EQ(text(data(1), 112, 16), std::string(16, '\0'));
  EXPECT_EQ(data(1)[111], 0x5a);
  EXPECT_EQ(data(1)[128], 0x5a);
  EXPECT_EQ(text(data(1, 1), 104, 24), std::string(24, '\0'));
  EXPECT_EQ(data(1, 1)[103], 0x5a);
  EXPECT_EQ(data(1, 1)[128], 0x5a);
}

TEST_F(Anonymous, AChecksumStaysRightOrWrong) {
  Bytes wrong = identifyData("E214870392");
  wrong[511] = static_cast<std::uint8_t>(wrong[511] + 1);
  const std::uint8_t seal = wrong[511];
  drive("sda", {identity(identifyData("E214870391"))});
  drive("sdb", {identity(wrong)});
  makeAnonymous(machine_);
  EXPECT_EQ(std::accumulate(data(0).begin(), data(0).end(), 0U) % 256, 0U);
  EXPECT_EQ(data(1)[511], seal);
}

TEST_F(Anonymous, TheSerialNumberIsFoundInOtherAnswersToo) {
  Bytes qualifiedName(768, 0);
  const std::string name = "nqn.2014-08.org:E214870391:x";
  qualifiedName.insert(qualifiedName.end(), name.begin(), name.end());
  // As READ by pass-through: the two bytes of each word exchanged.
  Bytes swapped = identifyData("E214870391");
  swapWords(swapped, 20, 20);
  RecordedRequest passThrough = identity(swapped);
  passThrough.kind = RequestKind::sgIo;
  RecordedRequest other = identity(qualifiedName);
  other.kind = RequestKind::sgIo;
  drive("sda", {identity(identifyData("E214870391")), other, passThrough});
  makeAnonymous(machine_);
  EXPECT_EQ(text(data(0, 1), 768, name.size()), "nqn.2014-08.org:XXXXXXXXX1:x");
  Bytes back = data(0, 2);
  swapWords(back, 20, 20);
  EXPECT_EQ(text(back, 20, 20), "XXXXXXXXX1          ");
}

TEST_F(Anonymous, AnAnswerThatIsTooShortOrNoneIsLeftAlone) {
  RecordedAnswer failed;
  failed.result = -1;
  drive("sda", {identity(Bytes(30, 0x41)), {RequestKind::hdioGetIdentity, {}, {failed}}});
  drive("nvme0", {{RequestKind::nvmeAdmin, {0x06}, {failed}}});
  makeAnonymous(machine_);
  EXPECT_EQ(data(0), Bytes(30, 0x41));
}

}  // namespace

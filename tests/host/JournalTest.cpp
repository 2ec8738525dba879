#include "host/Journal.h"

#include <cmpi/cmpimacs.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "host/Broker.h"

using cmpihost::Broker;
using cmpihost::BrokerOptions;

namespace {

using Lines = std::vector<std::string>;

TEST(Journal, KeepsEveryCallWithItsArgumentsInOrder) {
  Broker broker;
  CMPIObjectPath* const op = CMNewObjectPath(broker.cmpi(), "root/cimv2", "A_Class", nullptr);
  CMAddKey(op, "DeviceID", "a \"b\"", CMPI_chars);
  CMPIInstance* const inst = CMNewInstance(broker.cmpi(), op, nullptr);
  const CMPIUint8 percent = 34;
  CMSetProperty(inst, "PercentageUsed", &percent, CMPI_uint8);
  CMGetKey(op, "Nothing", nullptr);
  EXPECT_EQ(
      broker.journal().texts(),
      (Lines{"broker.newObjectPath(\"root/cimv2\", \"A_Class\")",
             "objectPath#1.addKey(DeviceID, chars \"a \"b\"\")", "broker.newInstance(objectPath#1)",
             "instance#1.setProperty(PercentageUsed, uint8 34)", "objectPath#1.getKey(Nothing)"}));
}

TEST(Journal, CountsTheCallsOfASlotWhateverTheyWereMadeOn) {
  Broker broker;
  CMPIString* const first = CMNewString(broker.cmpi(), "a", nullptr);
  CMPIString* const second = CMNewString(broker.cmpi(), "b", nullptr);
  CMGetCharPtr(first);
  CMGetCharPtr(second);
  CMGetCharPtr(second);
  EXPECT_EQ(broker.journal().count("getCharPtr"), 3U);
  EXPECT_EQ(broker.journal().callsTo("getCharPtr").back().on, "string#2");
  EXPECT_EQ(broker.journal().count("newInstance"), 0U);
  broker.journal().clear();
  EXPECT_EQ(broker.journal().count("getCharPtr"), 0U);
}

TEST(Journal, KnowsTheThreadOfEachCall) {
  Broker broker;
  std::thread::id other;
  std::thread thread([&] {
    other = std::this_thread::get_id();
    CMNewDateTime(broker.cmpi(), nullptr);
  });
  thread.join();
  CMNewDateTime(broker.cmpi(), nullptr);
  const auto calls = broker.journal().calls();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0].thread, other);
  EXPECT_EQ(calls[1].thread, std::this_thread::get_id());
}

TEST(Journal, LosesNoCallOfThreadsThatCallAtOnce) {
  Broker broker;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int call = 0; call < 200; ++call) {
        CMNewString(broker.cmpi(), "text", nullptr);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(broker.journal().count("newString"), 800U);
  EXPECT_EQ(broker.liveObjects(), 800U);
}

TEST(Journal, CanBeLeftOut) {
  BrokerOptions options;
  options.journal = false;
  Broker broker(options);
  CMNewString(broker.cmpi(), "text", nullptr);
  EXPECT_TRUE(broker.journal().calls().empty());
}

}  // namespace

#include "host/Provider.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "host/HostError.h"

using cmpihost::Broker;
using cmpihost::BrokerOptions;
using cmpihost::Filter;
using cmpihost::HostError;
using cmpihost::Instance;
using cmpihost::ObjectPath;
using cmpihost::Provider;
using cmpihost::Reply;
using cmpihost::Value;

namespace {

using namespace std::chrono_literals;

std::string errorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const HostError& error) {
    return error.what();
  }
  return "no error";
}

// ---- Loading ----------------------------------------------------------------------------------

TEST(LoadingAProvider, ALibraryThatIsNotThereIsNamed) {
  Broker broker;
  EXPECT_EQ(errorOf([&] { Provider(broker, "/nowhere/libnone.so", "Sample"); }),
            "library not found: /nowhere/libnone.so");
}

TEST(LoadingAProvider, APlainNameIsLeftToTheLoader) {
  Broker broker;
  const std::string error = errorOf([&] { Provider(broker, "libnone-such.so.7", "Sample"); });
  EXPECT_EQ(error.find("library can't be loaded: libnone-such.so.7"), 0U) << error;
}

TEST(LoadingAProvider, AFileThatIsNoLibraryIsNamed) {
  Broker broker;
  const std::string error = errorOf([&] { Provider(broker, "/proc/self/cmdline", "Sample"); });
  EXPECT_EQ(error.find("library can't be loaded: /proc/self/cmdline"), 0U) << error;
}

TEST(LoadingAProvider, AMissingFactoryIsNamed) {
  Broker broker;
  Provider provider(broker, SAMPLE_PROVIDER, "Other");
  EXPECT_EQ(errorOf([&] { provider.createInstanceMI(); }),
            "library " SAMPLE_PROVIDER " has no symbol Other_Create_InstanceMI");
  EXPECT_EQ(errorOf([&] { provider.enableIndications(); }),
            "library " SAMPLE_PROVIDER " has no symbol Other_Create_IndicationMI");
}

TEST(LoadingAProvider, AFactoryThatAnswersNullIsNamedWithItsStatus) {
  Broker broker;
  Provider provider(broker, SAMPLE_PROVIDER, "Empty");
  EXPECT_EQ(errorOf([&] { provider.createInstanceMI(); }),
            "Empty_Create_InstanceMI of " SAMPLE_PROVIDER
            " answers null, status CMPI_RC_ERR_FAILED (1): nothing to manage");
}

TEST(LoadingAProvider, UnloadingTellsWhetherTheLibraryHasLeft) {
  Broker broker;
  Provider leaving(broker, SAMPLE_PROVIDER, "Sample");
  EXPECT_TRUE(leaving.unload());
  EXPECT_FALSE(leaving.unload());
  EXPECT_EQ(errorOf([&] { leaving.createInstanceMI(); }),
            "library " SAMPLE_PROVIDER " was given up already");
  Provider staying(broker, STAYING_PROVIDER, "Sample");
  EXPECT_FALSE(staying.unload());
}

// ---- Requests ---------------------------------------------------------------------------------

class ASampleProvider : public testing::Test {
 protected:
  // What the provider noted since the last question.
  std::string wasAsked() {
    return reinterpret_cast<const char* (*)()>(provider.symbol("sampleWasAsked"))();
  }
  void* alarm(long milliseconds = 0) {
    return reinterpret_cast<void* (*)(long)>(provider.symbol("sampleAlarm"))(milliseconds);
  }
  void subscribe() {
    provider.activateFilter(filter, 1);
    provider.enableIndications();
  }

  Broker broker;
  Provider provider{broker, SAMPLE_PROVIDER, "Sample"};
  const ObjectPath gauges{"root/cimv2", "Sample_Gauge"};
  const Filter filter{"Sample_Alarm"};
};

TEST_F(ASampleProvider, IsCreatedByTheFirstRequestThatNeedsIt) {
  EXPECT_EQ(provider.instanceMI(), nullptr);
  provider.enumerateInstanceNames(gauges);
  EXPECT_EQ(wasAsked(), "instance factory\nnames root/cimv2:Sample_Gauge\n");
  provider.enumerateInstanceNames(gauges);
  EXPECT_EQ(wasAsked(), "names root/cimv2:Sample_Gauge\n");
  ASSERT_NE(provider.instanceMI(), nullptr);
  EXPECT_STREQ(provider.instanceMI()->ft->miName, "instanceSample");
  EXPECT_EQ(provider.indicationMI(), nullptr);
}

TEST_F(ASampleProvider, GivesItsPathsAndInstancesAsValues) {
  const Reply names = provider.enumerateInstanceNames(gauges);
  EXPECT_TRUE(names.status.ok());
  EXPECT_EQ(names.doneCalls, 1U);
  ASSERT_EQ(names.paths.size(), 2U);
  EXPECT_EQ(names.paths[1].text(), "root/cimv2:Sample_Gauge.Name=\"right\"");

  const Reply reply = provider.enumerateInstances(gauges);
  EXPECT_EQ(reply.doneCalls, 1U);
  ASSERT_EQ(reply.instances.size(), 2U);
  const Instance& left = reply.instances[0];
  EXPECT_EQ(left.propertyNames(), (std::vector<std::string>{"Name", "Level", "Name"}));
  EXPECT_EQ(*left.property("Level"), Value::uint8(34));
  EXPECT_EQ(*left.property("Name"), Value::chars("left"));
  EXPECT_EQ(left.path.text(), "root/cimv2:Sample_Gauge.Name=\"left\"");
}

TEST_F(ASampleProvider, LeavesNoObjectBehindAfterARequest) {
  provider.enumerateInstances(gauges);
  EXPECT_EQ(broker.liveObjects(), 0U);
}

TEST_F(ASampleProvider, IsToldThePropertyList) {
  provider.enumerateInstances(gauges);
  provider.enumerateInstances(gauges, {{"Name", "Level"}});
  provider.enumerateInstances(gauges, std::vector<std::string>{});
  EXPECT_EQ(wasAsked(),
            "instance factory\ninstances root/cimv2:Sample_Gauge all\n"
            "instances root/cimv2:Sample_Gauge Name Level\n"
            "instances root/cimv2:Sample_Gauge\n");
}

TEST_F(ASampleProvider, AnswersAGetWithOneInstanceOrWithAStatusAndItsText) {
  const Reply found = provider.getInstance(gauges.withKey("Name", Value::string("left")));
  EXPECT_TRUE(found.status.ok());
  ASSERT_EQ(found.instances.size(), 1U);
  const Reply none = provider.getInstance(gauges.withKey("Name", Value::string("middle")));
  EXPECT_EQ(none.status.describe(), "CMPI_RC_ERR_NOT_FOUND (6): no such gauge");
  EXPECT_EQ(none.doneCalls, 1U);
}

TEST_F(ASampleProvider, SeesKeysOfOddKindsAsTheyWereGiven) {
  struct Case {
    Value key;
    const char* seen;
    CMPIType type;
    CMPIValueState state;
  };
  const std::vector<Case> cases = {
      {Value::string("a"), "a", CMPI_string, CMPI_goodValue},
      {Value::string("a").withState(CMPI_keyValue), "a", CMPI_string, CMPI_keyValue},
      {Value::chars("b"), "b", CMPI_chars, CMPI_goodValue},
      {Value::uint8(7), "7", CMPI_uint8, CMPI_goodValue},
      {Value::null(CMPI_string).withState(CMPI_keyValue), "(null)", CMPI_string, 0x300},
      {Value::stringWithoutCharacters(), "(null)", CMPI_string, CMPI_goodValue},
      {Value::null(CMPI_chars), "(null)", CMPI_chars, CMPI_nullValue},
  };
  provider.createInstanceMI();
  for (const Case& c : cases) {
    wasAsked();
    const Reply reply = provider.getInstance(gauges.withKey("Name", c.key));
    EXPECT_EQ(wasAsked(),
              std::string("get root/cimv2:Sample_Gauge Name=") + c.seen + " all by root\n");
    ASSERT_EQ(reply.data.size(), 2U);
    EXPECT_EQ(reply.data[0].asUnsigned(), c.type);
    EXPECT_EQ(reply.data[1].asUnsigned(), c.state);
  }
}

TEST_F(ASampleProvider, RefusesWhatItDoesNotSupport) {
  Instance instance{gauges, {{"Level", Value::uint8(7)}}};
  EXPECT_EQ(provider.createInstance(gauges, instance).status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(provider.modifyInstance(gauges, instance, {{"Level"}}).status.rc,
            CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(provider.deleteInstance(gauges).status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(provider.execQuery(gauges, "SELECT *", "WQL").status.rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(wasAsked(),
            "instance factory\ncreate root/cimv2:Sample_Gauge Level=7\n"
            "modify root/cimv2:Sample_Gauge Level\ndelete root/cimv2:Sample_Gauge\n"
            "query root/cimv2:Sample_Gauge WQL: SELECT *\n");
}

TEST_F(ASampleProvider, SeesTheContextEntriesOfTheBroker) {
  BrokerOptions options;
  options.contextEntries = {{"CMPIPrincipal", Value::string("kim")}};
  Broker other(options);
  Provider same(other, SAMPLE_PROVIDER, "Sample");
  same.getInstance(gauges);
  EXPECT_NE(wasAsked().find("by kim"), std::string::npos);
}

TEST_F(ASampleProvider, AnswersRequestsOfSeveralThreadsAtOnce) {
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int request = 0; request < 25; ++request) {
        const Reply reply = provider.enumerateInstances(gauges);
        right += reply.instances.size() == 2 && reply.doneCalls == 1 ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(right, 100);
  EXPECT_EQ(broker.liveObjects(), 0U);
}

// ---- Indications ------------------------------------------------------------------------------

TEST_F(ASampleProvider, IsAskedAboutAFilterInTheFormOfItsSlots) {
  Filter owned = filter;
  owned.owner = "kim";
  EXPECT_TRUE(provider.authorizeFilter(owned).ok());
  EXPECT_EQ(provider.authorizeFilter(Filter{"Other"}).rc, CMPI_RC_ERR_INVALID_CLASS);
  EXPECT_EQ(provider.mustPoll(filter).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_TRUE(provider.activateFilter(filter, 0xff).ok());
  provider.enableIndications();
  EXPECT_TRUE(provider.deActivateFilter(filter, 0).ok());
  provider.disableIndications();
  EXPECT_EQ(wasAsked(),
            "indication factory\n"
            "authorize root/cimv2:Sample_Alarm Sample_Alarm by kim: SELECT * FROM Sample_Alarm\n"
            "authorize root/cimv2:Other Other by nobody: SELECT * FROM Other\n"
            "mustPoll root/cimv2:Sample_Alarm Sample_Alarm\n"
            "activate root/cimv2:Sample_Alarm Sample_Alarm 255\nenable\n"
            "deactivate root/cimv2:Sample_Alarm Sample_Alarm 0\ndisable\n");
}

TEST_F(ASampleProvider, DeliversAnIndicationFromItsOwnThread) {
  subscribe();
  EXPECT_NE(alarm(), nullptr);
  const auto indication = broker.waitForIndication(10s);
  ASSERT_TRUE(indication);
  EXPECT_EQ(indication->nameSpace, "root/cimv2");
  EXPECT_EQ(indication->instance.path.text(), "root/cimv2:Sample_Alarm");
  EXPECT_EQ(*indication->instance.property("Name"), Value::chars("left"));
  EXPECT_EQ(indication->instance.property("IndicationTime")->type(), CMPI_dateTime);
  // What the request's context held has travelled through both prepared contexts.
  ASSERT_EQ(indication->context.size(), 2U);
  EXPECT_EQ(indication->context[1].value, Value::string("root"));
  EXPECT_FALSE(broker.waitForIndication(0ms));
}

TEST_F(ASampleProvider, GivesIndicationsToTheSinkInsteadOfTheQueue) {
  std::atomic<int> received{0};
  broker.onIndication([&](const cmpihost::Indication&) { ++received; });
  subscribe();
  alarm();
  EXPECT_TRUE(broker.waitForThreads(10s));
  EXPECT_EQ(received, 1);
  EXPECT_FALSE(broker.waitForIndication(0ms));
  broker.onIndication({});
  alarm();
  EXPECT_TRUE(broker.waitForIndication(10s));
  EXPECT_EQ(received, 1);
}

TEST_F(ASampleProvider, LosesAnIndicationWhoseThreadIsNotAttached) {
  subscribe();
  broker.failCall("attachThread", 1, CMPI_RC_ERR_FAILED);
  alarm();
  EXPECT_TRUE(broker.waitForThreads(10s));
  EXPECT_FALSE(broker.waitForIndication(0ms));
  EXPECT_EQ(broker.journal().count("detachThread"), 1U);
}

// ---- The end ----------------------------------------------------------------------------------

TEST_F(ASampleProvider, IsCleanedUpAsOftenAsItWasCreated) {
  provider.createInstanceMI();
  provider.createInstanceMI();
  provider.createIndicationMI();
  wasAsked();
  EXPECT_EQ(provider.cleanupInstanceMI(false).rc, CMPI_RC_DO_NOT_UNLOAD);
  EXPECT_TRUE(provider.cleanupInstanceMI(true).ok());
  EXPECT_EQ(wasAsked(), "instance cleanup 0\ninstance cleanup 1\n");
  EXPECT_TRUE(provider.cleanupInstanceMI(true).ok());
  EXPECT_TRUE(provider.cleanupIndicationMI(true).ok());
  wasAsked();
  // Once more than it was created: nothing is counted below zero.
  EXPECT_TRUE(provider.cleanupIndicationMI(true).ok());
  EXPECT_EQ(wasAsked(), "indication cleanup 1\n");
}

TEST_F(ASampleProvider, HasNothingToCleanUpBeforeItsFactoryWasCalled) {
  EXPECT_EQ(errorOf([&] { provider.cleanupInstanceMI(true); }),
            "there is no instance MI to clean up");
  EXPECT_EQ(errorOf([&] { provider.cleanupIndicationMI(true); }),
            "there is no indication MI to clean up");
}

TEST(TheEndOfAProvider, CleansUpWhatIsLeftIndicationsFirst) {
  Broker broker;
  Provider watcher(broker, SAMPLE_PROVIDER, "Sample");
  auto* const wasAsked = reinterpret_cast<const char* (*)()>(watcher.symbol("sampleWasAsked"));
  {
    Provider provider(broker, SAMPLE_PROVIDER, "Sample");
    provider.createInstanceMI();
    provider.createIndicationMI();
    provider.createInstanceMI();
    wasAsked();
  }
  EXPECT_STREQ(wasAsked(), "indication cleanup 1\ninstance cleanup 1\ninstance cleanup 1\n");
}

TEST(TheEndOfAProvider, WaitsForItsThreadsBeforeTheLibraryGoes) {
  Broker broker;
  Provider provider(broker, SAMPLE_PROVIDER, "Sample");
  provider.activateFilter(Filter{"Sample_Alarm"}, 1);
  provider.enableIndications();
  reinterpret_cast<void* (*)(long)>(provider.symbol("sampleAlarm"))(50);
  EXPECT_TRUE(provider.unload());
  EXPECT_TRUE(broker.waitForIndication(0ms));
}

}  // namespace

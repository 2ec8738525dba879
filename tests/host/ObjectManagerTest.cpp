#include "host/ObjectManager.h"

#include <cmpi/cmpimacs.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/HostError.h"

using cmpihost::BrokerCall;
using cmpihost::ClassDeclaration;
using cmpihost::Filter;
using cmpihost::ObjectManager;
using cmpihost::ObjectPath;
using cmpihost::Personality;
using cmpihost::personalityOf;
using cmpihost::Reply;
using cmpihost::Status;
using cmpihost::Value;

namespace {

using namespace std::chrono_literals;

std::vector<ClassDeclaration> classes() {
  return {{"root/cimv2", "Sample_Gauge", "", {{"Name", CMPI_string}, {"Level", CMPI_uint8}}},
          {"root/cimv2",
           "Sample_Alarm",
           "CIM_ProcessIndication",
           {{"Name", CMPI_string}, {"IndicationTime", CMPI_dateTime}}}};
}

// A manager with the sample provider; managers that leave libraries loaded get the one that stays.
class Managed {
 public:
  explicit Managed(Personality personality)
      : manager(std::make_unique<ObjectManager>(
            personality, classes(),
            personality.exitsInsteadOfUnloading ? STAYING_PROVIDER : SAMPLE_PROVIDER, "Sample")),
        wasAsked_(
            reinterpret_cast<const char* (*)()>(manager->provider().symbol("sampleWasAsked"))),
        alarm_(reinterpret_cast<void* (*)(long)>(manager->provider().symbol("sampleAlarm"))) {
    wasAsked();
  }
  explicit Managed(const char* name) : Managed(personalityOf(name)) {}

  std::string wasAsked() const { return wasAsked_(); }
  void* alarm() const { return alarm_(0); }

  std::unique_ptr<ObjectManager> manager;

 private:
  const char* (*wasAsked_)();
  void* (*alarm_)(long);
};

const ObjectPath kGauges{"root/cimv2", "Sample_Gauge"};
const Filter kFilter{"Sample_Alarm"};

std::string askedForGet(const char* personality, const ObjectPath& path) {
  Managed managed(personality);
  managed.manager->getInstance(path);
  const std::string asked = managed.wasAsked();
  return asked.substr(asked.find('\n') + 1);
}

TEST(Personalities, AreKnownByName) {
  EXPECT_EQ(cmpihost::personalityNames(),
            (std::vector<std::string>{"plain", "sfcb", "pegasus", "strict"}));
  for (const std::string& name : cmpihost::personalityNames()) {
    EXPECT_EQ(personalityOf(name).name, name);
  }
  EXPECT_THROW(personalityOf("openwbem"), cmpihost::HostError);
}

TEST(Personalities, ShowThemselvesInNameVersionAndContext) {
  Managed sfcb("sfcb");
  EXPECT_EQ(sfcb.manager->broker().cmpi()->eft->ftVersion, 1);
  sfcb.manager->getInstance(kGauges);
  EXPECT_NE(sfcb.wasAsked().find("by (null)"), std::string::npos);
  Managed pegasus("pegasus");
  EXPECT_STREQ(pegasus.manager->broker().cmpi()->bft->brokerName, "Pegasus");
  EXPECT_EQ(pegasus.manager->broker().cmpi()->eft->ftVersion, 200);
}

// ---- Requests ---------------------------------------------------------------------------------

class EveryPersonality : public testing::TestWithParam<std::string> {
 protected:
  Managed managed{GetParam().c_str()};
  ObjectManager& manager = *managed.manager;
};

INSTANTIATE_TEST_SUITE_P(All, EveryPersonality, testing::ValuesIn(cmpihost::personalityNames()),
                         [](const auto& test) { return test.param; });

TEST_P(EveryPersonality, AnswersRequests) {
  EXPECT_EQ(manager.enumerateInstanceNames(kGauges).paths.size(), 2U);
  const Reply all = manager.enumerateInstances(kGauges);
  ASSERT_EQ(all.instances.size(), 2U);
  EXPECT_EQ(*all.instances[0].property("Level"), Value::uint8(34));
  const Reply one = manager.getInstance(kGauges.withKey("Name", Value::string("left")));
  EXPECT_EQ(one.instances.size(), 1U);
  EXPECT_EQ(manager.getInstance(kGauges.withKey("Name", Value::string("up"))).status.rc,
            CMPI_RC_ERR_NOT_FOUND);
}

TEST_P(EveryPersonality, DeliversAnIndicationThatAnAttachedThreadStarts) {
  EXPECT_TRUE(manager.subscribe(kFilter).ok());
  cmpihost::Broker& broker = manager.broker();
  CMPIContext* const ctx = CBPrepareAttachThread(broker.cmpi(), nullptr);
  CBAttachThread(broker.cmpi(), ctx);
  EXPECT_NE(managed.alarm(), nullptr);
  CBDetachThread(broker.cmpi(), ctx);
  EXPECT_TRUE(broker.waitForIndication(10s));
  EXPECT_TRUE(broker.journal().violations().empty());
}

TEST_P(EveryPersonality, ActivatesNoFilterThatTheProviderRefusesIfItAsks) {
  const bool asks = manager.personality().authorises;
  EXPECT_EQ(manager.subscribe(Filter{"Other"}).rc, asks ? CMPI_RC_ERR_INVALID_CLASS : CMPI_RC_OK);
  const std::string asked = managed.wasAsked();
  EXPECT_EQ(asked.find("activate") == std::string::npos, asks);
  EXPECT_EQ(asked.find("enable") == std::string::npos, asks);
}

TEST_P(EveryPersonality, HasNoSubscriptionToTakeBack) {
  EXPECT_EQ(manager.unsubscribe(kFilter).rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_P(EveryPersonality, DoesNotIdleWhileThereAreSubscriptions) {
  manager.enumerateInstanceNames(kGauges);
  manager.subscribe(kFilter);
  EXPECT_TRUE(manager.idle().empty());
  manager.unsubscribe(kFilter);
  EXPECT_FALSE(manager.idle().empty());
}

TEST_P(EveryPersonality, StopsOnce) {
  manager.enumerateInstanceNames(kGauges);
  EXPECT_EQ(manager.stop(), !manager.personality().exitsInsteadOfUnloading);
  EXPECT_FALSE(manager.stop());
}

TEST(Requests, RunOnThreadsOfTheManagerWhereItHasSuch) {
  for (const std::string& name : cmpihost::personalityNames()) {
    Managed managed(name.c_str());
    managed.manager->enumerateInstances(kGauges);
    const auto calls = managed.manager->broker().journal().calls();
    const bool onCaller = std::any_of(calls.begin(), calls.end(), [](const BrokerCall& call) {
      return call.thread == std::this_thread::get_id();
    });
    EXPECT_EQ(onCaller, name == "plain") << name;
  }
}

TEST(Requests, ReachTheProviderAsTypedOrAsRegistered) {
  const ObjectPath shouted{"ROOT/CIMV2", "sample_gauge"};
  EXPECT_EQ(askedForGet("plain", shouted), "get ROOT/CIMV2:sample_gauge Name=- all by root\n");
  EXPECT_EQ(askedForGet("sfcb", shouted), "get ROOT/CIMV2:sample_gauge Name=- all by (null)\n");
  EXPECT_EQ(askedForGet("pegasus", shouted), "get root/cimv2:Sample_Gauge Name=- all by root\n");
  EXPECT_EQ(askedForGet("strict", shouted), "get root/cimv2:Sample_Gauge Name=- all by root\n");
}

TEST(Requests, ForUnknownClassesAreAnsweredByManagersThatKnowTheirClasses) {
  for (const ObjectPath& unknown :
       {ObjectPath{"root/cimv2", "Other"}, ObjectPath{"root/other", "Sample_Gauge"}}) {
    EXPECT_NE(askedForGet("plain", unknown), "");
    Managed sfcb("sfcb");
    EXPECT_EQ(sfcb.manager->getInstance(unknown).status.rc, CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(sfcb.wasAsked(), "");
  }
}

// ---- Keys -------------------------------------------------------------------------------------

struct KeyCase {
  const char* personality;
  const char* typed;
  const char* given;
  CMPIValueState state;
};

TEST(Keys, ArriveAsTheManagerGivesThem) {
  const std::vector<KeyCase> cases = {
      {"plain", " left ", " left ", CMPI_goodValue},
      {"plain", "", "", CMPI_goodValue},
      {"sfcb", " left ", "left", CMPI_goodValue},
      {"sfcb", "", "", CMPI_goodValue},
      {"pegasus", " left ", "left", CMPI_keyValue},
      {"pegasus", "", "(null)", 0x300},
      {"strict", "   ", "(null)", 0x300},
  };
  for (const KeyCase& c : cases) {
    Managed managed(c.personality);
    const Reply reply =
        managed.manager->getInstance(kGauges.withKey("Name", Value::string(c.typed)));
    EXPECT_NE(managed.wasAsked().find(std::string(" Name=") + c.given + " all"), std::string::npos)
        << c.personality << " \"" << c.typed << '"';
    ASSERT_EQ(reply.data.size(), 2U);
    EXPECT_EQ(reply.data[0].asUnsigned(), CMPI_string);
    EXPECT_EQ(reply.data[1].asUnsigned(), c.state) << c.personality << " \"" << c.typed << '"';
  }
}

TEST(Keys, OfOtherTypesAreLeftAlone) {
  Managed managed("pegasus");
  const Reply reply = managed.manager->getInstance(kGauges.withKey("Name", Value::uint8(7)));
  EXPECT_EQ(reply.data[0].asUnsigned(), CMPI_uint8);
  EXPECT_EQ(reply.data[1].asUnsigned(), CMPI_goodValue);
}

// ---- Properties -------------------------------------------------------------------------------

TEST(Properties, AreCheckedAgainstTheClassByManagersThatDo) {
  const CMPIUint8 u8 = 1;
  const CMPIUint16 u16 = 1;
  for (const std::string& name : cmpihost::personalityNames()) {
    Managed managed(name.c_str());
    const CMPIBroker* const mb = managed.manager->broker().cmpi();
    CMPIObjectPath* const op = CMNewObjectPath(mb, "root/cimv2", "Sample_Gauge", nullptr);
    CMPIInstance* const inst = CMNewInstance(mb, op, nullptr);
    const bool checks = name == "pegasus" || name == "strict";
    EXPECT_EQ(CMSetProperty(inst, "Level", &u16, CMPI_uint16).rc,
              checks ? CMPI_RC_ERR_INVALID_DATA_TYPE : CMPI_RC_OK);
    EXPECT_EQ(CMSetProperty(inst, "level", &u8, CMPI_uint8).rc, CMPI_RC_OK);
    EXPECT_EQ(CMSetProperty(inst, "Name", "left", CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(CMSetProperty(inst, "Undeclared", "x", CMPI_chars).rc, CMPI_RC_OK);
    CMPIStatus rc{CMPI_RC_OK, nullptr};
    CMGetProperty(inst, "Undeclared", &rc);
    EXPECT_EQ(rc.rc, checks ? CMPI_RC_ERR_NO_SUCH_PROPERTY : CMPI_RC_OK);
    EXPECT_EQ(CMGetProperty(inst, "Level", nullptr).type, CMPI_uint8);
    // A class that nobody registered can't be checked.
    CMPIObjectPath* const other = CMNewObjectPath(mb, "root/cimv2", "Other", nullptr);
    EXPECT_EQ(CMSetProperty(CMNewInstance(mb, other, nullptr), "A", &u8, CMPI_uint8).rc,
              CMPI_RC_OK);
  }
}

// ---- Subscriptions ----------------------------------------------------------------------------

constexpr const char* kAuthorise =
    "authorize root/cimv2:Sample_Alarm Sample_Alarm by nobody: SELECT * FROM Sample_Alarm\n"
    "mustPoll root/cimv2:Sample_Alarm Sample_Alarm\n";
constexpr const char* kActivate = "activate root/cimv2:Sample_Alarm Sample_Alarm 1\n";
constexpr const char* kDeactivate = "deactivate root/cimv2:Sample_Alarm Sample_Alarm 1\n";

// Two subscriptions, both taken back, one more.
std::string subscribedTwiceAndAgain(const char* personality) {
  Managed managed(personality);
  ObjectManager& manager = *managed.manager;
  EXPECT_TRUE(manager.subscribe(kFilter).ok());
  EXPECT_TRUE(manager.subscribe(kFilter).ok());
  EXPECT_TRUE(manager.unsubscribe(kFilter).ok());
  EXPECT_TRUE(manager.unsubscribe(kFilter).ok());
  EXPECT_TRUE(manager.subscribe(kFilter).ok());
  return managed.wasAsked();
}

TEST(Subscriptions, GoByTheInterfaceWhenPlain) {
  const std::string subscribe = std::string(kAuthorise) + kActivate;
  EXPECT_EQ(subscribedTwiceAndAgain("plain"), "indication factory\n" + subscribe + "enable\n" +
                                                  subscribe + kDeactivate + kDeactivate +
                                                  "disable\n" + subscribe + "enable\n");
}

TEST(Subscriptions, AreEnabledOnceAndNeverDisabledBySfcb) {
  const std::string subscribe = std::string(kAuthorise) + kActivate;
  EXPECT_EQ(subscribedTwiceAndAgain("sfcb"), "indication factory\n" + subscribe + "enable\n" +
                                                 subscribe + kDeactivate + kDeactivate + subscribe);
}

TEST(Subscriptions, AreNotAuthorisedByPegasus) {
  const std::string activate = kActivate;
  EXPECT_EQ(subscribedTwiceAndAgain("pegasus"), "indication factory\n" + activate + "enable\n" +
                                                    activate + kDeactivate + kDeactivate +
                                                    "disable\n" + activate + "enable\n");
}

TEST(Subscriptions, ToASuperclassReachTheProviderInTheManagersWay) {
  const Filter superclass{"CIM_ProcessIndication"};
  Managed sfcb("sfcb");
  EXPECT_EQ(sfcb.manager->subscribe(superclass).rc, CMPI_RC_ERR_INVALID_CLASS);
  Managed pegasus("pegasus");
  EXPECT_TRUE(pegasus.manager->subscribe(superclass).ok());
  EXPECT_EQ(pegasus.wasAsked(),
            "indication factory\nactivate root/cimv2:Sample_Alarm CIM_ProcessIndication 1\n"
            "enable\n");
}

TEST(Subscriptions, ThreadsOfStrangersAreStartedBySomeManagersOnly) {
  for (const char* const name : {"plain", "sfcb"}) {
    Managed managed(name);
    managed.manager->subscribe(kFilter);
    EXPECT_NE(managed.alarm(), nullptr) << name;
    EXPECT_TRUE(managed.manager->broker().waitForIndication(10s)) << name;
  }
  Managed pegasus("pegasus");
  pegasus.manager->subscribe(kFilter);
  EXPECT_EQ(pegasus.alarm(), nullptr);
  EXPECT_EQ(pegasus.manager->broker().journal().violations().size(), 1U);
}

TEST(SubscriptionsDeathTest, TheStrictManagerEndsTheProcessForAStranger) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_DEATH(
      {
        Managed strict("strict");
        strict.manager->subscribe(kFilter);
        strict.alarm();
      },
      "newThread from a thread that the broker does not know");
}

// ---- Idling and stopping ----------------------------------------------------------------------

TEST(Idling, AsksTheFirstOrEveryMI) {
  for (const std::string& name : cmpihost::personalityNames()) {
    Managed managed(name.c_str());
    EXPECT_TRUE(managed.manager->idle().empty());
    managed.manager->enumerateInstanceNames(kGauges);
    managed.manager->subscribe(kFilter);
    managed.manager->unsubscribe(kFilter);
    managed.wasAsked();
    const auto answers = managed.manager->idle();
    EXPECT_EQ(answers.front().rc, CMPI_RC_DO_NOT_UNLOAD);
    EXPECT_EQ(managed.wasAsked(), name == "sfcb" ? "instance cleanup 0\n"
                                                 : "instance cleanup 0\nindication cleanup 0\n")
        << name;
  }
}

// What the provider is asked while a manager that has used both MIs stops; the library is held so
// that it can tell afterwards.
std::string stopped(Personality personality) {
  Managed managed(personality);
  cmpihost::Broker other;
  cmpihost::Provider holder(other, managed.manager->provider().path(), "Sample");
  managed.manager->enumerateInstanceNames(kGauges);
  managed.manager->subscribe(kFilter);
  managed.wasAsked();
  managed.manager->stop();
  return managed.wasAsked();
}

TEST(Stopping, CleansUpInTheManagersOrder) {
  EXPECT_EQ(stopped(personalityOf("plain")), "indication cleanup 1\ninstance cleanup 1\n");
  EXPECT_EQ(stopped(personalityOf("pegasus")), "instance cleanup 1\nindication cleanup 1\n");
  Personality once = personalityOf("sfcb");
  once.stopThreads = 1;
  EXPECT_EQ(stopped(once), "disable\nindication cleanup 1\ninstance cleanup 1\n");
}

TEST(Stopping, HappensSeveralTimesAtOnceLikeSfcb) {
  const std::string asked = stopped(personalityOf("sfcb"));
  const auto count = [&asked](const std::string& line) {
    unsigned found = 0;
    for (std::size_t at = asked.find(line); at != std::string::npos;
         at = asked.find(line, at + 1)) {
      ++found;
    }
    return found;
  };
  EXPECT_EQ(count("disable\n"), 3U);
  EXPECT_EQ(count("indication cleanup 1\n"), 3U);
  EXPECT_EQ(count("instance cleanup 1\n"), 3U);
}

TEST(Stopping, IsRepeatedWhileItLasts) {
  Personality impatient = personalityOf("sfcb");
  impatient.stopThreads = 1;
  impatient.stopRepeats = 1ms;
  Managed managed(impatient);
  managed.manager->enumerateInstanceNames(kGauges);
  reinterpret_cast<void (*)(long)>(managed.manager->provider().symbol("sampleCleansUpSlowly"))(100);
  managed.wasAsked();
  managed.manager->stop();
  const std::string asked = managed.wasAsked();
  EXPECT_NE(asked.find("instance cleanup 1\ninstance cleanup 1\n"), std::string::npos) << asked;
}

}  // namespace

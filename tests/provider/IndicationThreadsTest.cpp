// The thread that delivers an indication, and how brokers of different kinds have it started.

#include <pthread.h>

#include "tests/provider/IndicationsTest.h"

namespace {

using events::format;

class IndicationThreads : public Indications {
 protected:
  void SetUp() override {
    Indications::SetUp();
    subscribe();
    (void)fail(a);
  }
  std::string beginning() {
    return lines({format("err: IndicateThread - 0x%lx", static_cast<unsigned long>(pthread_self())),
                  format("err: IndicateThread - PhysicalDrive=sda, "
                         "DeviceID=Model A___Serial A___sda, ind_ctx=%p, broker=%p",
                         broker.address("prepared1"), static_cast<const void*>(broker.cmpi())),
                  "broker: prepareAttachThread(prepared1) = prepared2",
                  "broker: attachThread(prepared2)"});
  }
  static std::string end() {
    return lines({"broker: detachThread(prepared2)", "err: IndicateThread - Exit"});
  }
  /// The calls that build and deliver, the first `n` of seven.
  static std::string delivery(unsigned n) {
    const char* const calls[] = {
        "newObjectPath(root/cimv2, KAV_SSDLifeMonitorFailureImminent) = path1",
        "newInstance(path1) = instance1",
        "instance1.setProperty(DeviceID, chars \"Model A___Serial A___sda\")",
        "instance1.setProperty(PhysicalDrive, chars \"sda\")",
        "newDateTime() = dateTime1",
        "instance1.setProperty(IndicationTime, dateTime dateTime1)",
        "deliverIndication(prepared2, root/cimv2, instance1)",
    };
    std::string all;
    for (unsigned i = 0; i < n; ++i) {
      all += std::string("broker: ") + calls[i] + '\n';
    }
    return all;
  }
};

TEST_F(IndicationThreads, BuildAndDeliverOneIndicationAttachedToTheBroker) {
  const std::string seen = indicationThread();
  EXPECT_EQ(seen, beginning() + delivery(7) + end());
  EXPECT_EQ(broker.waitingThreads(), 0U);
}

TEST_F(IndicationThreads, ThatBeginWhenTheProviderHasGoneFindItsContextReleased) {
  const std::string going = events::during([&] { provider.reset(); });
  EXPECT_EQ(events::count(going, "broker: prepared1.release()"), 1U);
  const std::string seen = indicationThread();
  EXPECT_EQ(events::only("broker", seen), "");
  EXPECT_EQ(events::only("log", seen), "log 1: indicateThread - CMAttachThread: CMPIStatus 1\n");
  EXPECT_EQ(events::count(seen, "err: IndicateThread - Exit\n"), 1U);
}

TEST_F(IndicationThreads, OutliveTheProviderWithAContextOfTheirOwn) {
  events::onEach([&](const std::string& line) {
    if (line.find("prepareAttachThread(prepared1)") != std::string::npos) {
      events::onEach({});
      provider.reset();
    }
  });
  const std::string seen = indicationThread();
  EXPECT_EQ(events::count(seen, "log 3: deleting indication context object"), 1U);
  EXPECT_LT(seen.find("prepareAttachThread(prepared1)"), seen.find("prepared1.release()"));
  EXPECT_LT(seen.find("prepared1.release()"), seen.find("attachThread(prepared2)"));
  EXPECT_EQ(events::count(seen, "broker: deliverIndication(prepared2"), 1U);
}

TEST_F(IndicationThreads, ThatCantAttachReleaseTheirContextAndDetachAllTheSame) {
  broker.fail("attachThread", 1, CMPI_RC_ERR_ACCESS_DENIED, "no");
  const std::string seen = indicationThread();
  EXPECT_EQ(seen, beginning() +
                      lines({"log 1: indicateThread - CMAttachThread: CMPIStatus 2",
                             "broker: prepared2.release()"}) +
                      end());
}

TEST_F(IndicationThreads, WithoutAContextEndWithNothingDelivered) {
  broker.answerNull("prepareAttachThread", 1);
  const std::string seen = indicationThread();
  EXPECT_EQ(events::count(seen, "deliverIndication"), 0U);
  EXPECT_EQ(events::only("log", seen), "log 1: indicateThread - CMAttachThread: CMPIStatus 1\n");
  EXPECT_EQ(events::count(seen, "err: IndicateThread - Exit\n"), 1U);
}

TEST_F(IndicationThreads, LogTheFirstStepThatFailsAndDetach) {
  const struct {
    const char* call;
    unsigned nth;
    const char* routine;
  } steps[] = {
      {"newObjectPath", 1, "MakeNewObjectPath"},     {"newInstance", 1, "MakeNewInstance"},
      {"setProperty", 1, "SetCharsProperty"},        {"setProperty", 2, "SetCharsProperty"},
      {"newDateTime", 1, "MakeNewDateTime"},         {"setProperty", 3, "SetDateTimeProperty"},
      {"deliverIndication", 1, "deliverIndication"},
  };
  unsigned step = 0;
  for (const auto& [call, nth, routine] : steps) {
    ++step;
    SCOPED_TRACE(step);
    broker.fail(call, nth, CMPI_RC_ERR_ALREADY_EXISTS, "too many");
    const std::string seen = indicationThread();
    const std::string failure = lines({std::string("out: Utils::") + routine + " - bad status 11",
                                       "log 1: indicateThread - CMPIStatus 11, too many"});
    EXPECT_EQ(events::only("out", seen) + events::only("log", seen), failure);
    EXPECT_EQ(events::count(seen, "detachThread"), 1U);
    EXPECT_EQ(events::count(seen, "broker: "), 2 + step + 1);
    EXPECT_LT(seen.find("log 1: "), seen.find("detachThread"));
    EXPECT_EQ(events::count(seen, "release"), 0U);
    EXPECT_EQ(events::count(seen, "err: IndicateThread - Exit\n"), 1U);
    broker.clearFailures();
    (void)fail(a);
  }
}

TEST_F(IndicationThreads, ShowAStatusWithoutAMessageAsNull) {
  broker.fail("deliverIndication", 1, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(events::only("log", indicationThread()),
            "log 1: indicateThread - CMPIStatus 1, (null)\n");
}

TEST_F(IndicationThreads, LogAnythingElseThatIsThrownAsUnknownAndDetach) {
  broker.throwFrom("newDateTime", 1);
  EXPECT_EQ(indicationThread(),
            beginning() + delivery(5) + "log 1: indicateThread - Unknown Exception\n" + end());
}

// ---- Brokers that know the threads that may start one -----------------------------------------

class PegasusIndications : public Indications {
 protected:
  PegasusIndications() : Indications("Pegasus") {}
};

TEST_F(PegasusIndications, AttachTheCallingThreadAroundTheStartOfTheirThread) {
  subscribe();
  EXPECT_EQ(fail(a),
            lines({"log 3: SsdProvider::SsdFailureImminent(Model A,Serial A,sda,0x60)",
                   "log 3: SsdProvider::sendIndication(Model A___Serial A___sda,sda)",
                   "broker: prepareAttachThread(prepared1) = prepared2",
                   "broker: attachThread(prepared2)", "broker: newThread(detached=1)",
                   "broker: detachThread(prepared2)", "err: SsdProvider::sendIndication - exit"}));
  EXPECT_EQ(events::count(indicationThread(), "deliverIndication(prepared3, "), 1U);
}

TEST_F(PegasusIndications, StartTheirThreadEvenWhenTheBrokerGivesNoContextForTheCaller) {
  subscribe();
  broker.answerNull("prepareAttachThread", 1);
  const std::string seen = fail(a);
  EXPECT_EQ(events::count(seen, "newThread"), 1U);
  EXPECT_EQ(events::count(seen, "attachThread("), 0U);
  EXPECT_EQ(events::count(seen, "detachThread("), 0U);
}

TEST_F(PegasusIndications, DetachTheCallingThreadWhateverTheStartThrows) {
  subscribe();
  broker.throwFrom("newThread", 1);
  EXPECT_EQ(events::count(fail(a), "broker: detachThread(prepared2)"), 1U);
}

class OtherBrokers : public ::testing::TestWithParam<const char*> {};

TEST_P(OtherBrokers, StartThreadsFromCallersThatTheyDontKnow) {
  RecordingBroker broker(GetParam());
  core() = FakeCore();
  core().drives = {drive('A', "sda")};
  std::string seen;
  (void)events::during([&] {
    SsdProvider provider;
    provider.setBroker(broker.cmpi());
    provider.initialise(nullptr);
    (void)provider.activateFilter(nullptr, broker.context(), nullptr, nullptr,
                                  broker.path("root/cimv2", "KAV_SSDLifeMonitorFailureImminent"),
                                  1);
    provider.enableIndications(nullptr, nullptr);
    events::onEach([&](const std::string& line) { seen += line + '\n'; });
    provider.SsdFailureImminent("Model A", "Serial A", "sda", 96);
    events::onEach({});
    broker.runThread();
  });
  EXPECT_EQ(events::only("broker", seen), "broker: newThread(detached=1)\n");
}

INSTANTIATE_TEST_SUITE_P(Named, OtherBrokers,
                         ::testing::Values("sfcb", "pegasus", "PEGASUS", "Pegasus2", "Pegasu", "",
                                           static_cast<const char*>(nullptr)));

}  // namespace

// Every call that the library makes into the broker fails once, and every call that gives an object
// gives none although it says that all is well.

#include <map>

#include <gtest/gtest.h>

#include "tests/fault/Expectations.h"

namespace fault {

namespace {

/// The slots that a scenario calls, and how often each.
std::map<std::string, unsigned> slotsOf(const Scenario& scenario) {
  std::map<std::string, unsigned> slots;
  for (const std::string& name : run(scenario, {}).brokerCalls) {
    ++slots[name];
  }
  return slots;
}

bool isOneOf(const std::string& name, std::initializer_list<const char*> names) {
  for (const char* known : names) {
    if (name == known) {
      return true;
    }
  }
  return false;
}

bool givesObject(const std::string& slot) {
  return isOneOf(slot, {"newObjectPath", "newInstance", "newDateTime", "getNameSpace",
                        "getClassName", "getCharPtr", "prepareAttachThread", "newThread"});
}

/// What a request answers when the nth call to `slot` fails or gives null. The first two texts are
/// those of the namespace and the class, the others those of the key.
CMPIrc codeOf(const std::string& slot, unsigned nth, bool givesNull) {
  const bool isText = slot == "getCharPtr";
  if (slot == "getNameSpace" || (isText && nth == 1)) {
    return CMPI_RC_ERR_INVALID_NAMESPACE;  // no namespace is none that is served
  }
  if (slot == "getClassName" || (isText && nth == 2)) {
    return CMPI_RC_ERR_INVALID_CLASS;
  }
  if (isText && givesNull) {
    return CMPI_RC_OK;  // an empty key, with which every identifier begins
  }
  // What can't be handed over is the broker's concern; a key that isn't added, the client's.
  const bool isBrokers =
      isOneOf(slot, {"addKey", "returnObjectPath", "returnInstance", "returnDone"});
  return isBrokers ? CMPI_RC_OK : CMPI_RC_ERR_FAILED;
}

class BrokerFaultLoop : public testing::TestWithParam<Scenario> {};

void expectUnharmed(const Round& round) {
  EXPECT_TRUE(round.unloaded);
  EXPECT_EQ(round.next.status.rc, CMPI_RC_OK);
  EXPECT_EQ(shown(round.next).size(), 3U);
  EXPECT_TRUE(round.losses.descriptors().empty());
  EXPECT_EQ(round.violations, std::vector<std::string>{});
}

void expectAnswer(const Scenario& scenario, const std::string& slot, unsigned nth, bool givesNull,
                  const Round& round) {
  if (isOneOf(scenario.name, {"names", "list", "get"})) {
    const cmpihost::Reply& reply = round.result.replies.at(0);
    EXPECT_EQ(reply.status.rc, codeOf(slot, nth, givesNull));
    EXPECT_EQ(reply.doneCalls, slot == "returnDone" ? 0U : 1U);
  } else if (scenario.name == "event") {
    // At most this one indication is lost; a drive reports only once.
    EXPECT_GE(round.result.indications.size(), 1U);
    EXPECT_EQ(round.nextIndications.size(), 1U);
  }
}

TEST_P(BrokerFaultLoop, AnswersAsStatedWhateverBrokerCallFails) {
  const Scenario& scenario = GetParam();
  Score score;
  for (const auto& [slot, count] : slotsOf(scenario)) {
    Sample sample;
    score.made += count;
    for (unsigned nth = 1; nth <= count; ++nth) {
      const unsigned before = score.ways;
      for (const bool answersNull : {false, true}) {
        if ((answersNull && !givesObject(slot)) || !sample.takesNext()) {
          continue;
        }
        SCOPED_TRACE(slot + " number " + std::to_string(nth) + (answersNull ? " gives null" : ""));
        const auto arm = [&, slot = slot](cmpihost::Broker& broker) {
          if (answersNull) {
            broker.answerNull(slot, nth);
          } else {
            broker.failCall(slot, nth, CMPI_RC_ERR_ACCESS_DENIED, "no");
          }
        };
        const Round round = run(scenario, {}, arm);
        expectUnharmed(round);
        expectAnswer(scenario, slot, nth, answersNull, round);
        ++score.ways;
      }
      score.sites += score.ways > before ? 1 : 0;
    }
  }
  report(scenario, "broker calls", score);
}

std::vector<Scenario> scenariosWithBroker() {
  std::vector<Scenario> some;
  for (const Scenario& scenario : scenarios()) {
    if (isOneOf(scenario.name, {"names", "list", "get", "subscribe", "event"})) {
      some.push_back(scenario);
    }
  }
  return some;
}

INSTANTIATE_TEST_SUITE_P(Of, BrokerFaultLoop, testing::ValuesIn(scenariosWithBroker()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace

}  // namespace fault

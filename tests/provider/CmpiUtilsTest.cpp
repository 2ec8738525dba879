#include "provider/CmpiUtils.h"

#include <functional>
#include <optional>

#include "tests/provider/ProviderFixture.h"

namespace {

class BrokerCalls : public ProviderTest {
 protected:
  /// What `call` throws, if it throws a status, and what was seen meanwhile.
  std::optional<CMPIStatus> thrownBy(const std::function<void()>& call) {
    std::optional<CMPIStatus> thrown;
    seen = events::during([&] {
      try {
        call();
      } catch (const CMPIStatus& status) {
        thrown = status;
      }
    });
    return thrown;
  }

  /// Makes the next call of `name` fail with 27 and "why"; `call` must write just `message` to
  /// standard output and throw that status.
  void failsWith(const std::string& name, const std::string& message,
                 const std::function<void()>& call) {
    broker.fail(name, 1, CMPI_RC_ERR_ALREADY_EXISTS, "why");
    const std::optional<CMPIStatus> thrown = thrownBy(call);
    ASSERT_TRUE(thrown.has_value());
    EXPECT_EQ(thrown->rc, CMPI_RC_ERR_ALREADY_EXISTS);
    ASSERT_NE(thrown->msg, nullptr);
    EXPECT_STREQ(charactersOf(thrown->msg), "why");
    EXPECT_EQ(events::count(seen, "broker: "), 1U) << seen;
    EXPECT_EQ(seen.substr(seen.find('\n') + 1), "out: " + message + "\n");
  }

  CMPIObjectPath* madePath() {
    CMPIObjectPath* path = nullptr;
    (void)events::during([&] { path = Utils::MakeNewObjectPath(broker.cmpi(), "ns", "class"); });
    return path;
  }
  CMPIInstance* madeInstance() {
    CMPIInstance* instance = nullptr;
    CMPIObjectPath* path = madePath();
    (void)events::during([&] { instance = Utils::MakeNewInstance(broker.cmpi(), path); });
    return instance;
  }
  CMPIDateTime* madeDateTime() {
    CMPIDateTime* moment = nullptr;
    (void)events::during([&] { moment = Utils::MakeNewDateTime(broker.cmpi()); });
    return moment;
  }

  std::string seen;
};

TEST_F(BrokerCalls, MakeWhatTheyAreAskedFor) {
  CMPIObjectPath* path = nullptr;
  CMPIInstance* instance = nullptr;
  CMPIDateTime* moment = nullptr;
  EXPECT_EQ(events::during([&] {
              path = Utils::MakeNewObjectPath(broker.cmpi(), "a/namespace", "A_Class");
              instance = Utils::MakeNewInstance(broker.cmpi(), path);
              moment = Utils::MakeNewDateTime(broker.cmpi());
            }),
            lines({"broker: newObjectPath(a/namespace, A_Class) = path1",
                   "broker: newInstance(path1) = instance1", "broker: newDateTime() = dateTime1"}));
  EXPECT_EQ(path, broker.address("path1"));
  EXPECT_EQ(instance, broker.address("instance1"));
  EXPECT_EQ(moment, broker.address("dateTime1"));
}

TEST_F(BrokerCalls, PassEachValueInTheWayOfItsType) {
  CMPIInstance* instance = madeInstance();
  CMPIDateTime* moment = madeDateTime();
  EXPECT_EQ(events::during([&] {
              Utils::SetCharsProperty(instance, "Text", "some text");
              Utils::SetCharsProperty(instance, "NoText", "");
              Utils::SetUint16Property(instance, "Hours", 0xFEDCBA9876543210U);
              Utils::SetUint8Property(instance, "Percent", 254);
              Utils::SetBooleanProperty(instance, "Yes", true);
              Utils::SetBooleanProperty(instance, "No", false);
              Utils::SetDateTimeProperty(instance, "When", moment);
            }),
            lines({"broker: instance1.setProperty(Text, chars \"some text\")",
                   "broker: instance1.setProperty(NoText, chars \"\")",
                   "broker: instance1.setProperty(Hours, uint64 18364758544493064720)",
                   "broker: instance1.setProperty(Percent, uint8 254)",
                   "broker: instance1.setProperty(Yes, boolean 1)",
                   "broker: instance1.setProperty(No, boolean 0)",
                   "broker: instance1.setProperty(When, dateTime dateTime1)"}));
}

TEST_F(BrokerCalls, FailWithTheMessageOfTheirRoutineAndThrowTheStatusByValue) {
  const CMPIBroker* cmpi = broker.cmpi();
  CMPIObjectPath* path = madePath();
  CMPIInstance* instance = madeInstance();
  CMPIDateTime* moment = madeDateTime();
  const CMPIContext* context = broker.context();
  EXPECT_EQ(cmpi->bft->attachThread(cmpi, context).rc, CMPI_RC_OK);

  failsWith("newObjectPath", "Utils::MakeNewObjectPath - bad status 11",
            [&] { (void)Utils::MakeNewObjectPath(cmpi, "ns", "class"); });
  failsWith("newInstance", "Utils::MakeNewInstance - bad status 11",
            [&] { (void)Utils::MakeNewInstance(cmpi, path); });
  failsWith("newDateTime", "Utils::MakeNewDateTime - bad status 11",
            [&] { (void)Utils::MakeNewDateTime(cmpi); });
  failsWith("setProperty", "Utils::SetCharsProperty - bad status 11",
            [&] { Utils::SetCharsProperty(instance, "P", "text"); });
  failsWith("setProperty", "Utils::SetUint16Property - bad status 11",
            [&] { Utils::SetUint16Property(instance, "P", 1); });
  failsWith("setProperty", "Utils::SetUint8Property - bad status 11",
            [&] { Utils::SetUint8Property(instance, "P", 1); });
  failsWith("setProperty", "Utils::SetBooleanProperty - bad status 11",
            [&] { Utils::SetBooleanProperty(instance, "P", true); });
  failsWith("setProperty", "Utils::SetDateTimeProperty - bad status 11",
            [&] { Utils::SetDateTimeProperty(instance, "P", moment); });
  failsWith("deliverIndication", "Utils::deliverIndication - bad status 11",
            [&] { Utils::deliverIndication(cmpi, context, "ns", instance); });
}

TEST_F(BrokerCalls, DeliverAnIndicationWithItsContextAndNamespace) {
  CMPIInstance* instance = madeInstance();
  const CMPIContext* context = broker.context();
  EXPECT_EQ(broker.cmpi()->bft->attachThread(broker.cmpi(), context).rc, CMPI_RC_OK);
  EXPECT_EQ(events::during(
                [&] { Utils::deliverIndication(broker.cmpi(), context, "a/namespace", instance); }),
            "broker: deliverIndication(context, a/namespace, instance1)\n");
}

TEST_F(BrokerCalls, TakeAnObjectThatIsMissingWithoutAReasonForAFailure) {
  const CMPIBroker* cmpi = broker.cmpi();
  const CMPIObjectPath* path = madePath();
  const auto missing = [&](const char* call, const std::function<void()>& make) {
    broker.answerNull(call, 1);
    const std::optional<CMPIStatus> thrown = thrownBy(make);
    ASSERT_TRUE(thrown.has_value());
    EXPECT_EQ(thrown->rc, CMPI_RC_ERR_FAILED);
  };
  missing("newObjectPath", [&] { (void)Utils::MakeNewObjectPath(cmpi, "ns", "class"); });
  EXPECT_EQ(events::only("out: ", seen), "out: Utils::MakeNewObjectPath - bad status 1\n");
  missing("newInstance", [&] { (void)Utils::MakeNewInstance(cmpi, path); });
  EXPECT_EQ(events::only("out: ", seen), "out: Utils::MakeNewInstance - bad status 1\n");
  missing("newDateTime", [&] { (void)Utils::MakeNewDateTime(cmpi); });
  EXPECT_EQ(events::only("out: ", seen), "out: Utils::MakeNewDateTime - bad status 1\n");
}

/// Some brokers write a status only where they fail.
TEST_F(BrokerCalls, HaveSucceededWhereTheBrokerLeavesTheStatusAlone) {
  broker.beTerse();
  EXPECT_NE(madePath(), nullptr);
  EXPECT_NE(madeInstance(), nullptr);
  EXPECT_NE(madeDateTime(), nullptr);
  const CMPIObjectPath* path = broker.path(std::string("some id"));
  (void)events::during([&] { EXPECT_STREQ(Utils::GetCharsKeyValue(path, "DeviceID"), "some id"); });
}

TEST_F(BrokerCalls, FailWithoutAMessageWhereTheBrokerWritesNone) {
  broker.beTerse();
  broker.fail("newObjectPath", 1, CMPI_RC_ERR_ALREADY_EXISTS);
  const std::optional<CMPIStatus> thrown =
      thrownBy([&] { (void)Utils::MakeNewObjectPath(broker.cmpi(), "ns", "class"); });
  ASSERT_TRUE(thrown.has_value());
  EXPECT_EQ(thrown->rc, CMPI_RC_ERR_ALREADY_EXISTS);
  EXPECT_EQ(thrown->msg, nullptr);
}

class KeyValues : public BrokerCalls {
 protected:
  std::string textOf(const CMPIObjectPath* path) {
    std::string text = "nothing was returned";
    seen = events::during([&] { text = Utils::GetCharsKeyValue(path, "DeviceID"); });
    return text;
  }
  static CMPIData key(CMPIType type, CMPIValueState state = CMPI_goodValue) {
    return CMPIData{type, state, {}};
  }
};

TEST_F(KeyValues, OfTypeStringAreTheCharactersOfTheStringObject) {
  EXPECT_EQ(textOf(broker.path(std::string("some id"))), "some id");
  EXPECT_EQ(seen, lines({"broker: request.getKey(DeviceID)", "broker: string.getCharPtr()"}));
}

TEST_F(KeyValues, OfTypeCharsAreTheCharactersThemselves) {
  char characters[] = "other id";
  CMPIData data = key(CMPI_chars);
  data.value.chars = characters;
  EXPECT_EQ(textOf(broker.pathWithKey(data)), "other id");
  EXPECT_EQ(seen, "broker: request.getKey(DeviceID)\n");
}

TEST_F(KeyValues, ThatCantBeReadFailWithTheBrokersStatus) {
  const CMPIObjectPath* path = broker.path(std::string("some id"));
  failsWith("getKey", "Utils::GetCharsKeyValue - CMGetKey failed, status 11",
            [&] { (void)Utils::GetCharsKeyValue(path, "DeviceID"); });
}

TEST_F(KeyValues, WhoseCharactersCantBeReadFailWithTheBrokersStatus) {
  const CMPIObjectPath* path = broker.path(std::string("some id"));
  broker.fail("getCharPtr", 1, CMPI_RC_ERR_INVALID_HANDLE, "gone");
  const std::optional<CMPIStatus> thrown =
      thrownBy([&] { (void)Utils::GetCharsKeyValue(path, "DeviceID"); });
  ASSERT_TRUE(thrown.has_value());
  EXPECT_EQ(thrown->rc, CMPI_RC_ERR_INVALID_HANDLE);
  EXPECT_STREQ(charactersOf(thrown->msg), "gone");
  EXPECT_EQ(seen, lines({"broker: request.getKey(DeviceID)", "broker: string.getCharPtr()",
                         "out: Utils::GetCharsKeyValue - CMGetCharsPtr failed, status 60"}));
}

TEST_F(KeyValues, OfAnyOtherTypeFailWithTheSuccessfulStatusAndTheTypeTwice) {
  for (const auto& [type, text] : {std::pair<CMPIType, const char*>{CMPI_uint8, "128(0x80)"},
                                   {CMPI_uint64, "176(0xb0)"},
                                   {CMPI_null, "0(0x0)"},
                                   {CMPI_charsptr, "6656(0x1a00)"},
                                   {CMPI_string | CMPI_ARRAY, "13824(0x3600)"}}) {
    const CMPIObjectPath* path = broker.pathWithKey(key(type));
    const std::optional<CMPIStatus> thrown =
        thrownBy([&] { (void)Utils::GetCharsKeyValue(path, "DeviceID"); });
    ASSERT_TRUE(thrown.has_value());
    EXPECT_EQ(thrown->rc, CMPI_RC_OK);
    EXPECT_EQ(thrown->msg, nullptr);
    EXPECT_EQ(seen, lines({"broker: request.getKey(DeviceID)",
                           std::string("out: Utils::GetCharsKeyValue - bad type ") + text}));
  }
}

TEST_F(KeyValues, ThatBrokersHandOverAsNullAreTheEmptyText) {
  EXPECT_EQ(textOf(broker.pathWithKey(key(CMPI_string, CMPI_keyValue | CMPI_nullValue))), "");
  EXPECT_EQ(events::only("out: ", seen), "");
  EXPECT_EQ(textOf(broker.pathWithKey(key(CMPI_chars, CMPI_nullValue))), "");

  // Marked as null it has no value, whatever stands in its place.
  CMPIData marked = key(CMPI_chars, CMPI_keyValue | CMPI_nullValue);
  char leftOver[] = "left over";
  marked.value.chars = leftOver;
  EXPECT_EQ(textOf(broker.pathWithKey(marked)), "");
  marked.type = CMPI_string;
  marked.value.string = broker.string("left over");
  EXPECT_EQ(textOf(broker.pathWithKey(marked)), "");
  EXPECT_EQ(seen, "broker: request.getKey(DeviceID)\n");

  // Nor need a broker mark it.
  EXPECT_EQ(textOf(broker.pathWithKey(key(CMPI_string))), "");
  EXPECT_EQ(textOf(broker.pathWithKey(key(CMPI_chars))), "");
  CMPIData withoutCharacters = key(CMPI_string);
  withoutCharacters.value.string = broker.string(nullptr);
  EXPECT_EQ(textOf(broker.pathWithKey(withoutCharacters)), "");
}

TEST_F(BrokerCalls, ReadNoCharactersWhereThereAreNone) {
  EXPECT_STREQ(charactersOf(nullptr), "");
  EXPECT_STREQ(charactersOf(broker.string(nullptr)), "");
  EXPECT_STREQ(charactersOf(broker.string("text")), "text");
}

}  // namespace

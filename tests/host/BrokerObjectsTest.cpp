#include <cmpi/cmpimacs.h>
#include <gtest/gtest.h>

#include <string>

#include "host/Broker.h"

using cmpihost::Broker;
using cmpihost::BrokerOptions;

namespace {

class BrokerObjects : public testing::Test {
 protected:
  CMPIObjectPath* newPath() {
    return CMNewObjectPath(mb, "root/cimv2", "KAV_SSDLifeMonitor", nullptr);
  }
  CMPIInstance* newInstance() { return CMNewInstance(mb, newPath(), nullptr); }

  static std::string text(const CMPIString* string) {
    return string == nullptr ? "(null)" : CMGetCharPtr(string);
  }

  Broker broker;
  const CMPIBroker* mb = broker.cmpi();
  CMPIStatus rc{CMPI_RC_ERROR, nullptr};
};

TEST_F(BrokerObjects, TheBrokerTellsItsNameAndVersions) {
  BrokerOptions options;
  options.name = "Pegasus";
  options.version = 200;
  options.tableVersion = 1;
  Broker other(options);
  EXPECT_STREQ(other.cmpi()->bft->brokerName, "Pegasus");
  EXPECT_EQ(other.cmpi()->bft->brokerVersion, 200);
  EXPECT_EQ(other.cmpi()->eft->ftVersion, 1);
  EXPECT_EQ(other.cmpi()->xft->ftVersion, 1);
  EXPECT_STREQ(mb->bft->brokerName, "cmpihost");
  EXPECT_EQ(mb->eft->ftVersion, 100);
}

// ---- Strings and date-times -------------------------------------------------------------------

TEST_F(BrokerObjects, AStringKeepsItsBytesWhateverTheyAre) {
  CMPIString* const string = CMNewString(mb, "caf\xe9 <&> \x01", &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
  EXPECT_STREQ(CMGetCharPtr(string), "caf\xe9 <&> \x01");
  // Where older providers look for them.
  EXPECT_STREQ(static_cast<const char*>(static_cast<const void*>(string->hdl)), "caf\xe9 <&> \x01");
}

TEST_F(BrokerObjects, ANewDateTimeIsNow) {
  const auto before = cmpihost::DateTime::now().microseconds;
  CMPIDateTime* const now = CMNewDateTime(mb, &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
  const CMPIUint64 binary = now->ft->getBinaryFormat(now, &rc);
  EXPECT_GE(binary, before);
  EXPECT_LE(binary, cmpihost::DateTime::now().microseconds);
  EXPECT_EQ(now->ft->isInterval(now, nullptr), 0);
  EXPECT_EQ(text(now->ft->getStringFormat(now, &rc)), (cmpihost::DateTime{binary, false}.text()));
}

TEST_F(BrokerObjects, ADateTimeIsMadeFromMicrosecondsOrFromText) {
  CMPIDateTime* const interval = mb->eft->newDateTimeFromBinary(mb, 93'784'000'007, 1, &rc);
  EXPECT_EQ(text(interval->ft->getStringFormat(interval, &rc)), "00000001020304.000007:000");
  EXPECT_NE(interval->ft->isInterval(interval, &rc), 0);
  CMPIDateTime* const moment = mb->eft->newDateTimeFromChars(mb, "20240229123456.000042+060", &rc);
  EXPECT_EQ(text(moment->ft->getStringFormat(moment, &rc)), "20240229113456.000042+000");
  EXPECT_EQ(mb->eft->newDateTimeFromChars(mb, "yesterday", &rc), nullptr);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

// ---- Object paths -----------------------------------------------------------------------------

TEST_F(BrokerObjects, APathGivesBackItsNames) {
  CMPIObjectPath* const op = newPath();
  EXPECT_EQ(text(CMGetNameSpace(op, &rc)), "root/cimv2");
  EXPECT_EQ(text(CMGetClassName(op, &rc)), "KAV_SSDLifeMonitor");
  EXPECT_EQ(text(op->ft->getHostname(op, &rc)), "");
  op->ft->setNameSpace(op, "root/other");
  op->ft->setClassName(op, "Other");
  op->ft->setHostname(op, "till7");
  CMPIObjectPath* const copy = newPath();
  copy->ft->setNameSpaceFromObjectPath(copy, op);
  EXPECT_EQ(text(CMGetNameSpace(copy, &rc)), "root/other");
  EXPECT_EQ(text(copy->ft->getHostname(copy, &rc)), "");
  copy->ft->setHostAndNameSpaceFromObjectPath(copy, op);
  EXPECT_EQ(text(copy->ft->getHostname(copy, &rc)), "till7");
  EXPECT_EQ(text(CMGetClassName(copy, &rc)), "KAV_SSDLifeMonitor");
  EXPECT_EQ(text(op->ft->toString(op, &rc)), "root/other:Other");
}

TEST_F(BrokerObjects, KeysOfEveryKindComeBackAsTheyWereAdded) {
  CMPIObjectPath* const op = newPath();
  const CMPIUint8 number = 9;
  CMPIString* const string = CMNewString(mb, "s", nullptr);
  CMPIDateTime* const time = mb->eft->newDateTimeFromBinary(mb, 0, 0, nullptr);
  EXPECT_EQ(CMAddKey(op, "Chars", "c", CMPI_chars).rc, CMPI_RC_OK);
  EXPECT_EQ(CMAddKey(op, "String", &string, CMPI_string).rc, CMPI_RC_OK);
  EXPECT_EQ(CMAddKey(op, "Number", &number, CMPI_uint8).rc, CMPI_RC_OK);
  EXPECT_EQ(CMAddKey(op, "Time", &time, CMPI_dateTime).rc, CMPI_RC_OK);
  EXPECT_EQ(op->ft->getKeyCount(op, &rc), 4U);
  EXPECT_STREQ(CMGetKey(op, "Chars", &rc).value.chars, "c");
  EXPECT_EQ(text(CMGetKey(op, "STRING", &rc).value.string), "s");
  EXPECT_EQ(CMGetKey(op, "Number", &rc).value.uint8, 9);
  CMPIString* name = nullptr;
  const CMPIData third = op->ft->getKeyAt(op, 3, &name, &rc);
  EXPECT_EQ(third.type, CMPI_dateTime);
  EXPECT_EQ(third.value.dateTime->ft->getBinaryFormat(third.value.dateTime, nullptr), 0U);
  EXPECT_EQ(text(name), "Time");
}

TEST_F(BrokerObjects, AKeyAddedAgainReplacesTheFirst) {
  CMPIObjectPath* const op = newPath();
  CMAddKey(op, "DeviceID", "a", CMPI_chars);
  CMAddKey(op, "deviceid", "b", CMPI_chars);
  EXPECT_EQ(op->ft->getKeyCount(op, nullptr), 1U);
  EXPECT_STREQ(CMGetKey(op, "DeviceID", nullptr).value.chars, "b");
}

TEST_F(BrokerObjects, WhatIsNotThereIsNotFound) {
  CMPIObjectPath* const op = newPath();
  const CMPIData key = CMGetKey(op, "DeviceID", &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(key.state, CMPI_nullValue | CMPI_notFound);
  op->ft->getKeyAt(op, 0, nullptr, &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_NOT_FOUND);
  CMPIInstance* const inst = newInstance();
  CMGetProperty(inst, "A", &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_NO_SUCH_PROPERTY);
  inst->ft->getPropertyAt(inst, 0, nullptr, &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_NOT_FOUND);
}

TEST_F(BrokerObjects, AClassIsItselfWhateverTheCaseAndNothingElse) {
  EXPECT_NE(mb->eft->classPathIsA(mb, newPath(), "kav_ssdlifemonitor", &rc), 0);
  EXPECT_EQ(mb->eft->classPathIsA(mb, newPath(), "CIM_ManagedElement", &rc), 0);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
}

// ---- Instances --------------------------------------------------------------------------------

TEST_F(BrokerObjects, PropertiesOfEveryScalarTypeComeBack) {
  CMPIInstance* const inst = newInstance();
  const CMPIBoolean yes = 1;
  const CMPIUint16 u16 = 0xffff;
  const CMPIUint32 u32 = 0xffffffff;
  const CMPIUint64 u64 = ~0ULL;
  const CMPISint8 s8 = -1;
  const CMPISint16 s16 = -2;
  const CMPISint32 s32 = -3;
  const CMPISint64 s64 = -4;
  const CMPIReal32 r32 = 0.5F;
  const CMPIReal64 r64 = 0.25;
  const CMPIChar16 c16 = 0x20ac;
  CMSetProperty(inst, "boolean", &yes, CMPI_boolean);
  CMSetProperty(inst, "u16", &u16, CMPI_uint16);
  CMSetProperty(inst, "u32", &u32, CMPI_uint32);
  CMSetProperty(inst, "u64", &u64, CMPI_uint64);
  CMSetProperty(inst, "s8", &s8, CMPI_sint8);
  CMSetProperty(inst, "s16", &s16, CMPI_sint16);
  CMSetProperty(inst, "s32", &s32, CMPI_sint32);
  CMSetProperty(inst, "s64", &s64, CMPI_sint64);
  CMSetProperty(inst, "r32", &r32, CMPI_real32);
  CMSetProperty(inst, "r64", &r64, CMPI_real64);
  CMSetProperty(inst, "c16", &c16, CMPI_char16);
  const auto value = [&](const char* name) { return CMGetProperty(inst, name, &rc).value; };
  EXPECT_EQ(value("boolean").boolean, yes);
  EXPECT_EQ(value("u16").uint16, u16);
  EXPECT_EQ(value("u32").uint32, u32);
  EXPECT_EQ(value("u64").uint64, u64);
  EXPECT_EQ(value("s8").sint8, s8);
  EXPECT_EQ(value("s16").sint16, s16);
  EXPECT_EQ(value("s32").sint32, s32);
  EXPECT_EQ(value("s64").sint64, s64);
  EXPECT_EQ(value("r32").real32, r32);
  EXPECT_EQ(value("r64").real64, r64);
  EXPECT_EQ(value("c16").char16, c16);
}

TEST_F(BrokerObjects, CharactersSetAsAPropertyAreReadAsAString) {
  CMPIInstance* const inst = newInstance();
  CMSetProperty(inst, "Caption", "life", CMPI_chars);
  const CMPIData read = CMGetProperty(inst, "caption", &rc);
  EXPECT_EQ(read.type, CMPI_string);
  EXPECT_EQ(text(read.value.string), "life");
}

TEST_F(BrokerObjects, APropertySetTwiceIsReadOnceWithItsLastValue) {
  CMPIInstance* const inst = newInstance();
  CMSetProperty(inst, "A", "1", CMPI_chars);
  CMSetProperty(inst, "B", "2", CMPI_chars);
  CMSetProperty(inst, "A", "3", CMPI_chars);
  EXPECT_EQ(inst->ft->getPropertyCount(inst, &rc), 2U);
  CMPIString* name = nullptr;
  const CMPIData first = inst->ft->getPropertyAt(inst, 0, &name, &rc);
  EXPECT_EQ(text(name), "A");
  EXPECT_EQ(text(first.value.string), "3");
}

TEST_F(BrokerObjects, NullValuesAreKeptAsNull) {
  CMPIInstance* const inst = newInstance();
  CMPIString* const none = nullptr;
  EXPECT_EQ(CMSetProperty(inst, "Chars", nullptr, CMPI_chars).rc, CMPI_RC_OK);
  EXPECT_EQ(CMSetProperty(inst, "String", &none, CMPI_string).rc, CMPI_RC_OK);
  EXPECT_EQ(CMSetProperty(inst, "Number", nullptr, CMPI_uint8).rc, CMPI_RC_OK);
  for (const char* const name : {"Chars", "String", "Number"}) {
    EXPECT_EQ(CMGetProperty(inst, name, &rc).state, CMPI_nullValue) << name;
    EXPECT_EQ(rc.rc, CMPI_RC_OK);
  }
}

TEST_F(BrokerObjects, ValuesThatTheHostDoesNotCarryAreRefused) {
  CMPIInstance* const inst = newInstance();
  const CMPIValue value{};
  EXPECT_EQ(CMSetProperty(inst, "A", &value, CMPI_ARRAY | CMPI_uint8).rc,
            CMPI_RC_ERR_INVALID_DATA_TYPE);
  EXPECT_EQ(CMSetProperty(inst, "A", nullptr, CMPI_ref).rc, CMPI_RC_ERR_INVALID_DATA_TYPE);
  EXPECT_EQ(CMSetProperty(inst, nullptr, "x", CMPI_chars).rc, CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(inst->ft->getPropertyCount(inst, nullptr), 0U);
}

TEST_F(BrokerObjects, AnInstanceKnowsItsPath) {
  CMPIInstance* const inst = newInstance();
  CMPIObjectPath* const first = inst->ft->getObjectPath(inst, &rc);
  EXPECT_EQ(text(CMGetClassName(first, nullptr)), "KAV_SSDLifeMonitor");
  EXPECT_EQ(inst->ft->setObjectPath(inst, CMNewObjectPath(mb, "ns", "Other", nullptr)).rc,
            CMPI_RC_OK);
  EXPECT_EQ(text(CMGetClassName(inst->ft->getObjectPath(inst, &rc), nullptr)), "Other");
  EXPECT_EQ(inst->ft->setObjectPath(inst, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(CMNewInstance(mb, nullptr, &rc), nullptr);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

// ---- Contexts ---------------------------------------------------------------------------------

TEST_F(BrokerObjects, AContextKeepsItsEntriesAndAPreparedOneHasItsOwnCopy) {
  CMPIContext* const ctx = CBPrepareAttachThread(mb, nullptr);
  CMPIString* const user = CMNewString(mb, "kim", nullptr);
  EXPECT_EQ(
      ctx->ft
          ->addEntry(ctx, "CMPIPrincipal", reinterpret_cast<const CMPIValue*>(&user), CMPI_string)
          .rc,
      CMPI_RC_OK);
  CMPIContext* const prepared = CBPrepareAttachThread(mb, ctx);
  const CMPIUint32 flags = 1;
  ctx->ft->addEntry(ctx, "CMPIInvocationFlags", reinterpret_cast<const CMPIValue*>(&flags),
                    CMPI_uint32);
  EXPECT_EQ(ctx->ft->getEntryCount(ctx, &rc), 2U);
  EXPECT_EQ(prepared->ft->getEntryCount(prepared, &rc), 1U);
  EXPECT_EQ(text(prepared->ft->getEntry(prepared, "CMPIPrincipal", &rc).value.string), "kim");
  CMPIString* name = nullptr;
  EXPECT_EQ(ctx->ft->getEntryAt(ctx, 1, &name, &rc).value.uint32, 1U);
  EXPECT_EQ(text(name), "CMPIInvocationFlags");
  ctx->ft->getEntry(ctx, "Other", &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_NOT_FOUND);
}

}  // namespace

#include "host/Faults.h"

#include <cmpi/cmpimacs.h>
#include <gtest/gtest.h>

#include "host/Broker.h"

using cmpihost::Broker;

namespace {

CMPIInstance* newInstance(Broker& broker) {
  CMPIObjectPath* const op = CMNewObjectPath(broker.cmpi(), "root/cimv2", "A_Class", nullptr);
  return CMNewInstance(broker.cmpi(), op, nullptr);
}

CMPIrc setNumber(CMPIInstance* inst, CMPIUint8 number) {
  return CMSetProperty(inst, "Number", &number, CMPI_uint8).rc;
}

TEST(Faults, ExactlyTheNthCallFailsAndHasNoEffect) {
  Broker broker;
  CMPIInstance* const inst = newInstance(broker);
  broker.failCall("setProperty", 3, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(setNumber(inst, 1), CMPI_RC_OK);
  EXPECT_EQ(setNumber(inst, 2), CMPI_RC_OK);
  EXPECT_EQ(setNumber(inst, 3), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(CMGetProperty(inst, "Number", nullptr).value.uint8, 2);
  EXPECT_EQ(setNumber(inst, 4), CMPI_RC_OK);
  EXPECT_TRUE(broker.journal().callsTo("setProperty")[2].failed);
  EXPECT_FALSE(broker.journal().callsTo("setProperty")[3].failed);
}

TEST(Faults, CallsAreCountedFromTheArming) {
  Broker broker;
  CMPIInstance* const inst = newInstance(broker);
  setNumber(inst, 1);
  broker.failCall("setProperty", 1, CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(setNumber(inst, 2), CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(setNumber(inst, 3), CMPI_RC_OK);
}

TEST(Faults, AFailureCarriesItsMessage) {
  Broker broker;
  CMPIInstance* const inst = newInstance(broker);
  broker.failCall("setProperty", 1, CMPI_RC_ERR_FAILED, "the disk is full");
  const CMPIStatus failed = CMSetProperty(inst, "A", "b", CMPI_chars);
  ASSERT_NE(failed.msg, nullptr);
  EXPECT_STREQ(CMGetCharPtr(failed.msg), "the disk is full");
  broker.failCall("newInstance", 1, CMPI_RC_ERR_FAILED);
  CMPIStatus rc{CMPI_RC_OK, failed.msg};
  EXPECT_EQ(CMNewInstance(broker.cmpi(), nullptr, &rc), nullptr);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(rc.msg, nullptr);
}

TEST(Faults, AFailedCallForAnObjectAnswersNullAlsoWithoutAPlaceForTheStatus) {
  Broker broker;
  broker.failEveryCall("newObjectPath", CMPI_RC_ERR_FAILED);
  EXPECT_EQ(CMNewObjectPath(broker.cmpi(), "a", "b", nullptr), nullptr);
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  EXPECT_EQ(CMNewObjectPath(broker.cmpi(), "a", "b", &rc), nullptr);
  EXPECT_EQ(rc.rc, CMPI_RC_ERR_FAILED);
  broker.clearFaults();
  EXPECT_NE(CMNewObjectPath(broker.cmpi(), "a", "b", nullptr), nullptr);
}

TEST(Faults, ANullAnswerMaySayThatAllIsWell) {
  Broker broker;
  broker.answerNull("newDateTime", 2);
  CMPIStatus rc{CMPI_RC_ERR_FAILED, nullptr};
  EXPECT_NE(CMNewDateTime(broker.cmpi(), &rc), nullptr);
  EXPECT_EQ(CMNewDateTime(broker.cmpi(), &rc), nullptr);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
}

TEST(Faults, AKindOfObjectInFrontMeansOnlyThatKind) {
  Broker broker;
  CMPIString* const string = CMNewString(broker.cmpi(), "a", nullptr);
  CMPIInstance* const inst = newInstance(broker);
  broker.failEveryCall("instance.release", CMPI_RC_ERR_FAILED);
  EXPECT_EQ(CMRelease(string).rc, CMPI_RC_OK);
  EXPECT_EQ(CMRelease(inst).rc, CMPI_RC_ERR_FAILED);
}

TEST(Faults, TwoFaultsOfOneSlotAreCountedSideBySide) {
  Broker broker;
  CMPIInstance* const inst = newInstance(broker);
  broker.failCall("setProperty", 1, CMPI_RC_ERR_FAILED);
  broker.failCall("setProperty", 2, CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(setNumber(inst, 1), CMPI_RC_ERR_FAILED);
  EXPECT_EQ(setNumber(inst, 2), CMPI_RC_ERR_ACCESS_DENIED);
  EXPECT_EQ(setNumber(inst, 3), CMPI_RC_OK);
}

// Each call that can fail, failed once.
TEST(Faults, EveryServiceCanBeMadeToFail) {
  Broker broker;
  const CMPIBroker* const mb = broker.cmpi();
  CMPIObjectPath* const op = CMNewObjectPath(mb, "root/cimv2", "A_Class", nullptr);
  CMPIInstance* const inst = CMNewInstance(mb, op, nullptr);
  CMPIString* const string = CMNewString(mb, "a", nullptr);
  CMPIDateTime* const time = CMNewDateTime(mb, nullptr);
  CMPIContext* const ctx = CBPrepareAttachThread(mb, nullptr);
  CMPIStatus rc{CMPI_RC_OK, nullptr};
  const auto fails = [&](const char* call) { broker.failCall(call, 1, CMPI_RC_ERROR_SYSTEM); };
  const auto failed = [&] {
    const bool yes = rc.rc == CMPI_RC_ERROR_SYSTEM;
    rc = {CMPI_RC_OK, nullptr};
    return yes;
  };

  fails("newString");
  EXPECT_EQ(CMNewString(mb, "a", &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("newDateTime");
  EXPECT_EQ(CMNewDateTime(mb, &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("newDateTimeFromBinary");
  EXPECT_EQ(mb->eft->newDateTimeFromBinary(mb, 1, 0, &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("newDateTimeFromChars");
  EXPECT_EQ(mb->eft->newDateTimeFromChars(mb, "00000001000000.000000:000", &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("classPathIsA");
  EXPECT_EQ(mb->eft->classPathIsA(mb, op, "A_Class", &rc), 0);
  EXPECT_TRUE(failed());

  fails("getCharPtr");
  EXPECT_EQ(CMGetCharsPtr(string, &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("string.clone");
  EXPECT_EQ(CMClone(string, &rc), nullptr);
  EXPECT_TRUE(failed());

  fails("getBinaryFormat");
  EXPECT_EQ(time->ft->getBinaryFormat(time, &rc), 0U);
  EXPECT_TRUE(failed());
  fails("getStringFormat");
  EXPECT_EQ(time->ft->getStringFormat(time, &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("isInterval");
  EXPECT_EQ(time->ft->isInterval(time, &rc), 0);
  EXPECT_TRUE(failed());

  fails("getNameSpace");
  EXPECT_EQ(CMGetNameSpace(op, &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("getClassName");
  EXPECT_EQ(CMGetClassName(op, &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("setClassName");
  EXPECT_EQ(op->ft->setClassName(op, "B").rc, CMPI_RC_ERROR_SYSTEM);
  fails("addKey");
  EXPECT_EQ(CMAddKey(op, "K", "v", CMPI_chars).rc, CMPI_RC_ERROR_SYSTEM);
  EXPECT_EQ(op->ft->getKeyCount(op, nullptr), 0U);
  fails("getKey");
  EXPECT_EQ(CMGetKey(op, "K", &rc).type, CMPI_null);
  EXPECT_TRUE(failed());
  fails("getKeyAt");
  op->ft->getKeyAt(op, 0, nullptr, &rc);
  EXPECT_TRUE(failed());
  fails("getKeyCount");
  op->ft->getKeyCount(op, &rc);
  EXPECT_TRUE(failed());
  fails("objectPath.toString");
  EXPECT_EQ(op->ft->toString(op, &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("setNameSpaceFromObjectPath");
  EXPECT_EQ(op->ft->setNameSpaceFromObjectPath(op, op).rc, CMPI_RC_ERROR_SYSTEM);

  fails("instance.getProperty");
  CMGetProperty(inst, "A", &rc);
  EXPECT_TRUE(failed());
  fails("getPropertyAt");
  inst->ft->getPropertyAt(inst, 0, nullptr, &rc);
  EXPECT_TRUE(failed());
  fails("getPropertyCount");
  inst->ft->getPropertyCount(inst, &rc);
  EXPECT_TRUE(failed());
  fails("getObjectPath");
  EXPECT_EQ(inst->ft->getObjectPath(inst, &rc), nullptr);
  EXPECT_TRUE(failed());
  fails("setObjectPath");
  EXPECT_EQ(inst->ft->setObjectPath(inst, op).rc, CMPI_RC_ERROR_SYSTEM);

  fails("getEntry");
  ctx->ft->getEntry(ctx, "A", &rc);
  EXPECT_TRUE(failed());
  fails("getEntryAt");
  ctx->ft->getEntryAt(ctx, 0, nullptr, &rc);
  EXPECT_TRUE(failed());
  fails("getEntryCount");
  ctx->ft->getEntryCount(ctx, &rc);
  EXPECT_TRUE(failed());
  fails("addEntry");
  EXPECT_EQ(ctx->ft->addEntry(ctx, "A", nullptr, CMPI_string).rc, CMPI_RC_ERROR_SYSTEM);

  fails("prepareAttachThread");
  EXPECT_EQ(CBPrepareAttachThread(mb, ctx), nullptr);
  fails("attachThread");
  EXPECT_EQ(CBAttachThread(mb, ctx).rc, CMPI_RC_ERROR_SYSTEM);
  fails("deliverIndication");
  EXPECT_EQ(CBDeliverIndication(mb, ctx, "root/cimv2", inst).rc, CMPI_RC_ERROR_SYSTEM);
  EXPECT_FALSE(broker.waitForIndication(std::chrono::milliseconds(0)));
  fails("detachThread");
  EXPECT_EQ(CBDetachThread(mb, ctx).rc, CMPI_RC_ERROR_SYSTEM);
}

}  // namespace

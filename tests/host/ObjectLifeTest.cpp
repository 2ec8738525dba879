#include <cmpi/cmpimacs.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "host/Broker.h"

using cmpihost::Broker;

namespace {

using Lines = std::vector<std::string>;

TEST(ObjectLife, ObjectsOfAnAttachedThreadGoWithItsDetachment) {
  Broker broker;
  const CMPIBroker* const mb = broker.cmpi();
  std::thread thread([&] {
    CMPIContext* const ctx = CBPrepareAttachThread(mb, nullptr);
    CBAttachThread(mb, ctx);
    CMNewString(mb, "a", nullptr);
    CMNewDateTime(mb, nullptr);
    EXPECT_EQ(broker.liveObjects(), 3U);
    EXPECT_EQ(CBDetachThread(mb, ctx).rc, CMPI_RC_OK);
    EXPECT_EQ(broker.liveObjects(), 0U);
  });
  thread.join();
}

TEST(ObjectLife, AttachmentsNest) {
  Broker broker;
  const CMPIBroker* const mb = broker.cmpi();
  CMPIContext* const outer = CBPrepareAttachThread(mb, nullptr);
  CMPIContext* const inner = CBPrepareAttachThread(mb, outer);
  CBAttachThread(mb, outer);
  CMPIString* const kept = CMNewString(mb, "kept", nullptr);
  CBAttachThread(mb, inner);
  CMNewString(mb, "gone", nullptr);
  EXPECT_EQ(broker.liveObjects(), 4U);
  CBDetachThread(mb, inner);
  EXPECT_EQ(broker.liveObjects(), 2U);
  EXPECT_STREQ(CMGetCharPtr(kept), "kept");
  CBDetachThread(mb, outer);
  EXPECT_EQ(broker.liveObjects(), 0U);
}

TEST(ObjectLife, ADetachmentEndsTheAttachmentOfItsContextAndNoOther) {
  Broker broker;
  const CMPIBroker* const mb = broker.cmpi();
  CMPIContext* const outer = CBPrepareAttachThread(mb, nullptr);
  CMPIContext* const inner = CBPrepareAttachThread(mb, nullptr);
  CBAttachThread(mb, outer);
  CMNewString(mb, "gone", nullptr);
  CMNewString(mb, "gone", nullptr);
  CBAttachThread(mb, inner);
  CMPIString* const kept = CMNewString(mb, "kept", nullptr);
  CBDetachThread(mb, outer);
  EXPECT_EQ(broker.liveObjects(), 2U);
  EXPECT_STREQ(CMGetCharPtr(kept), "kept");
  CBDetachThread(mb, inner);
  EXPECT_EQ(broker.liveObjects(), 0U);
}

TEST(ObjectLife, ACloneOutlivesTheAttachment) {
  Broker broker;
  const CMPIBroker* const mb = broker.cmpi();
  CMPIContext* const ctx = CBPrepareAttachThread(mb, nullptr);
  CBAttachThread(mb, ctx);
  CMPIObjectPath* const op = CMNewObjectPath(mb, "root/cimv2", "A_Class", nullptr);
  CMPIInstance* const inst = CMNewInstance(mb, op, nullptr);
  CMSetProperty(inst, "A", "1", CMPI_chars);
  CMPIStatus rc{CMPI_RC_ERROR, nullptr};
  CMPIInstance* const copy = CMClone(inst, &rc);
  EXPECT_EQ(rc.rc, CMPI_RC_OK);
  CMSetProperty(inst, "A", "2", CMPI_chars);
  CBDetachThread(mb, ctx);
  EXPECT_STREQ(CMGetCharPtr(CMGetProperty(copy, "A", nullptr).value.string), "1");
  EXPECT_EQ(CMRelease(copy).rc, CMPI_RC_OK);
}

TEST(ObjectLife, EveryKindOfObjectCanBeClonedAndReleased) {
  Broker broker;
  const CMPIBroker* const mb = broker.cmpi();
  CMPIStatus rc{CMPI_RC_ERROR, nullptr};
  CMPIString* const string = CMClone(CMNewString(mb, "text", nullptr), &rc);
  EXPECT_STREQ(CMGetCharPtr(string), "text");
  CMPIDateTime* const time = CMClone(mb->eft->newDateTimeFromBinary(mb, 7, 0, nullptr), &rc);
  EXPECT_EQ(time->ft->getBinaryFormat(time, nullptr), 7U);
  CMPIObjectPath* const op = CMClone(CMNewObjectPath(mb, "ns", "cn", nullptr), &rc);
  EXPECT_STREQ(CMGetCharPtr(CMGetClassName(op, nullptr)), "cn");
  CMPIContext* const ctx = CMClone(CBPrepareAttachThread(mb, nullptr), &rc);
  EXPECT_EQ(ctx->ft->getEntryCount(ctx, nullptr), 0U);
  EXPECT_EQ(CMRelease(string).rc, CMPI_RC_OK);
  EXPECT_EQ(CMRelease(time).rc, CMPI_RC_OK);
  EXPECT_EQ(CMRelease(op).rc, CMPI_RC_OK);
  EXPECT_EQ(CMRelease(ctx).rc, CMPI_RC_OK);
  EXPECT_TRUE(broker.journal().violations().empty());
}

TEST(ObjectLife, ASecondReleaseAndAUseAfterwardsAreNoted) {
  Broker broker;
  CMPIString* const string = CMNewString(broker.cmpi(), "text", nullptr);
  EXPECT_EQ(CMRelease(string).rc, CMPI_RC_OK);
  EXPECT_EQ(CMRelease(string).rc, CMPI_RC_ERR_INVALID_HANDLE);
  CMGetCharPtr(string);
  EXPECT_EQ(broker.journal().violations(),
            (Lines{"string#1.release after its release", "string#1.getCharPtr after its release"}));
}

// The order after a failed attachment: the context is released, then given to detachThread.
TEST(ObjectLife, AReleasedContextCanStillBeDetached) {
  Broker broker;
  const CMPIBroker* const mb = broker.cmpi();
  CMPIContext* const ctx = CBPrepareAttachThread(mb, nullptr);
  broker.failCall("attachThread", 1, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(CBAttachThread(mb, ctx).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(CMRelease(ctx).rc, CMPI_RC_OK);
  EXPECT_EQ(CBDetachThread(mb, ctx).rc, CMPI_RC_ERR_FAILED);
  EXPECT_EQ(broker.liveObjects(), 0U);
  EXPECT_EQ(broker.journal().texts(),
            (Lines{"broker.prepareAttachThread(null)", "broker.attachThread(context#1)",
                   "context#1.release()", "broker.detachThread(context#1)"}));
  EXPECT_TRUE(broker.journal().violations().empty());
}

TEST(ObjectLife, NullContextsAreRefused) {
  Broker broker;
  EXPECT_EQ(CBAttachThread(broker.cmpi(), nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(CBDetachThread(broker.cmpi(), nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

}  // namespace

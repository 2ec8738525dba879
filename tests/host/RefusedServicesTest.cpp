#include <cmpi/cmpimacs.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "host/Broker.h"

using cmpihost::Broker;

namespace {

// Services that this broker does not have must say so in the way of their slot.
class RefusedServices : public testing::Test {
 protected:
  void expectRefused() {
    EXPECT_EQ(rc.rc, CMPI_RC_ERR_NOT_SUPPORTED);
    rc = {CMPI_RC_OK, nullptr};
  }

  Broker broker;
  const CMPIBroker* mb = broker.cmpi();
  CMPIStatus rc{CMPI_RC_OK, nullptr};
};

TEST_F(RefusedServices, RequestsToOtherProviders) {
  const CMPIBrokerFT* const ft = mb->bft;
  EXPECT_EQ(ft->enumerateInstanceNames(mb, nullptr, nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->getInstance(mb, nullptr, nullptr, nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->createInstance(mb, nullptr, nullptr, nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->modifyInstance(mb, nullptr, nullptr, nullptr, nullptr).rc,
            CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(ft->deleteInstance(mb, nullptr, nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(ft->execQuery(mb, nullptr, nullptr, "", "WQL", &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->enumerateInstances(mb, nullptr, nullptr, nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->associators(mb, nullptr, nullptr, "", "", "", "", nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->associatorNames(mb, nullptr, nullptr, "", "", "", "", &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->references(mb, nullptr, nullptr, "", "", nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->referenceNames(mb, nullptr, nullptr, "", "", &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->invokeMethod(mb, nullptr, nullptr, "", nullptr, nullptr, &rc).state,
            CMPI_nullValue);
  expectRefused();
  EXPECT_EQ(ft->setProperty(mb, nullptr, nullptr, "", nullptr, CMPI_uint8).rc,
            CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(ft->getProperty(mb, nullptr, nullptr, "", &rc).type, CMPI_null);
  expectRefused();
  // Nowhere to say it: the null answer has to do.
  EXPECT_EQ(ft->getInstance(mb, nullptr, nullptr, nullptr, nullptr), nullptr);
}

TEST_F(RefusedServices, ObjectsThatNoProviderOfThisKindMakes) {
  const CMPIBrokerEncFT* const ft = mb->eft;
  EXPECT_EQ(ft->newArgs(mb, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->newArray(mb, 1, CMPI_uint8, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->newSelectExp(mb, "", "WQL", nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->toString(mb, nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->isOfType(mb, nullptr, "", &rc), 0);
  expectRefused();
  EXPECT_EQ(ft->getType(mb, nullptr, &rc), nullptr);
  expectRefused();
  EXPECT_EQ(ft->getMessage(mb, "id", "text", &rc, 0), nullptr);
  expectRefused();
  EXPECT_EQ(ft->logMessage(mb, 1, "id", "text", nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
  EXPECT_EQ(ft->trace(mb, 1, "component", "text", nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

TEST_F(RefusedServices, LocksKeysAndThreadEndsOfTheOperatingSystem) {
  const CMPIBrokerExtFT* const ft = mb->xft;
  EXPECT_EQ(ft->resolveFileName("x"), nullptr);
  EXPECT_EQ(ft->exitThread(nullptr), ENOTSUP);
  EXPECT_EQ(ft->cancelThread(nullptr), ENOTSUP);
  EXPECT_EQ(ft->threadOnce(nullptr, nullptr), ENOTSUP);
  EXPECT_EQ(ft->createThreadKey(nullptr, nullptr), ENOTSUP);
  EXPECT_EQ(ft->destroyThreadKey(0), ENOTSUP);
  EXPECT_EQ(ft->getThreadSpecific(0), nullptr);
  EXPECT_EQ(ft->setThreadSpecific(0, nullptr), ENOTSUP);
  EXPECT_EQ(ft->newMutex(0), nullptr);
  ft->lockMutex(nullptr);
  ft->unlockMutex(nullptr);
  ft->destroyMutex(nullptr);
  EXPECT_EQ(ft->newCondition(0), nullptr);
  ft->destroyCondition(nullptr);
  EXPECT_EQ(ft->condWait(nullptr, nullptr), ENOTSUP);
  EXPECT_EQ(ft->timedCondWait(nullptr, nullptr, nullptr), ENOTSUP);
  EXPECT_EQ(ft->signalCondition(nullptr), ENOTSUP);
}

TEST_F(RefusedServices, QualifiersAndPropertyFilters) {
  CMPIObjectPath* const op = CMNewObjectPath(mb, "ns", "cn", nullptr);
  EXPECT_EQ(op->ft->getClassQualifier(op, "q", &rc).state, CMPI_nullValue);
  expectRefused();
  EXPECT_EQ(op->ft->getPropertyQualifier(op, "p", "q", &rc).state, CMPI_nullValue);
  expectRefused();
  EXPECT_EQ(op->ft->getMethodQualifier(op, "m", "q", &rc).state, CMPI_nullValue);
  expectRefused();
  EXPECT_EQ(op->ft->getParameterQualifier(op, "m", "p", "q", &rc).state, CMPI_nullValue);
  expectRefused();
  CMPIInstance* const inst = CMNewInstance(mb, op, nullptr);
  EXPECT_EQ(inst->ft->setPropertyFilter(inst, nullptr, nullptr).rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

}  // namespace

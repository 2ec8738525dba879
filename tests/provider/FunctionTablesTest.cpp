#include "provider/FunctionTables.h"

#include <cstring>

#include <gtest/gtest.h>

#include "provider/EntryPoints.h"
#include "provider/ProviderState.h"

// Built for each version of the CMPI interface: what a broker of version 1.00 finds is the same.

namespace {

/// The slot at `offset` bytes of a table, as a broker that knows nothing but 1.00 reads it.
const void* slot(const void* table, std::size_t offset) {
  const void* value = nullptr;
  std::memcpy(&value, static_cast<const char*>(table) + offset, sizeof value);
  return value;
}

int number(const void* table, std::size_t offset) {
  int value = 0;
  std::memcpy(&value, static_cast<const char*>(table) + offset, sizeof value);
  return value;
}

template <typename Function>
const void* address(Function* function) {
  return reinterpret_cast<const void*>(function);
}

TEST(InstanceTable, HoldsVersion100ItsNameAndTheEntriesInOrder) {
  const void* table = instanceMI.ft;
  EXPECT_EQ(number(table, 0), 100);
  EXPECT_EQ(number(table, 4), 100);
  EXPECT_STREQ(static_cast<const char*>(slot(table, 8)), "instanceSsdProvider");
  EXPECT_EQ(slot(table, 16), address(drvInstanceCleanup));
  EXPECT_EQ(slot(table, 24), address(drvEnumInstanceNames));
  EXPECT_EQ(slot(table, 32), address(drvEnumInstances));
  EXPECT_EQ(slot(table, 40), address(drvGetInstance));
  EXPECT_EQ(slot(table, 48), address(drvCreateInstance));
  EXPECT_EQ(slot(table, 56), address(drvModifyInstance));
  EXPECT_EQ(slot(table, 64), address(drvDeleteInstance));
  EXPECT_EQ(slot(table, 72), address(drvExecQuery));
}

TEST(IndicationTable, HoldsVersion100ItsNameAndTheEntriesInOrder) {
  const void* table = indicationMI.ft;
  EXPECT_EQ(number(table, 0), 100);
  EXPECT_EQ(number(table, 4), 100);
  EXPECT_STREQ(static_cast<const char*>(slot(table, 8)), "indicationSsdProvider");
  EXPECT_EQ(slot(table, 16), address(drvIndicationCleanup));
  EXPECT_EQ(slot(table, 24), address(drvAuthorizeFilter));
  EXPECT_EQ(slot(table, 32), address(drvMustPoll));
  EXPECT_EQ(slot(table, 40), address(drvActivateFilter));
  EXPECT_EQ(slot(table, 48), address(drvDeActivateFilter));
  EXPECT_EQ(slot(table, 56), address(drvEnableIndications));
  EXPECT_EQ(slot(table, 64), address(drvDisableIndications));
}

TEST(Mis, HaveNoHandleBeforeTheirFactoryMadeTheProvider) {
  EXPECT_EQ(instanceMI.hdl, nullptr);
  EXPECT_EQ(indicationMI.hdl, nullptr);
}

TEST(Module, BeginsWithoutAProviderAndWithoutUses) {
  EXPECT_EQ(drvProvider, nullptr);
  EXPECT_FALSE(drvProviderReady);
  EXPECT_EQ(use_count, 0);
}

/// The forms of 1.00: mustPoll with five arguments, enable and disable without a result.
static_assert(std::is_same_v<decltype(drvMustPoll),
                             CMPIStatus(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                                        const char*, const CMPIObjectPath*)>);
static_assert(
    std::is_same_v<decltype(drvEnableIndications), void(CMPIIndicationMI*, const CMPIContext*)>);
static_assert(
    std::is_same_v<decltype(drvDisableIndications), void(CMPIIndicationMI*, const CMPIContext*)>);

}  // namespace

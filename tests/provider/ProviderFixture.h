#pragma once

#include <initializer_list>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "core/SsdInformation.h"
#include "provider/SsdProvider.h"
#include "tests/provider/Events.h"
#include "tests/provider/FakeCore.h"
#include "tests/provider/RecordingBroker.h"

/// A machine with the drives A (sda), B (sdb) and C (nvme0), a broker, and the provider module as
/// it is after loading.
class ProviderTest : public ::testing::Test {
 protected:
  explicit ProviderTest(const char* brokerName = "recording") : broker(brokerName) {}
  void SetUp() override;
  /// Ends what the test left running; nothing may have been done against the broker's rules.
  void TearDown() override;

  RecordingBroker broker;
};

/// The same, and what a broker hands over with its calls.
class ModuleTest : public ProviderTest {
 protected:
  void SetUp() override;

  const CMPIContext* context = nullptr;
  const CMPIResult* result = nullptr;
  const CMPIObjectPath* ssds = nullptr;
  const CMPIObjectPath* failures = nullptr;
};

/// An initialised provider with the three drives of the machine, asked without its module.
class InitialisedProvider : public ProviderTest {
 protected:
  using ProviderTest::ProviderTest;
  void SetUp() override;
  void TearDown() override;

  std::unique_ptr<SsdProvider> provider;
};

constexpr char kModelAId[] = "Model A___Serial A___sda";
constexpr char kModelBId[] = "Model B___Serial B___sdb";
constexpr char kModelCId[] = "Model C___Serial C___nvme0";

/// Each text with a line feed behind it.
std::string lines(std::initializer_list<std::string> texts);

/// The calls that make the object path of a drive, as the broker's `n`th path.
std::string pathCalls(const SsdInformation& drive, unsigned n);

/// The calls that make the instance of a drive, as the broker's `n`th path and instance.
std::string instanceCalls(const SsdInformation& drive, unsigned n);

/// The same up to and including the setting of `last`, the `times`th of that name.
std::string instanceCallsUpTo(const SsdInformation& drive, unsigned n, const std::string& last,
                              unsigned times = 1);

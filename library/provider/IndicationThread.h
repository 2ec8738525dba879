#pragma once

#include <memory>
#include <string>

#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>

/// What an indication thread needs; its own from the start, so that it may outlive the provider.
struct IndicationArguments {
  const CMPIBroker* broker = nullptr;
  std::shared_ptr<CMPIContext> context;  ///< the provider's; given up once the thread has its own
  std::string deviceID;
  std::string physicalDrive;
};

/// Starts a detached broker thread that builds and delivers one indication. Nobody learns whether
/// it did: a failure is logged on that thread and the indication is lost.
void startIndicationThread(std::unique_ptr<IndicationArguments> arguments);

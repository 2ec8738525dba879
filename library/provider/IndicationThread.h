#pragma once

#include <memory>
#include <string>

#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>

/// What an indication thread needs; its own from the start, so that it may outlive the provider.
struct IndicationArguments {
  const CMPIBroker* broker = nullptr;
  /// The provider's, and no longer there than that: a thread may never begin.
  std::weak_ptr<CMPIContext> context;
  std::string deviceID;
  std::string physicalDrive;
};

/// Starts a detached broker thread that builds and delivers one indication. Nobody learns whether
/// it did: a failure is logged on that thread and the indication is lost.
void startIndicationThread(std::unique_ptr<IndicationArguments> arguments);

/// Waits for the threads that are in this library's code: up to ten seconds for those that are
/// delivering, and until a second after the last start for those that have not begun. For the
/// library's last moment, when nothing is left that could start another one.
void awaitIndicationThreads();

/// For a forked child, in which none of these threads goes on.
void forgetIndicationThreads();

#pragma once

#include "core/ISsdListener.h"
#include "core/SsdCode.h"
#include "core/SsdInformation.h"

/// The core as the provider sees it. All objects share one device manager, which lives from the
/// library's loading to its unloading; nothing shuts the core down before.
///
/// One thread at a time may call; listeners are told on any thread.
class SsdApi {
 public:
  /// Reads the configuration, finds the SSDs and starts watching them. Does nothing once it has
  /// succeeded.
  SSD_CODE initialiseSsdDriver();

  /// Reads every drive and appends a record for each.
  SSD_CODE getSsdInformationList(SsdInformationList& list);

  /// Sets the one listener; forgotten before the driver is initialised. Not owned.
  void registerSsdListener(ISsdListener* listener);
  void unregisterSsdListener();

  /// Removes `listener` if it is the registered one, without a line in the log: for a listener that
  /// is about to go. No event reaches it any more once this returns.
  static void withdrawSsdListener(const ISsdListener* listener);

  /// For a forked child, in which none of its parent's other threads goes on: nobody is waited for
  /// at its end, and the devices are left as they are.
  static void forgetThreads();
};

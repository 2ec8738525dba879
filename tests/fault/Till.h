#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/Broker.h"
#include "host/Provider.h"
#include "tests/fault/Machine.h"

namespace fault {

/// A till: a machine with three kinds of drive, an object manager, and the built library in it.
class Till {
 public:
  /// `orderly`: a thread that the library starts through the broker is through before its starter
  /// goes on, so that every run makes the same calls in the same order.
  explicit Till(bool orderly = true);
  ~Till();
  Till(const Till&) = delete;
  Till& operator=(const Till&) = delete;

  static std::string library();

  static constexpr unsigned kTicksPerPoll = 2;

  Machine machine;
  cmpihost::Broker broker;

  /// Whether the library logs, traces and dumps all it can, and echoes it: with VEKSSD_FAULT_TRACE
  /// from the start. Takes effect when it is loaded the next time.
  void setTraced(bool traced);
  bool traced() const { return traced_; }

  void load();
  bool loaded() const { return provider_ != nullptr; }
  /// Both factories, as an object manager calls them.
  void start();
  /// Waits for what still runs and gives the library up: true if it has left the process.
  bool unload();
  cmpihost::Provider& provider() { return *provider_; }

  cmpihost::Reply names();
  cmpihost::Reply list();
  cmpihost::Reply get(const std::string& deviceId);

  /// The codes of authorizeFilter, mustPoll and activateFilter.
  std::vector<CMPIrc> subscribe();
  /// Takes it back; the code of deActivateFilter.
  CMPIrc unsubscribe();
  /// The codes of deActivateFilter and of both clean-ups.
  std::vector<CMPIrc> cleanUp();

  /// The values of all drives: each has its own, and another in every generation.
  void setGeneration(unsigned generation);

  /// Device identifiers of the indications that came since the last call.
  std::vector<std::string> takeIndications();

 private:
  std::unique_ptr<cmpihost::Provider> provider_;
  bool traced_ = false;
};

constexpr char kNamespace[] = "root/cimv2";
constexpr char kClass[] = "KAV_SSDLifeMonitor";
constexpr char kIndicationClass[] = "KAV_SSDLifeMonitorFailureImminent";

}  // namespace fault

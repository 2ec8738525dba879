#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/Broker.h"
#include "host/Provider.h"
#include "tests/fault/Machine.h"

/// A till whose surroundings a test makes as bad as it likes before the library is loaded. What the
/// library writes to standard output and error goes nowhere.
class HostileTill {
 public:
  HostileTill();
  ~HostileTill();
  HostileTill(const HostileTill&) = delete;
  HostileTill& operator=(const HostileTill&) = delete;

  fault::Machine machine;
  cmpihost::Broker broker;

  /// Loads the library and calls both factories.
  void start();
  cmpihost::Provider& provider() { return *provider_; }

  cmpihost::Reply list();
  cmpihost::Reply get(const std::string& deviceId);

  /// The descriptors of this process that lead to a node of the machine.
  std::vector<int> openAt(const std::string& node) const;

  /// The text of the one log file that the machine has.
  std::string log() const { return machine.read("/var/log/ssddrv/ssddrv.log"); }

 private:
  std::unique_ptr<cmpihost::Provider> provider_;
  int out_;
  int error_;
};

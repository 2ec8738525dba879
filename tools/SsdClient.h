#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/Broker.h"
#include "host/Provider.h"
#include "tools/Drive.h"

namespace ssdlife {

// The provider library, asked in the terms of drives. Every operation throws Failure, with one line
// for the user, when the library or the machine has no answer. For one thread.
class SsdClient {
 public:
  explicit SsdClient(const std::string& library);

  std::vector<Drive> list();

  // The DeviceID of each drive.
  std::vector<std::string> names();

  // The first drive whose DeviceID begins with the text.
  Drive get(const std::string& deviceId);

  // From now on `sink` gets each event, on the thread that delivers it.
  void subscribe(std::function<void(const FailureEvent&)> sink);
  void unsubscribe();

  // Takes leave of the library and unloads it: up to a second for each drive that it polls.
  void close();

 private:
  cmpihost::Broker broker_;
  cmpihost::Provider provider_;
};

}  // namespace ssdlife

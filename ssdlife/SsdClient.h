#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/ObjectManager.h"
#include "ssdlife/Drive.h"

namespace ssdlife {

// The provider library, asked in the terms of drives. Every operation throws Failure, with one line
// for the user, when the library or the machine has no answer. For one thread.
class SsdClient {
 public:
  // `like`: the object manager that is to be played to the library, "plain" for none.
  SsdClient(const std::string& library, const std::string& like);

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
  cmpihost::ObjectManager manager_;
};

}  // namespace ssdlife

#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/ObjectManager.h"
#include "ssdlife/Drive.h"

namespace ssdlife {

// How a client parts from the library.
enum class Parting {
  kUnload,       // by its farewell, and unloads it: up to a second for each drive that it polls
  kWithProcess,  // not at all: the end of the process is the end of both
};

// The provider library, asked in the terms of drives. Every operation throws Failure, with one line
// for the user, when the library or the machine has no answer. For one thread.
class SsdClient {
 public:
  // `like`: the object manager that is to be played to the library; empty or "plain" for none.
  SsdClient(const std::string& library, const std::string& like,
            Parting parting = Parting::kUnload);
  ~SsdClient();
  SsdClient(const SsdClient&) = delete;
  SsdClient& operator=(const SsdClient&) = delete;

  // For a command that asks once: it parts with the process, unless a manager is to be played,
  // whose farewell is a part of the play.
  static SsdClient forOneAnswer(const std::string& library, const std::string& like);

  std::vector<Drive> list();

  // The DeviceID of each drive.
  std::vector<std::string> names();

  // The first drive whose DeviceID begins with the text.
  Drive get(const std::string& deviceId);

  // From now on `sink` gets each event, on the thread that delivers it.
  void subscribe(std::function<void(const FailureEvent&)> sink);
  void unsubscribe();

  // Parts with the process after all.
  void leave();

  // Parts from the library as it was told to.
  void close();

  // Whether a client has left a library behind. Then the process ends by std::quick_exit: any other
  // end would unload it after all.
  static bool hasLeftLibrary();

 private:
  Parting parting_;
  std::unique_ptr<cmpihost::ObjectManager> manager_;
};

}  // namespace ssdlife

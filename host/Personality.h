#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/Broker.h"
#include "host/SharedLibrary.h"

namespace cmpihost {

// How an object manager behaves towards a provider, beyond what the interface demands. Each setting
// is something that a manager in use was seen to do.
struct Personality {
  std::string name;
  BrokerOptions broker;
  SharedLibrary::Binding binding = SharedLibrary::Binding::kLocal;

  // Runs every request on a thread of its own.
  bool requestThreads = false;

  // ---- What a request looks like.
  // Refuses classes and namespaces that nobody registered without asking the provider.
  bool knowsItsClasses = false;
  // Gives class and namespace in the spelling in which they were registered, not as typed.
  bool registeredSpelling = false;
  // Takes blanks off both ends of the text of a key.
  bool trimsKeys = false;
  CMPIValueState keyState = CMPI_goodValue;
  // Gives an empty key as a null string instead of an empty one.
  bool emptyKeyIsNull = false;
  // Checks the properties that a provider sets against the class: refuses those of another type,
  // drops those that the class does not have.
  bool checksProperties = false;

  // ---- Subscribing.
  // Asks authorizeFilter, whose answer counts, and mustPoll, whose answer does not.
  bool authorises = true;
  // Activates a filter on a superclass with the registered class in the path.
  bool pathHasRegisteredClass = false;
  bool enablesOncePerProcess = false;
  bool enablesFromAnotherThread = false;
  bool disablesAfterLastFilter = true;

  // ---- Idling: which MIs are asked whether they can go.
  bool idleAsksEveryMI = true;

  // ---- Stopping.
  bool disablesAtStop = false;
  bool instanceMIFirst = false;
  // Begins so many stops at the same time, and another one whenever this time has passed.
  unsigned stopThreads = 1;
  std::optional<std::chrono::milliseconds> stopRepeats;
  // Leaves the library in the process, for exit() to end it.
  bool exitsInsteadOfUnloading = false;
};

// "plain", "sfcb", "pegasus", "strict".
const std::vector<std::string>& personalityNames();

// Throws HostError for an unknown name. Plain does what the interface says and nothing else; sfcb
// and pegasus behave like the managers of that name; strict takes the hardest of each, and ends the
// process when a thread that it does not know calls newThread.
Personality personalityOf(std::string_view name);

}  // namespace cmpihost

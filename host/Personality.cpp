#include "host/Personality.h"

#include <algorithm>
#include <array>

#include "host/HostError.h"

namespace cmpihost {
namespace {

Personality plain() {
  Personality p;
  p.name = "plain";
  return p;
}

// One process for each library, a new thread for every request. Enables indications once in the
// life of that process; asks to stop again and again until the process has gone.
Personality sfcb() {
  Personality p;
  p.name = "sfcb";
  p.broker.name = "sfcb";
  p.broker.tableVersion = 1;
  p.broker.contextEntries = {{"CMPIInvocationFlags", Value::uint32(0)},
                             {"CMPIPrincipal", Value::null(CMPI_string)},
                             {"CMPISessionId", Value::string("1")}};
  p.binding = SharedLibrary::Binding::kGlobal;
  p.requestThreads = true;
  p.knowsItsClasses = true;
  p.trimsKeys = true;
  p.enablesOncePerProcess = true;
  p.enablesFromAnotherThread = true;
  p.disablesAfterLastFilter = false;
  p.idleAsksEveryMI = false;
  p.disablesAtStop = true;
  p.stopThreads = 3;
  p.stopRepeats = std::chrono::seconds(1);
  p.exitsInsteadOfUnloading = true;
  return p;
}

// Agents with pooled threads. Never asks whether a filter is welcome; knows the classes better than
// the provider; can't start a thread for a caller that it does not know.
Personality pegasus() {
  Personality p;
  p.name = "pegasus";
  p.broker.name = "Pegasus";
  p.broker.version = 200;
  p.broker.tableVersion = 200;
  p.broker.contextEntries = {{"CMPIPrincipal", Value::string("root")},
                             {"CMPIAcceptLanguage", Value::string("")},
                             {"CMPIInitNameSpace", Value::string("root/cimv2")}};
  p.broker.newThreadFromUnknown = UnknownCaller::kRefused;
  p.requestThreads = true;
  p.knowsItsClasses = true;
  p.registeredSpelling = true;
  p.trimsKeys = true;
  p.keyState = CMPI_keyValue;
  p.emptyKeyIsNull = true;
  p.checksProperties = true;
  p.authorises = false;
  p.pathHasRegisteredClass = true;
  p.instanceMIFirst = true;
  return p;
}

Personality strict() {
  Personality p = pegasus();
  p.name = "strict";
  p.broker.newThreadFromUnknown = UnknownCaller::kAborts;
  p.authorises = true;
  p.enablesFromAnotherThread = true;
  p.disablesAtStop = true;
  p.stopThreads = 3;
  return p;
}

struct Named {
  const char* name;
  Personality (*make)();
};

constexpr std::array kPersonalities = {Named{"plain", plain}, Named{"sfcb", sfcb},
                                       Named{"pegasus", pegasus}, Named{"strict", strict}};

}  // namespace

const std::vector<std::string>& personalityNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const Named& named : kPersonalities) {
      all.emplace_back(named.name);
    }
    return all;
  }();
  return names;
}

Personality personalityOf(std::string_view name) {
  const auto* const found = std::find_if(kPersonalities.begin(), kPersonalities.end(),
                                         [name](const Named& named) { return name == named.name; });
  if (found == kPersonalities.end()) {
    throw HostError("no object manager is called \"" + std::string(name) + '"');
  }
  return found->make();
}

}  // namespace cmpihost

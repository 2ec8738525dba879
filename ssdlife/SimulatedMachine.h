#pragma once

#include <string>

namespace ssdlife {

// Makes this process one that runs on the machine of `file`: starts it anew with the simulator in
// front of its system calls, unless that has happened already. `library` tells where to look for
// the simulator. Throws Failure.
void enterMachine(const std::string& file, const std::string& library, char** argv);

// The machine file that the environment names; empty without one.
std::string machineOfEnvironment();

// Whether this process is on a simulated machine: one is named, and the simulator is there.
bool onSimulatedMachine();

// Throws Failure when real drives are to be read by somebody who may not.
void requirePrivilege(bool root, bool simulated);

}  // namespace ssdlife

#pragma once

#include <string>
#include <vector>

// Runs the program with `environment` added, and kills it with SIGKILL when its threads have
// entered so many system calls. Programs that it starts are left alone. True if it came so far.
bool killAtSystemCall(const std::vector<std::string>& arguments,
                      const std::vector<std::string>& environment, unsigned long call);

#include <cstdlib>
#include <iostream>

#include <gtest/gtest.h>
#include <unistd.h>

// Starts the tests on the simulated till: the simulator must be there before the process is.

int main(int argc, char** argv) {
  if (std::getenv("VEKSSD_MACHINE") == nullptr) {
    setenv("VEKSSD_MACHINE", MACHINE_FILE, 1);
    setenv("LD_PRELOAD", SIMULATOR_LIBRARY, 1);
    execv("/proc/self/exe", argv);
    std::cerr << "cannot start again beneath the simulator\n";
    return EXIT_FAILURE;
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

// Stands in for the simulator: a library that can be seen to be preloaded.
extern "C" __attribute__((visibility("default"))) int fakeSimulatorIsHere;
int fakeSimulatorIsHere = 1;

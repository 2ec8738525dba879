// Stands in for the simulator: a library that can be seen to be preloaded, and finds fault with no
// machine file.
extern "C" __attribute__((visibility("default"))) const char* vekssdsimProblem(const char* path);
extern "C" const char* vekssdsimProblem(const char* /*path*/) { return nullptr; }

# Cross-builds for arm64 with Debian's g++-aarch64-linux-gnu. Libraries come from the arm64 packages
# beside the system's own; headers that are all the same everywhere, from the system.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

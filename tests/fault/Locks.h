#pragma once

#include <atomic>

namespace fault {

/// How often a thread of the library gave back a lock that it did not hold.
inline std::atomic<unsigned> wrongReleases{0};

}  // namespace fault

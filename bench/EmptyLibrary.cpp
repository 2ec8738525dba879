// The least that a C++ library can be.

#include "base/Export.h"

extern "C" VEKSSD_EXPORT int benchEmpty() { return 0; }

// The layout that C sees is the layout that C++ sees.
#include "tests/cmpi/CmpiLayout.c"  // NOLINT(bugprone-suspicious-include)

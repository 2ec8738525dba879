#include "base/Export.h"

// Marks and texts that field engineers look for in the library's file; nothing reads them. They
// stand in the image in this order, so that the two marks bracket the version texts.

extern "C" {

VEKSSD_EXPORT extern const char EyeCatcher2[];
VEKSSD_EXPORT extern const char BuildDate[];
VEKSSD_EXPORT extern const char DspdrvVersion[];
VEKSSD_EXPORT extern const char EyeCatcher1[];
VEKSSD_EXPORT extern const char ExtraInfo[];

const char EyeCatcher2[] = "~~~";
const char BuildDate[] = "Built at " __TIME__ " on " __DATE__;
const char DspdrvVersion[] = "SSDDRV Version 1.4.1 / ";
const char EyeCatcher1[] = "~~~";
const char ExtraInfo[] = "";

static_assert(sizeof EyeCatcher1 == 4 && sizeof EyeCatcher2 == 4);
static_assert(sizeof BuildDate == 33);
static_assert(sizeof DspdrvVersion == 24);
static_assert(sizeof ExtraInfo == 1);

}  // extern "C"

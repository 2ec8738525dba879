#pragma once

/// Marks what the library shows to the process that loads it; everything else is hidden.
#define VEKSSD_EXPORT __attribute__((visibility("default")))

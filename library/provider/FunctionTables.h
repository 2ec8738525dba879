#pragma once

#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>

/// The two MIs that the factories hand out, with their function tables. `hdl` is set for the one
/// whose factory made the provider; nothing depends on it.
extern CMPIInstanceMI instanceMI;
extern CMPIIndicationMI indicationMI;

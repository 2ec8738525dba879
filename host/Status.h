#pragma once

#include <cmpi/cmpidt.h>

#include <string>

namespace cmpihost {

// The answer of a provider or of a broker call: a code and, rarely, a text.
struct Status {
  CMPIrc rc = CMPI_RC_OK;
  std::string message = {};

  bool ok() const { return rc == CMPI_RC_OK; }

  // "CMPI_RC_ERR_FAILED (1)", followed by ": " and the message if there is one.
  std::string describe() const;
};

// "CMPI_RC_ERR_FAILED (1)".
std::string describe(CMPIrc rc);

}  // namespace cmpihost

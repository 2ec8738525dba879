#pragma once

#include <exception>

#include <cmpi/cmpidt.h>
#include <cxxabi.h>

#include "log/Log.h"
#include "provider/CmpiUtils.h"

/// Does `work`; true if it got through. Whatever it throws is logged at level 1 and goes no
/// further: a broker's status as "`origin` - CMPIStatus ...", anything else as the text `unknown`.
// A forced unwind has no object: its reference, which nobody reads, is bound to null.
template <typename Work>
[[nodiscard]] __attribute__((no_sanitize("null"))) bool succeeds(const char* origin,
                                                                 const char* unknown, Work work) {
  try {
    work();
    return true;
  } catch (const CMPIStatus& status) {
    Log(LOG_LEVEL_ERROR, "%s - CMPIStatus %i, %s", origin, status.rc,
        status.msg != nullptr ? charactersOf(status.msg) : "(null)");
  } catch (const abi::__forced_unwind&) {
    throw;  // the host cancels this thread
  } catch (...) {
    LogQuick(LOG_LEVEL_ERROR, unknown);
  }
  return false;
}

#pragma once

#include <cmpi/cmpidt.h>
#include <cxxabi.h>

#include "log/Log.h"
#include "provider/CmpiUtils.h"

// Exceptions end here: on this side of a C entry, and on threads that belong to nobody else. Only
// the unwinding of a thread that its host ends goes on (pthread_cancel, pthread_exit).

/// Does `work`; true if it got through. `onStatus` is told of a broker's status that it threw,
/// `onUnknown` that it was anything else.
// A forced unwind has no object: its reference, which nobody reads, is bound to null.
template <typename Work, typename OnStatus, typename OnUnknown>
__attribute__((no_sanitize("null"))) bool contained(Work work, OnStatus onStatus,
                                                    OnUnknown onUnknown) {
  try {
    work();
    return true;
  } catch (const CMPIStatus& status) {
    onStatus(status);
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    onUnknown();
  }
  return false;
}

/// Does `work`, whatever it throws.
template <typename Work>
void contain(Work work) {
  (void)contained(
      work, [](const CMPIStatus&) {}, [] {});
}

/// Does `work`; true if it got through. What it throws is logged at level 1: a broker's status as
/// "`origin` - CMPIStatus ...", anything else as the text `unknown`.
template <typename Work>
[[nodiscard]] bool succeeds(const char* origin, const char* unknown, Work work) {
  return contained(
      work,
      [origin](const CMPIStatus& status) {
        Log(LOG_LEVEL_ERROR, "%s - CMPIStatus %i, %s", origin, status.rc,
            status.msg != nullptr ? charactersOf(status.msg) : "(null)");
      },
      [unknown] { LogQuick(LOG_LEVEL_ERROR, unknown); });
}

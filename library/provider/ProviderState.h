#pragma once

#include <atomic>
#include <cstdint>

#include "base/Export.h"
#include "base/Mutex.h"

class SsdProvider;

// The process-wide state of the provider module.

/// The single provider; null before the first factory call and after its destruction. Changed under
/// the provider lock, looked at by anyone.
extern std::atomic<SsdProvider*> drvProvider;

/// Whether `drvProvider` is there and initialised. Beside the object, so that it can be asked while
/// another thread deletes that.
extern std::atomic<bool> drvProviderReady;

/// MIs handed out and not cleaned up yet. Under the provider lock.
extern std::int32_t use_count;

/// The provider lock. It is there from the library's first moment at load to its first at unload.
[[nodiscard]] Mutex& drvMutex();

/// Take and release the provider lock.
VEKSSD_EXPORT void __drv_synch() VEKSSD_ACQUIRE(drvMutex());
VEKSSD_EXPORT void __drv_unsynch() VEKSSD_RELEASE(drvMutex());

/// Count an MI in or out; with the provider lock held.
VEKSSD_EXPORT void __incrUseCount();
VEKSSD_EXPORT void __decrUseCount();

/// Counts an MI out and deletes the provider after the last one; with the provider lock held.
VEKSSD_EXPORT void __drv_cleanup();

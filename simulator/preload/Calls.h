#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "simulator/ErrnoNames.h"
#include "simulator/VirtualFiles.h"
#include "simulator/preload/Descriptors.h"
#include "simulator/preload/Real.h"
#include "simulator/preload/Session.h"

// The functions of this library that other programs see.
#define VEKSSD_INTERPOSED extern "C" __attribute__((visibility("default")))

namespace simulator {

// What stands at path on the machine, or null: the call is none of ours. Paths that are not
// absolute never are.
inline const VirtualFile* fileAt(Session* current, const char* path) {
  return current == nullptr || path == nullptr ? nullptr : current->machine().files().find(path);
}

// The journal's entry of one call on a path: call, path, what it returned, and the errno if it
// failed.
nlohmann::ordered_json entryOf(std::string_view call, std::string_view path, long result,
                               bool failed);

// Opens what stands at file as a call with these flags would: a real descriptor, entered into the
// table. -1 and errno on failure.
int openFile(const VirtualFile& file, int flags, mode_t mode);

// Fills status as stat would for what stands at file. -1 and errno on failure.
int statFile(const VirtualFile& file, bool follow, struct stat* status);

}  // namespace simulator

#pragma once

#include <string>

#include <dlfcn.h>

#include "tests/fault/Machine.h"

namespace fault {

/// The definition that comes after this executable's: the C library's own, or a sanitizer's.
template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// The functions that make up `Functions`, looked up once. Never destroyed: the library may go
/// last.
template <typename Functions>
const Functions& lookedUp() {
  static const auto* const functions = new Functions;
  return *functions;
}

/// Where a path that the library names really leads.
inline std::string realPath(const char* path) {
  const Machine* machine = Machine::current();
  return machine != nullptr ? machine->real(path) : path;
}

}  // namespace fault

// A library that calls what it was given when it unloads.

#include <cmpi/cmpidt.h>

namespace {

void (*given)() = nullptr;

__attribute__((destructor)) void callIt() {
  if (given != nullptr) {
    given();
  }
}

}  // namespace

CMPI_EXTERN_C CMPI_EXPORT void callAtUnload(void (*function)()) { given = function; }

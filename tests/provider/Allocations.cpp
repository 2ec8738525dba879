#include "tests/provider/Allocations.h"

#include <cstddef>
#include <new>

namespace {

thread_local unsigned remaining = 0;
thread_local unsigned exemptions = 0;
thread_local bool hasFailed = false;

bool fails() {
  if (exemptions != 0 || remaining == 0 || --remaining != 0) {
    return false;
  }
  hasFailed = true;
  return true;
}

}  // namespace

void allocations::failNth(unsigned nth) {
  remaining = nth;
  hasFailed = false;
}

bool allocations::failed() { return hasFailed; }

allocations::Exempt::Exempt() { ++exemptions; }
allocations::Exempt::~Exempt() { --exemptions; }

// What the linker leads the calls of operator new to, and what it was.
extern "C" {

void* __real__Znwm(std::size_t size);
void* __real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);

void* __wrap__Znwm(std::size_t size) {
  if (fails()) {
    throw std::bad_alloc();
  }
  return __real__Znwm(size);
}

void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
  if (fails()) {
    return nullptr;
  }
  const allocations::Exempt exempt;  // it calls the other one
  return __real__ZnwmRKSt9nothrow_t(size, tag);
}

}  // extern "C"

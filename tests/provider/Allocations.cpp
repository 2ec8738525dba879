#include "tests/provider/Allocations.h"

#include <cstdlib>
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

void* operator new(std::size_t size) {
  void* const memory = fails() ? nullptr : std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return fails() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { std::free(memory); }

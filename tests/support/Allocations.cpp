#include "tests/support/Allocations.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

thread_local std::size_t made = 0;
thread_local std::size_t refusedSize = kNever;
thread_local std::size_t refusedNumber = kNever;

void* take(std::size_t size) {
  const std::size_t number = made++;
  if (size == refusedSize || number == refusedNumber) {
    return nullptr;
  }
  return std::malloc(size == 0 ? 1 : size);
}

void* takeOrThrow(std::size_t size) {
  void* memory = take(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

namespace testkit::allocations {

std::size_t count() { return made; }

void refuseSize(std::size_t size) { refusedSize = size; }

void refuseAfter(std::size_t skipped) { refusedNumber = made + skipped; }

void refuseNone() {
  refusedSize = kNever;
  refusedNumber = kNever;
}

}  // namespace testkit::allocations

void* operator new(std::size_t size) { return takeOrThrow(size); }
void* operator new[](std::size_t size) { return takeOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

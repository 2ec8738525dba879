#include "tests/support/Allocations.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

thread_local int exempt = 0;
thread_local std::size_t made = 0;
thread_local std::size_t refusedNothrowSize = kNever;
thread_local std::size_t refusedSize = kNever;
thread_local std::size_t refusedNumber = kNever;

void* take(std::size_t size) {
  if (exempt == 0 && (made++ == refusedNumber || size == refusedSize)) {
    errno = ENOMEM;
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

void* takeOrNull(std::size_t size) {
  if (exempt == 0 && size == refusedNothrowSize) {
    errno = ENOMEM;
    return nullptr;
  }
  return take(size);
}

}  // namespace

namespace testkit::allocations {

std::size_t count() { return made; }

void refuseNothrow(std::size_t size) { refusedNothrowSize = size; }

void refuse(std::size_t size) { refusedSize = size; }

void refuseAfter(std::size_t skipped) { refusedNumber = made + skipped; }

void refuseNone() {
  refusedNothrowSize = kNever;
  refusedSize = kNever;
  refusedNumber = kNever;
}

Exempt::Exempt() { ++exempt; }
Exempt::~Exempt() { --exempt; }

}  // namespace testkit::allocations

void* operator new(std::size_t size) { return takeOrThrow(size); }
void* operator new[](std::size_t size) { return takeOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return takeOrNull(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return takeOrNull(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
// Of an object whose constructor threw.
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

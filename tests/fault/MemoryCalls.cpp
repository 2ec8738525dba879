// The heap of this executable and of the libraries in it.

#include <cstdlib>

#include "tests/fault/Calls.h"
#include "tests/fault/Memory.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);
}

namespace {

void* take(void* /*memory*/, std::size_t size) { return __libc_malloc(size); }

void* takeCleared(void* /*memory*/, std::size_t size) { return __libc_calloc(1, size); }

void* resize(void* memory, std::size_t size) { return __libc_realloc(memory, size); }

}  // namespace

extern "C" {

FAULT_VISIBLE void* malloc(std::size_t size) {
  return fault::Memory::allocated(__builtin_return_address(0), take, nullptr, size);
}

FAULT_VISIBLE void* calloc(std::size_t count, std::size_t size) {
  std::size_t whole = 0;
  if (__builtin_mul_overflow(count, size, &whole)) {
    return nullptr;
  }
  return fault::Memory::allocated(__builtin_return_address(0), takeCleared, nullptr, whole);
}

FAULT_VISIBLE void* realloc(void* memory, std::size_t size) {
  fault::Memory::freed(memory);
  return fault::Memory::allocated(__builtin_return_address(0), resize, memory, size);
}

FAULT_VISIBLE void free(void* memory) {
  fault::Memory::freed(memory);
  __libc_free(memory);
}

}  // extern "C"

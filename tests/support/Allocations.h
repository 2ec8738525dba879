#pragma once

#include <cstddef>

/// The memory that this thread takes with operator new, counted; any part of it can be refused.
namespace testkit::allocations {

/// How many allocations this thread has made or been refused so far.
[[nodiscard]] std::size_t count();

/// Refuses every allocation of exactly `size` bytes on this thread that reports a shortage by null
/// (new (std::nothrow)), until `refuseNone`. errno is then ENOMEM, as malloc leaves it.
void refuseNothrow(std::size_t size);

/// Refuses every allocation of exactly `size` bytes on this thread, until `refuseNone`.
void refuse(std::size_t size);

/// Refuses one allocation on this thread: the one after the next `skipped`.
void refuseAfter(std::size_t skipped);

void refuseNone();

/// Leaves uncounted and unrefused what this thread takes while the object lives: what a double of
/// the system needs for itself.
class Exempt {
 public:
  Exempt();
  ~Exempt();
  Exempt(const Exempt&) = delete;
  Exempt& operator=(const Exempt&) = delete;
};

}  // namespace testkit::allocations

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace fault {

/// What the library holds of the heap: every block that it asked for itself or through the C++
/// library, by the function of the library that asked.
class Memory {
 public:
  /// Forgets all blocks and notes new ones from now on.
  static void follow();
  static void stopFollowing();

  /// The blocks noted and not freed: how many each function of the library asked for. To be asked
  /// while the library's file is where it was loaded from.
  static std::map<std::string, int> held(const std::string& library);

  /// Whether this executable sees allocations at all: under a sanitizer it doesn't.
  static bool seesAllocations();

  /// An allocation by `allocate`, for `caller`: noted, or refused, if it is the library's.
  static void* allocated(const void* caller, void* (*allocate)(void* memory, std::size_t size),
                         void* memory, std::size_t size);
  static void freed(const void* memory);

  /// The function of the library that was last refused memory.
  static std::string lastRefused(const std::string& library);
};

/// The name of the function of `library` (a file) at `offset`; the offset in hexadecimal for code
/// without a name.
std::string functionAt(const std::string& library, std::uint64_t offset);

}  // namespace fault

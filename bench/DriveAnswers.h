#pragma once

namespace bench {

/// Fills in what a drive of the machine answers to `request`, as the kernel hands it over; false if
/// no drive knows the request.
[[nodiscard]] bool answer(unsigned long request, void* argument);

}  // namespace bench

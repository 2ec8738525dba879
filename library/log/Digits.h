#pragma once

#include <cstddef>

// Numbers in columns of a fixed width: put in digit by digit they cost a fraction of what reading a
// format does.

/// Puts the last `width` digits of `number` at `column`, with noughts before them.
template <unsigned base = 10>
inline void putDigits(char* column, std::size_t width, unsigned number) {
  for (; width > 0; number /= base) {
    column[--width] = "0123456789abcdef"[number % base];
  }
}

// Little-endian fields in byte blocks, and fixed-width texts padded with blanks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vm {

template <typename Value>
void putLe(std::uint8_t* at, Value value) {
  for (std::size_t i = 0; i < sizeof(Value); ++i) {
    at[i] = static_cast<std::uint8_t>(value & 0xff);
    value = static_cast<Value>(value >> 8);
  }
}

template <typename Value>
[[nodiscard]] Value getLe(const std::uint8_t* at) {
  Value value = 0;
  for (std::size_t i = sizeof(Value); i-- > 0;) {
    value = static_cast<Value>((value << 8) | at[i]);
  }
  return value;
}

// The text in a field of width bytes, cut or padded with blanks.
inline void putText(std::uint8_t* at, std::size_t width, std::string_view text) {
  std::fill_n(at, width, std::uint8_t{' '});
  std::copy_n(text.begin(), std::min(width, text.size()), at);
}

}  // namespace vm

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <endian.h>

// Readers of little-endian fields in buffers that drives have filled.

namespace bytes {

/// The `width` bytes (8 at most) at `offset`, the first one least significant.
[[nodiscard]] inline std::uint64_t littleEndian(const std::uint8_t* buffer, std::size_t offset,
                                                std::size_t width) {
  std::uint64_t value = 0;
  std::memcpy(&value, buffer + offset, width);
  return le64toh(value);
}

[[nodiscard]] inline std::uint16_t littleEndian16(const std::uint8_t* buffer, std::size_t offset) {
  return static_cast<std::uint16_t>(littleEndian(buffer, offset, 2));
}

[[nodiscard]] inline std::uint32_t littleEndian32(const std::uint8_t* buffer, std::size_t offset) {
  return static_cast<std::uint32_t>(littleEndian(buffer, offset, 4));
}

}  // namespace bytes

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include <endian.h>

// Readers of fields in buffers that drives have filled.

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

/// The text field of `length` bytes at `offset`, at full width, then trimmed.
[[nodiscard]] std::string trimmedField(const std::uint8_t* data, std::size_t offset,
                                       std::size_t length);

/// Removes the blanks (0x20, nothing else) at both ends.
void trim(std::string& text);

/// Whether the `length` bytes at `data` sum to 0 modulo 256, as the 512-byte data structures of the
/// ATA standard do; true for no bytes.
[[nodiscard]] bool checksum(const unsigned char* data, unsigned int length);

}  // namespace bytes

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Utils {

/// Removes the blanks (0x20, nothing else) at both ends.
void trim(std::string& text);

/// The text field of `length` bytes at `offset` of a drive's data, at full width, then trimmed.
[[nodiscard]] std::string trimmedField(const std::uint8_t* data, std::size_t offset,
                                       std::size_t length);

/// Whether the `length` bytes at `data` sum to 0 modulo 256, as the 512-byte data structures of the
/// ATA standard do; true for no bytes.
[[nodiscard]] bool checksum(const unsigned char* data, unsigned int length);

}  // namespace Utils

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

// A run of bytes as a drive sends or receives it. The readers and writers below are little-endian,
// as ATA and NVM Express both are.
using Bytes = std::vector<std::uint8_t>;

// "85 09 2e": two lower-case digits a byte, one blank between bytes.
std::string toHex(const std::uint8_t* data, std::size_t length);
std::string toHex(const Bytes& bytes);

// Reads what toHex writes; blanks and the case of the digits don't matter. Nothing if a character
// is no hexadecimal digit or a byte is left half.
std::optional<Bytes> fromHex(std::string_view text);

void putLe16(Bytes& bytes, std::size_t offset, std::uint16_t value);
void putLe32(Bytes& bytes, std::size_t offset, std::uint32_t value);
void putLe48(Bytes& bytes, std::size_t offset, std::uint64_t value);
void putLe64(Bytes& bytes, std::size_t offset, std::uint64_t value);
std::uint16_t getLe16(const Bytes& bytes, std::size_t offset);

// Writes text into a fixed-width field and fills the rest with blanks.
void putText(Bytes& bytes, std::size_t offset, std::size_t width, std::string_view text);

// Sets the last byte so that all bytes sum to zero modulo 256, the checksum of ATA data structures.
void sealChecksum(Bytes& bytes);

// The same bytes with the two of each 16-bit word exchanged.
void swapWords(Bytes& bytes, std::size_t offset, std::size_t length);

}  // namespace simulator

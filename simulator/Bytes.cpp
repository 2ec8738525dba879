#include "simulator/Bytes.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

void putLittleEndian(Bytes& bytes, std::size_t offset, std::uint64_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) {
    bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

std::optional<unsigned> digit(char c) {
  if (c >= '0' && c <= '9') {
    return static_cast<unsigned>(c - '0');
  }
  const char lower = static_cast<char>(c | 0x20);
  if (lower >= 'a' && lower <= 'f') {
    return static_cast<unsigned>(lower - 'a') + 10U;
  }
  return std::nullopt;
}

}  // namespace

std::string toHex(const std::uint8_t* data, std::size_t length) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(length * 3);
  for (std::size_t i = 0; i < length; ++i) {
    if (i != 0) {
      text += ' ';
    }
    text += kDigits[data[i] >> 4];
    text += kDigits[data[i] & 0x0f];
  }
  return text;
}

std::string toHex(const Bytes& bytes) { return toHex(bytes.data(), bytes.size()); }

std::optional<Bytes> fromHex(std::string_view text) {
  Bytes bytes;
  unsigned high = 0;
  bool haveHigh = false;
  for (const char c : text) {
    if (c == ' ' && !haveHigh) {
      continue;
    }
    const std::optional<unsigned> value = digit(c);
    if (!value) {
      return std::nullopt;
    }
    if (haveHigh) {
      bytes.push_back(static_cast<std::uint8_t>(high << 4 | *value));
    } else {
      high = *value;
    }
    haveHigh = !haveHigh;
  }
  if (haveHigh) {
    return std::nullopt;
  }
  return bytes;
}

void putLe16(Bytes& bytes, std::size_t offset, std::uint16_t value) {
  putLittleEndian(bytes, offset, value, 2);
}

void putLe32(Bytes& bytes, std::size_t offset, std::uint32_t value) {
  putLittleEndian(bytes, offset, value, 4);
}

void putLe48(Bytes& bytes, std::size_t offset, std::uint64_t value) {
  putLittleEndian(bytes, offset, value, 6);
}

void putLe64(Bytes& bytes, std::size_t offset, std::uint64_t value) {
  putLittleEndian(bytes, offset, value, 8);
}

std::uint16_t getLe16(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(bytes.at(offset) | bytes.at(offset + 1) << 8);
}

void putText(Bytes& bytes, std::size_t offset, std::size_t width, std::string_view text) {
  for (std::size_t i = 0; i < width; ++i) {
    bytes.at(offset + i) = i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0x20;
  }
}

void sealChecksum(Bytes& bytes) {
  unsigned sum = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
    sum += bytes[i];
  }
  bytes.back() = static_cast<std::uint8_t>(0x100U - (sum & 0xffU));
}

void swapWords(Bytes& bytes, std::size_t offset, std::size_t length) {
  for (std::size_t i = offset; i + 1 < offset + length; i += 2) {
    std::swap(bytes.at(i), bytes.at(i + 1));
  }
}

}  // namespace simulator

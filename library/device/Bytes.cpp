#include "device/Bytes.h"

#include <numeric>

void bytes::trim(std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) {
    text.clear();
    return;
  }
  const std::size_t last = text.find_last_not_of(' ');
  text = text.substr(first, last - first + 1);
}

std::string bytes::trimmedField(const std::uint8_t* data, std::size_t offset, std::size_t length) {
  std::string text(reinterpret_cast<const char*>(data + offset), length);
  trim(text);
  return text;
}

bool bytes::checksum(const unsigned char* data, unsigned int length) {
  return std::accumulate(data, data + length, 0U) % 256 == 0;
}

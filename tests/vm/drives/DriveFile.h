// A drive as a test describes it: lines "key = value", '#' begins a comment line. A key may be
// given more than once where a drive can have several of the thing (attributes, rules).
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vm {

class DriveFile {
 public:
  // Throws std::runtime_error, naming file and line, on what cannot be read.
  explicit DriveFile(std::string path);

  // The last value of the key; throws when there is none and no fallback.
  [[nodiscard]] std::string text(const std::string& key) const;
  [[nodiscard]] std::string text(const std::string& key, const std::string& fallback) const;

  // Decimal, or hexadecimal with 0x.
  [[nodiscard]] std::uint64_t number(const std::string& key, std::uint64_t fallback) const;

  // Every value of the key, split at blanks.
  [[nodiscard]] std::vector<std::vector<std::string>> records(const std::string& key) const;

 private:
  std::string path_;
  std::vector<std::pair<std::string, std::string>> entries_;
};

// Decimal, or hexadecimal with 0x; throws std::runtime_error on anything else.
[[nodiscard]] std::uint64_t parseNumber(const std::string& text);

}  // namespace vm

#include "base/KeyValueFile.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

struct FreeDeleter {
  void operator()(char* memory) const { std::free(memory); }
};

}  // namespace

void readLines(std::FILE* file, const LineHandler& handler) {
  // getline reads lines of any length, zero bytes included; it owns and grows the buffer.
  std::unique_ptr<char, FreeDeleter> buffer;
  std::size_t capacity = 0;
  for (unsigned number = 1;; ++number) {
    char* memory = buffer.release();
    const ssize_t length = ::getline(&memory, &capacity, file);
    buffer.reset(memory);
    if (length < 0) {
      return;
    }
    handler(number, std::string_view(buffer.get(), static_cast<std::size_t>(length)));
  }
}

std::optional<KeyValue> splitKeyValue(std::string_view line, std::string_view emptyValue) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos || equals == 0) {
    return std::nullopt;
  }
  const std::string_view rest = line.substr(equals + 1);
  return KeyValue{line.substr(0, equals),
                  std::string(rest.empty() ? emptyValue : rest.substr(0, rest.size() - 1))};
}

void readKeyValueLines(std::FILE* file, std::string_view emptyValue,
                       const KeyValueHandler& handler) {
  readLines(file, [emptyValue, &handler](unsigned /*number*/, std::string_view line) {
    if (const std::optional<KeyValue> pair = splitKeyValue(line, emptyValue)) {
      handler(pair->key, pair->value);
    }
  });
}

std::optional<unsigned long> parseUnsigned(const std::string& value) {
  char* end = nullptr;
  const unsigned long number = std::strtoul(value.c_str(), &end, 10);
  if (end == value.c_str()) {
    return std::nullopt;
  }
  return number;
}

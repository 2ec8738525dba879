#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Bytes.h"
#include "simulator/NvmeDrive.h"

namespace simulator {

// Something in a machine file is not as it must be. The message begins with the place:
// "drives[0].model: text expected, found a number".
class MachineFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A value in a machine file, with the place where it stands. Every reader throws MachineFileError
// when the value is not of the kind or in the range asked for.
class JsonValue {
 public:
  JsonValue(const nlohmann::json& value, std::string place)
      : value_(value), place_(std::move(place)) {}

  [[nodiscard]] const nlohmann::json& json() const { return value_; }
  [[nodiscard]] const std::string& place() const { return place_; }
  [[noreturn]] void fail(const std::string& what) const;

  [[nodiscard]] std::string text() const;
  // Text of at most width bytes; also {"hex": "..."} for bytes that JSON can't write.
  [[nodiscard]] std::string deviceText(std::size_t width) const;
  [[nodiscard]] bool boolean() const;
  // A number, or text like "0x2F".
  [[nodiscard]] std::uint64_t integer(std::uint64_t lowest, std::uint64_t highest) const;
  template <typename Integer>
  [[nodiscard]] Integer integer() const;
  [[nodiscard]] double real(double lowest, double highest) const;
  // A number, or decimal text of up to 128 bits.
  [[nodiscard]] Wide wide() const;
  // Hexadecimal text, a list of such texts, or {"size": N, "at": {"OFFSET": "hex"}} with zeros
  // elsewhere.
  [[nodiscard]] Bytes bytes() const;
  [[nodiscard]] Bytes bytes(std::size_t size) const;
  // One of these words; names them otherwise.
  [[nodiscard]] std::size_t oneOf(const std::vector<std::string_view>& words) const;
  // The name of an errno.
  [[nodiscard]] int errnoName() const;
  [[nodiscard]] std::vector<JsonValue> list() const;

 private:
  [[nodiscard]] Bytes sparseBytes() const;

  const nlohmann::json& value_;
  std::string place_;
};

// An object in a machine file. Reads members by key; finish() refuses the keys that nobody asked
// for.
class JsonObject {
 public:
  explicit JsonObject(const JsonValue& value);

  // The member, or nothing if it is absent.
  std::optional<JsonValue> find(const std::string& key);
  JsonValue need(const std::string& key);
  [[nodiscard]] bool has(const std::string& key) const { return value_.json().contains(key); }
  // All members, for objects whose keys are data.
  std::vector<std::pair<std::string, JsonValue>> members();
  void finish() const;

  [[noreturn]] void fail(const std::string& what) const { value_.fail(what); }

 private:
  [[nodiscard]] std::string placeOf(const std::string& key) const;

  const JsonValue value_;
  std::set<std::string> asked_;
};

// Parses text; a syntax error or a key given twice in one object is a MachineFileError.
nlohmann::json parseJson(std::string_view text);

template <typename Integer>
Integer JsonValue::integer() const {
  return static_cast<Integer>(integer(0, std::numeric_limits<Integer>::max()));
}

}  // namespace simulator

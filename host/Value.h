#pragma once

#include <cmpi/cmpidt.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <variant>

#include "host/DateTime.h"

namespace cmpihost {

// A value was asked for as something that it is not.
class ValueError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// One CIM value together with the type code under which it was set, and its state.
class Value {
 public:
  // The null value without a type.
  Value() = default;

  static Value boolean(bool value);
  static Value uint8(std::uint8_t value);
  static Value uint16(std::uint16_t value);
  static Value uint32(std::uint32_t value);
  static Value uint64(std::uint64_t value);
  static Value string(std::string text);
  static Value chars(std::string text);
  static Value dateTime(DateTime value);

  // Any unsigned, signed or real type.
  static Value ofUnsigned(CMPIType type, std::uint64_t value);
  static Value ofSigned(CMPIType type, std::int64_t value);
  static Value ofReal(CMPIType type, double value);

  // No value: a null pointer in the place of an object or of characters.
  static Value null(CMPIType type);

  // A string object that holds no characters: its character pointer is null.
  static Value stringWithoutCharacters();

  // The same value with further state bits (CMPI_keyValue and the like).
  Value withState(CMPIValueState more) const;

  CMPIType type() const { return type_; }
  CMPIValueState state() const { return state_; }
  bool isNull() const { return (state_ & CMPI_nullValue) != 0; }
  bool isText() const { return std::holds_alternative<std::string>(content_); }
  bool isStringWithoutCharacters() const;

  // Each throws ValueError when the value is of another kind.
  bool asBoolean() const;
  std::uint64_t asUnsigned() const;
  std::int64_t asSigned() const;
  double asReal() const;
  const std::string& asText() const;
  DateTime asDateTime() const;

  // For people: `uint8 34`, `chars "SanDisk"`, `null string`.
  std::string describe() const;

  friend bool operator==(const Value& a, const Value& b) {
    return a.type_ == b.type_ && a.state_ == b.state_ && a.content_ == b.content_;
  }
  friend bool operator!=(const Value& a, const Value& b) { return !(a == b); }

 private:
  using Content = std::variant<std::monostate, bool, std::uint64_t, std::int64_t, double,
                               std::string, DateTime>;

  Value(CMPIType type, CMPIValueState state, Content content);

  template <typename T>
  const T& as(const char* kind) const;

  CMPIType type_ = CMPI_null;
  CMPIValueState state_ = CMPI_nullValue;
  Content content_;
};

// "uint8", "string", "dateTime"; the code in hexadecimal for a type without a name here.
std::string typeName(CMPIType type);

}  // namespace cmpihost

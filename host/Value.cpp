#include "host/Value.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

namespace cmpihost {
namespace {

struct NamedType {
  CMPIType type;
  const char* name;
};

constexpr std::array kTypes = {
    NamedType{CMPI_null, "null"},     NamedType{CMPI_boolean, "boolean"},
    NamedType{CMPI_char16, "char16"}, NamedType{CMPI_real32, "real32"},
    NamedType{CMPI_real64, "real64"}, NamedType{CMPI_uint8, "uint8"},
    NamedType{CMPI_uint16, "uint16"}, NamedType{CMPI_uint32, "uint32"},
    NamedType{CMPI_uint64, "uint64"}, NamedType{CMPI_sint8, "sint8"},
    NamedType{CMPI_sint16, "sint16"}, NamedType{CMPI_sint32, "sint32"},
    NamedType{CMPI_sint64, "sint64"}, NamedType{CMPI_instance, "instance"},
    NamedType{CMPI_ref, "ref"},       NamedType{CMPI_args, "args"},
    NamedType{CMPI_class, "class"},   NamedType{CMPI_filter, "filter"},
    NamedType{CMPI_string, "string"}, NamedType{CMPI_enumeration, "enumeration"},
    NamedType{CMPI_chars, "chars"},   NamedType{CMPI_dateTime, "dateTime"},
    NamedType{CMPI_ptr, "ptr"},       NamedType{CMPI_charsptr, "charsptr"},
};

// Written out with overloads rather than by std::visit with a generic lambda: the texts differ.
struct Describe {
  std::string operator()(std::monostate) const { return {}; }
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::uint64_t value) const { return std::to_string(value); }
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(double value) const {
    std::ostringstream out;
    out << value;
    return out.str();
  }
  std::string operator()(const std::string& value) const { return '"' + value + '"'; }
  std::string operator()(const DateTime& value) const { return value.text(); }
};

}  // namespace

Value::Value(CMPIType type, CMPIValueState state, Content content)
    : type_(type), state_(state), content_(std::move(content)) {}

Value Value::boolean(bool value) { return {CMPI_boolean, CMPI_goodValue, value}; }

Value Value::uint8(std::uint8_t value) { return ofUnsigned(CMPI_uint8, value); }

Value Value::uint16(std::uint16_t value) { return ofUnsigned(CMPI_uint16, value); }

Value Value::uint32(std::uint32_t value) { return ofUnsigned(CMPI_uint32, value); }

Value Value::uint64(std::uint64_t value) { return ofUnsigned(CMPI_uint64, value); }

Value Value::string(std::string text) { return {CMPI_string, CMPI_goodValue, std::move(text)}; }

Value Value::chars(std::string text) { return {CMPI_chars, CMPI_goodValue, std::move(text)}; }

Value Value::dateTime(DateTime value) { return {CMPI_dateTime, CMPI_goodValue, value}; }

Value Value::ofUnsigned(CMPIType type, std::uint64_t value) {
  return {type, CMPI_goodValue, value};
}

Value Value::ofSigned(CMPIType type, std::int64_t value) { return {type, CMPI_goodValue, value}; }

Value Value::ofReal(CMPIType type, double value) { return {type, CMPI_goodValue, value}; }

Value Value::null(CMPIType type) { return {type, CMPI_nullValue, std::monostate{}}; }

Value Value::stringWithoutCharacters() { return {CMPI_string, CMPI_goodValue, std::monostate{}}; }

Value Value::withState(CMPIValueState more) const {
  Value changed = *this;
  changed.state_ = static_cast<CMPIValueState>(changed.state_ | more);
  return changed;
}

bool Value::isStringWithoutCharacters() const {
  return type_ == CMPI_string && !isNull() && std::holds_alternative<std::monostate>(content_);
}

template <typename T>
const T& Value::as(const char* kind) const {
  if (const T* content = std::get_if<T>(&content_)) {
    return *content;
  }
  throw ValueError("the value is " + describe() + ", not " + kind);
}

bool Value::asBoolean() const { return as<bool>("a boolean"); }

std::uint64_t Value::asUnsigned() const { return as<std::uint64_t>("an unsigned number"); }

std::int64_t Value::asSigned() const { return as<std::int64_t>("a signed number"); }

double Value::asReal() const { return as<double>("a real number"); }

const std::string& Value::asText() const { return as<std::string>("a text"); }

DateTime Value::asDateTime() const { return as<DateTime>("a date and time"); }

std::string Value::describe() const {
  if (isNull()) {
    return type_ == CMPI_null ? "null" : "null " + typeName(type_);
  }
  if (isStringWithoutCharacters()) {
    return "string without characters";
  }
  return typeName(type_) + ' ' + std::visit(Describe{}, content_);
}

std::string typeName(CMPIType type) {
  const auto* const known = std::find_if(kTypes.begin(), kTypes.end(),
                                         [type](const NamedType& t) { return t.type == type; });
  if (known != kTypes.end()) {
    return known->name;
  }
  std::ostringstream out;
  out << "type 0x" << std::hex << type;
  return out.str();
}

}  // namespace cmpihost

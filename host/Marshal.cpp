#include "host/Marshal.h"

#include <cstring>

#include "host/BrokerState.h"

namespace cmpihost {
namespace {

Value stringFromCmpi(const CMPIString* string) {
  if (string == nullptr) {
    return Value::null(CMPI_string);
  }
  const auto& object = objectOf<StringObject>(string);
  return object.text ? Value::string(*object.text) : Value::stringWithoutCharacters();
}

Value dateTimeFromCmpi(const CMPIDateTime* dateTime) {
  return dateTime == nullptr ? Value::null(CMPI_dateTime)
                             : Value::dateTime(objectOf<DateTimeObject>(dateTime).value);
}

// A provider passes the address of a variable of the very type, which may be narrower and less
// aligned than the union that it is called.
template <typename T>
T readAs(const CMPIValue* value) {
  T read;
  std::memcpy(&read, value, sizeof read);
  return read;
}

std::optional<Value> readValue(const CMPIValue* value, CMPIType type) {
  switch (type) {
    case CMPI_boolean:
      return Value::boolean(readAs<CMPIBoolean>(value) != 0);
    case CMPI_char16:
      return Value::ofUnsigned(type, readAs<CMPIChar16>(value));
    case CMPI_uint8:
      return Value::ofUnsigned(type, readAs<CMPIUint8>(value));
    case CMPI_uint16:
      return Value::ofUnsigned(type, readAs<CMPIUint16>(value));
    case CMPI_uint32:
      return Value::ofUnsigned(type, readAs<CMPIUint32>(value));
    case CMPI_uint64:
      return Value::ofUnsigned(type, readAs<CMPIUint64>(value));
    case CMPI_sint8:
      return Value::ofSigned(type, readAs<CMPISint8>(value));
    case CMPI_sint16:
      return Value::ofSigned(type, readAs<CMPISint16>(value));
    case CMPI_sint32:
      return Value::ofSigned(type, readAs<CMPISint32>(value));
    case CMPI_sint64:
      return Value::ofSigned(type, readAs<CMPISint64>(value));
    case CMPI_real32:
      return Value::ofReal(type, static_cast<double>(readAs<CMPIReal32>(value)));
    case CMPI_real64:
      return Value::ofReal(type, readAs<CMPIReal64>(value));
    case CMPI_string:
      return stringFromCmpi(readAs<const CMPIString*>(value));
    case CMPI_dateTime:
      return dateTimeFromCmpi(readAs<const CMPIDateTime*>(value));
    default:
      return std::nullopt;
  }
}

void scalarToCmpi(const Value& value, CMPIValue& out) {
  switch (value.type()) {
    case CMPI_boolean:
      out.boolean = value.asBoolean() ? 1 : 0;
      break;
    case CMPI_char16:
      out.char16 = static_cast<CMPIChar16>(value.asUnsigned());
      break;
    case CMPI_uint8:
      out.uint8 = static_cast<CMPIUint8>(value.asUnsigned());
      break;
    case CMPI_uint16:
      out.uint16 = static_cast<CMPIUint16>(value.asUnsigned());
      break;
    case CMPI_uint32:
      out.uint32 = static_cast<CMPIUint32>(value.asUnsigned());
      break;
    case CMPI_uint64:
      out.uint64 = value.asUnsigned();
      break;
    case CMPI_sint8:
      out.sint8 = static_cast<CMPISint8>(value.asSigned());
      break;
    case CMPI_sint16:
      out.sint16 = static_cast<CMPISint16>(value.asSigned());
      break;
    case CMPI_sint32:
      out.sint32 = static_cast<CMPISint32>(value.asSigned());
      break;
    case CMPI_sint64:
      out.sint64 = value.asSigned();
      break;
    case CMPI_real32:
      out.real32 = static_cast<CMPIReal32>(value.asReal());
      break;
    case CMPI_real64:
      out.real64 = value.asReal();
      break;
    default:
      break;
  }
}

}  // namespace

std::optional<Value> valueFromCmpi(const CMPIValue* value, CMPIType type) {
  if (type == CMPI_chars && value != nullptr) {
    // The argument is the characters themselves.
    return Value::chars(reinterpret_cast<const char*>(value));
  }
  if (value != nullptr && type != CMPI_null) {
    return readValue(value, type);
  }
  // Tried with an empty value, to know whether the type is one that can be null here.
  const CMPIValue empty{};
  const bool carried = type == CMPI_null || type == CMPI_chars || readValue(&empty, type);
  return carried ? std::optional(Value::null(type)) : std::nullopt;
}

CMPIData valueToCmpi(BrokerState& broker, const Value& value) {
  CMPIData data{value.type(), value.state(), {}};
  if (value.isNull()) {
    return data;
  }
  switch (value.type()) {
    case CMPI_string:
      data.value.string = broker.create<StringObject>(
          value.isText() ? std::optional<std::string>(value.asText()) : std::nullopt);
      break;
    case CMPI_chars:
      data.value.chars = const_cast<char*>(value.asText().c_str());
      break;
    case CMPI_dateTime:
      data.value.dateTime = broker.create<DateTimeObject>(value.asDateTime());
      break;
    default:
      scalarToCmpi(value, data.value);
      break;
  }
  return data;
}

CMPIData noSuchValue() {
  return {CMPI_null, static_cast<CMPIValueState>(CMPI_nullValue | CMPI_notFound), {}};
}

Status statusFromCmpi(const CMPIStatus& status) {
  if (status.msg == nullptr) {
    return {status.rc, {}};
  }
  const auto& message = objectOf<StringObject>(status.msg);
  return {status.rc, message.text.value_or("")};
}

void setStatus(CMPIStatus* rc, CMPIrc code) {
  if (rc != nullptr) {
    *rc = {code, nullptr};
  }
}

std::string quoted(const char* text) {
  return text == nullptr ? "null" : '"' + std::string(text) + '"';
}

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

}  // namespace cmpihost

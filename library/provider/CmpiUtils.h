#pragma once

#include <cstdint>

#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>

/// Broker calls that can fail. Each writes its message with the broker's code to standard output
/// and throws the CMPIStatus, by value, when the broker's answer isn't CMPI_RC_OK. What they return
/// is the broker's.
namespace Utils {

[[nodiscard]] CMPIObjectPath* MakeNewObjectPath(const CMPIBroker* broker, const char* cimNamespace,
                                                const char* className);
[[nodiscard]] CMPIInstance* MakeNewInstance(const CMPIBroker* broker, const CMPIObjectPath* path);
/// The present moment.
[[nodiscard]] CMPIDateTime* MakeNewDateTime(const CMPIBroker* broker);

void SetCharsProperty(CMPIInstance* instance, const char* name, const char* value);
/// Sets a CMPI_uint64 property; its message keeps the routine's old name.
void SetUint16Property(CMPIInstance* instance, const char* name, std::uint64_t value);
void SetUint8Property(CMPIInstance* instance, const char* name, std::uint8_t value);
void SetBooleanProperty(CMPIInstance* instance, const char* name, bool value);
void SetDateTimeProperty(CMPIInstance* instance, const char* name, CMPIDateTime* value);

void deliverIndication(const CMPIBroker* broker, const CMPIContext* context,
                       const char* cimNamespace, const CMPIInstance* indication);

/// The text of a key of type CMPI_string or CMPI_chars; "" for a null one. Any other type throws.
[[nodiscard]] const char* GetCharsKeyValue(const CMPIObjectPath* path, const char* name);

}  // namespace Utils

/// The characters of a broker's string; "" for a null one.
[[nodiscard]] const char* charactersOf(const CMPIString* string);

/// A status without a message.
[[nodiscard]] inline CMPIStatus statusOf(CMPIrc rc) { return {rc, nullptr}; }

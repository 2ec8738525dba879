#pragma once

#include <cmpi/cmpift.h>

#include <optional>
#include <string>

#include "host/ObjectPath.h"
#include "host/Status.h"

// Between the C structures of CMPI and the host's values.
namespace cmpihost {

class BrokerState;

// A value as a provider passes it. Nothing for a kind of value that the host does not carry
// (arrays, references, instances).
std::optional<Value> valueFromCmpi(const CMPIValue* value, CMPIType type);

// A value as a provider is given it. Strings and date-times become objects of the broker; the
// characters of a CMPI_chars stay those of `value`.
CMPIData valueToCmpi(BrokerState& broker, const Value& value);

// What a provider is given for a key, property or entry that is not there.
CMPIData noSuchValue();

Status statusFromCmpi(const CMPIStatus& status);

// Null-safe: rc arguments may be null.
void setStatus(CMPIStatus* rc, CMPIrc code);

// For journals: quotes the text; "null" for a null pointer.
std::string quoted(const char* text);

// The characters; the empty text for a null pointer.
std::string textOf(const char* text);

}  // namespace cmpihost

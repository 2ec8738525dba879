#include "provider/CmpiUtils.h"

#include <cstdio>

#include <cmpi/cmpimacs.h>

namespace {

constexpr CMPIStatus kOk = {CMPI_RC_OK, nullptr};

/// `message` takes the broker's code.
void check(const CMPIStatus& status, const char* message) {
  if (status.rc != CMPI_RC_OK) {
    std::printf(message, status.rc);
    throw status;
  }
}

/// The same for a call that makes an object. A broker that makes none without saying why has
/// failed.
template <typename Object>
Object* checkMade(Object* object, CMPIStatus status, const char* message) {
  if (status.rc == CMPI_RC_OK && object == nullptr) {
    status.rc = CMPI_RC_ERR_FAILED;
  }
  check(status, message);
  return object;
}

void setProperty(CMPIInstance* instance, const char* name, const void* value, CMPIType type,
                 const char* message) {
  check(CMSetProperty(instance, name, static_cast<const CMPIValue*>(value), type), message);
}

}  // namespace

CMPIObjectPath* Utils::MakeNewObjectPath(const CMPIBroker* broker, const char* cimNamespace,
                                         const char* className) {
  CMPIStatus status = kOk;
  CMPIObjectPath* path = CMNewObjectPath(broker, cimNamespace, className, &status);
  return checkMade(path, status, "Utils::MakeNewObjectPath - bad status %d\n");
}

CMPIInstance* Utils::MakeNewInstance(const CMPIBroker* broker, const CMPIObjectPath* path) {
  CMPIStatus status = kOk;
  CMPIInstance* instance = CMNewInstance(broker, path, &status);
  return checkMade(instance, status, "Utils::MakeNewInstance - bad status %d\n");
}

CMPIDateTime* Utils::MakeNewDateTime(const CMPIBroker* broker) {
  CMPIStatus status = kOk;
  CMPIDateTime* dateTime = CMNewDateTime(broker, &status);
  return checkMade(dateTime, status, "Utils::MakeNewDateTime - bad status %d\n");
}

void Utils::SetCharsProperty(CMPIInstance* instance, const char* name, const char* value) {
  // CMPI_chars is passed as the characters themselves, everything else by its address.
  setProperty(instance, name, value, CMPI_chars, "Utils::SetCharsProperty - bad status %d\n");
}

void Utils::SetUint16Property(CMPIInstance* instance, const char* name, std::uint64_t value) {
  const CMPIUint64 number = value;
  setProperty(instance, name, &number, CMPI_uint64, "Utils::SetUint16Property - bad status %d\n");
}

void Utils::SetUint8Property(CMPIInstance* instance, const char* name, std::uint8_t value) {
  const CMPIUint8 number = value;
  setProperty(instance, name, &number, CMPI_uint8, "Utils::SetUint8Property - bad status %d\n");
}

void Utils::SetBooleanProperty(CMPIInstance* instance, const char* name, bool value) {
  const CMPIBoolean boolean = value ? 1 : 0;
  setProperty(instance, name, &boolean, CMPI_boolean,
              "Utils::SetBooleanProperty - bad status %d\n");
}

void Utils::SetDateTimeProperty(CMPIInstance* instance, const char* name, CMPIDateTime* value) {
  setProperty(instance, name, &value, CMPI_dateTime,
              "Utils::SetDateTimeProperty - bad status %d\n");
}

void Utils::deliverIndication(const CMPIBroker* broker, const CMPIContext* context,
                              const char* cimNamespace, const CMPIInstance* indication) {
  check(CBDeliverIndication(broker, context, cimNamespace, indication),
        "Utils::deliverIndication - bad status %d\n");
}

const char* Utils::GetCharsKeyValue(const CMPIObjectPath* path, const char* name) {
  CMPIStatus status = kOk;
  const CMPIData key = CMGetKey(path, name, &status);
  check(status, "Utils::GetCharsKeyValue - CMGetKey failed, status %d\n");

  const bool hasValue = (key.state & CMPI_nullValue) == 0;
  const char* text = nullptr;
  if (key.type == CMPI_string) {
    if (hasValue && key.value.string != nullptr) {
      text = CMGetCharsPtr(key.value.string, &status);
      check(status, "Utils::GetCharsKeyValue - CMGetCharsPtr failed, status %d\n");
    }
  } else if (key.type == CMPI_chars) {
    text = hasValue ? key.value.chars : nullptr;
  } else {
    std::printf("Utils::GetCharsKeyValue - bad type %d(0x%x)\n", key.type, key.type);
    throw CMPIStatus(status);
  }
  return text != nullptr ? text : "";  // some brokers hand an empty key over as null
}

const char* charactersOf(const CMPIString* string) {
  const char* characters = string != nullptr ? CMGetCharsPtr(string, nullptr) : nullptr;
  return characters != nullptr ? characters : "";
}

#include "host/BrokerState.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

// What a provider returns is copied at once: its objects may go before the reply is looked at.

CMPIStatus returnData(const CMPIResult* self, const CMPIValue* value, CMPIType type) {
  auto& result = objectOf<ResultObject>(self);
  const auto data = valueFromCmpi(value, type);
  if (const auto fault =
          result.broker().enter(result, "returnData", {data ? data->describe() : typeName(type)})) {
    return result.broker().statusOf(*fault);
  }
  if (!data) {
    return {CMPI_RC_ERR_INVALID_DATA_TYPE, nullptr};
  }
  result.data.push_back(*data);
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus returnInstance(const CMPIResult* self, const CMPIInstance* instance) {
  auto& result = objectOf<ResultObject>(self);
  if (const auto fault =
          result.broker().enter(result, "returnInstance", {labelOf<InstanceObject>(instance)})) {
    return result.broker().statusOf(*fault);
  }
  if (instance == nullptr) {
    return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
  }
  result.instances.push_back(objectOf<InstanceObject>(instance).instance);
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus returnObjectPath(const CMPIResult* self, const CMPIObjectPath* path) {
  auto& result = objectOf<ResultObject>(self);
  if (const auto fault =
          result.broker().enter(result, "returnObjectPath", {labelOf<ObjectPathObject>(path)})) {
    return result.broker().statusOf(*fault);
  }
  if (path == nullptr) {
    return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
  }
  result.paths.push_back(objectOf<ObjectPathObject>(path).path);
  return {CMPI_RC_OK, nullptr};
}

CMPIStatus returnDone(const CMPIResult* self) {
  auto& result = objectOf<ResultObject>(self);
  if (const auto fault = result.broker().enter(result, "returnDone")) {
    return result.broker().statusOf(*fault);
  }
  ++result.doneCalls;
  return {CMPI_RC_OK, nullptr};
}

CMPIResultFT makeTable() {
  CMPIResultFT table{};
  table.ftVersion = CMPIVersion100;
  table.release = releaseObject<ResultObject, CMPIResult>;
  refuse(table.clone);
  table.returnData = returnData;
  table.returnInstance = returnInstance;
  table.returnObjectPath = returnObjectPath;
  table.returnDone = returnDone;
#ifdef CMPI_VER_200
  refuse(table.returnError);
#endif
  return table;
}

}  // namespace

CMPIResultFT resultTable = makeTable();

}  // namespace cmpihost

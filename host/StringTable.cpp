#include "host/BrokerState.h"
#include "host/Marshal.h"
#include "host/ObjectCalls.h"

namespace cmpihost {
namespace {

CMPIString* clone(const CMPIString* self, CMPIStatus* rc) {
  return cloneObject<StringObject>(self, rc,
                                   [](const StringObject& object) { return object.text; });
}

const char* getCharPtr(const CMPIString* self, CMPIStatus* rc) {
  auto& object = objectOf<StringObject>(self);
  if (const auto fault = object.broker().enter(object, "getCharPtr")) {
    return failWithNull<const char>(object.broker(), *fault, rc);
  }
  setStatus(rc, CMPI_RC_OK);
  return object.text ? object.text->c_str() : nullptr;
}

CMPIStringFT makeTable() {
  CMPIStringFT table{};
  table.ftVersion = CMPIVersion100;
  table.release = releaseObject<StringObject, CMPIString>;
  table.clone = clone;
  table.getCharPtr = getCharPtr;
#ifdef CMPI_VER_210
  refuse(table.newCharsCP);
#endif
  return table;
}

}  // namespace

CMPIStringFT stringTable = makeTable();

}  // namespace cmpihost

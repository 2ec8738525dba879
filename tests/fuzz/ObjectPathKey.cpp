// The object path of a getInstance request: any namespace, class and key, as string, as characters,
// of another type, null or failing.

#include <cstring>
#include <string>

#include <linux/nvme_ioctl.h>
#include <strings.h>
#include <sys/ioctl.h>

#include <cmpi/cmpift.h>

#include "host/Broker.h"
#include "host/ThreadScopes.h"
#include "provider/EntryPoints.h"
#include "tests/fuzz/World.h"

namespace {

/// Two drives whose identifiers share their beginning.
constexpr const char* kDeviceIds[] = {"Model___Serial0___nvme0", "Model___Serial1___nvme1"};

int answer(unsigned long request, void* argument) {
  if (request == NVME_IOCTL_ID) {
    return -1;
  }
  auto* buffer = reinterpret_cast<char*>(static_cast<nvme_admin_cmd*>(argument)->addr);
  if (static_cast<nvme_admin_cmd*>(argument)->opcode == 6) {
    std::memcpy(buffer + 4, world::currentDrive() == 0 ? "Serial0" : "Serial1", 7);
    std::memset(buffer + 11, ' ', 13);
    std::memcpy(buffer + 24, "Model", 5);
    std::memset(buffer + 29, ' ', 43);
  }
  return 0;
}

struct Request {
  std::string nameSpace;
  std::string className;
  std::string key;
  CMPIType type = CMPI_string;
  bool keyFails = false;
  bool isNull = false;
  int instances = 0;
  int done = 0;
} request;

CMPIString* makeString(const std::string& text) {
  static CMPIStringFT table = {100, nullptr, nullptr, [](const CMPIString* string, CMPIStatus*) {
                                 return static_cast<const char*>(string->hdl);
                               }};
  static CMPIString strings[3];
  static int next = 0;
  CMPIString& string = strings[next++ % 3];
  string = {const_cast<char*>(text.c_str()), &table};
  return &string;
}

CMPIData getKey(const CMPIObjectPath* /*path*/, const char* /*name*/, CMPIStatus* status) {
  *status = {request.keyFails ? CMPI_RC_ERR_NO_SUCH_PROPERTY : CMPI_RC_OK, nullptr};
  CMPIData data = {request.type, CMPI_goodValue, {}};
  if (request.type == CMPI_string) {
    data.value.string = request.isNull ? nullptr : makeString(request.key);
  } else if (request.type == CMPI_chars) {
    data.value.chars = request.isNull ? nullptr : const_cast<char*>(request.key.c_str());
  }
  return data;
}

CMPIrc ask(CMPIInstanceMI* mi) {
  CMPIObjectPathFT pathTable{};
  pathTable.getNameSpace = [](const CMPIObjectPath*, CMPIStatus*) {
    return makeString(request.nameSpace);
  };
  pathTable.getClassName = [](const CMPIObjectPath*, CMPIStatus*) {
    return makeString(request.className);
  };
  pathTable.getKey = getKey;
  const CMPIObjectPath path = {nullptr, &pathTable};
  CMPIResultFT resultTable{};
  resultTable.returnInstance = [](const CMPIResult*, const CMPIInstance*) {
    ++request.instances;
    return CMPIStatus{CMPI_RC_OK, nullptr};
  };
  resultTable.returnDone = [](const CMPIResult*) {
    ++request.done;
    return CMPIStatus{CMPI_RC_OK, nullptr};
  };
  const CMPIResult result = {nullptr, &resultTable};
  return mi->ft->getInstance(mi, nullptr, &result, &path, nullptr).rc;
}

CMPIrc expected() {
  if (strcasecmp(request.nameSpace.c_str(), "root/cimv2") != 0) {
    return CMPI_RC_ERR_INVALID_NAMESPACE;
  }
  if (std::strcmp(request.className.c_str(), "KAV_SSDLifeMonitor") != 0) {
    return CMPI_RC_ERR_INVALID_CLASS;
  }
  if (request.keyFails || (request.type != CMPI_string && request.type != CMPI_chars)) {
    return CMPI_RC_ERR_FAILED;
  }
  const std::string key = request.isNull ? "" : request.key.c_str();
  for (const std::string id : kDeviceIds) {
    if (id.compare(0, key.size(), key) == 0) {
      return CMPI_RC_OK;
    }
  }
  return CMPI_RC_ERR_FAILED;
}

CMPIInstanceMI* start(cmpihost::Broker& broker) {
  // Nobody reads the drives in the background, and nothing is logged.
  world::setFile("/etc/ssddrv/log.conf", "Level=0\n");
  world::setFile("/etc/ssddrv/ssddrv.ini", "PollRate=4294967296\n");
  world::setFile("/sys/devices/virtual/dmi/id/bios_version", "1.0\n");
  world::answerDrive(answer);
  CMPIStatus status{};
  return SsdProvider_Create_InstanceMI(broker.cmpi(), nullptr, &status);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* broker = new cmpihost::Broker([] {
    cmpihost::BrokerOptions options;
    options.journal = false;
    return options;
  }());
  static CMPIInstanceMI* const mi = start(*broker);
  world::Input input(data, size);
  const std::uint8_t shape = input.byte();
  request = {};
  request.keyFails = (shape & 1) != 0;
  request.isNull = (shape & 2) != 0;
  const CMPIType types[] = {CMPI_string, CMPI_chars, CMPI_uint8, CMPI_uint64};
  request.type = types[shape >> 2 & 3];
  const std::string text(input.rest());
  const std::size_t first = text.find('\n');
  const std::size_t second = first == std::string::npos ? first : text.find('\n', first + 1);
  request.nameSpace = (shape & 16) != 0 ? text.substr(0, first) : "root/cimv2";
  request.className = (shape & 32) != 0 && first != std::string::npos
                          ? text.substr(first + 1, second - first - 1)
                          : "KAV_SSDLifeMonitor";
  request.key = second == std::string::npos ? text : text.substr(second + 1);

  const cmpihost::ScopeGuard scope(broker->state());
  const CMPIrc rc = ask(mi);
  world::require(rc == expected(), "the answer follows from namespace, class and key's beginning");
  world::require(request.instances == (rc == CMPI_RC_OK ? 1 : 0), "one instance, or none");
  world::require(request.done == 1, "done is said once");
  return 0;
}

#include "host/Status.h"

#include <algorithm>
#include <array>

namespace cmpihost {
namespace {

struct NamedCode {
  CMPIrc rc;
  const char* name;
};

constexpr std::array kCodes = {
    NamedCode{CMPI_RC_OK, "CMPI_RC_OK"},
    NamedCode{CMPI_RC_ERR_FAILED, "CMPI_RC_ERR_FAILED"},
    NamedCode{CMPI_RC_ERR_ACCESS_DENIED, "CMPI_RC_ERR_ACCESS_DENIED"},
    NamedCode{CMPI_RC_ERR_INVALID_NAMESPACE, "CMPI_RC_ERR_INVALID_NAMESPACE"},
    NamedCode{CMPI_RC_ERR_INVALID_PARAMETER, "CMPI_RC_ERR_INVALID_PARAMETER"},
    NamedCode{CMPI_RC_ERR_INVALID_CLASS, "CMPI_RC_ERR_INVALID_CLASS"},
    NamedCode{CMPI_RC_ERR_NOT_FOUND, "CMPI_RC_ERR_NOT_FOUND"},
    NamedCode{CMPI_RC_ERR_NOT_SUPPORTED, "CMPI_RC_ERR_NOT_SUPPORTED"},
    NamedCode{CMPI_RC_ERR_ALREADY_EXISTS, "CMPI_RC_ERR_ALREADY_EXISTS"},
    NamedCode{CMPI_RC_ERR_NO_SUCH_PROPERTY, "CMPI_RC_ERR_NO_SUCH_PROPERTY"},
    NamedCode{CMPI_RC_ERR_TYPE_MISMATCH, "CMPI_RC_ERR_TYPE_MISMATCH"},
    NamedCode{CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, "CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED"},
    NamedCode{CMPI_RC_ERR_INVALID_QUERY, "CMPI_RC_ERR_INVALID_QUERY"},
    NamedCode{CMPI_RC_ERR_METHOD_NOT_AVAILABLE, "CMPI_RC_ERR_METHOD_NOT_AVAILABLE"},
    NamedCode{CMPI_RC_ERR_METHOD_NOT_FOUND, "CMPI_RC_ERR_METHOD_NOT_FOUND"},
    NamedCode{CMPI_RC_DO_NOT_UNLOAD, "CMPI_RC_DO_NOT_UNLOAD"},
    NamedCode{CMPI_RC_NEVER_UNLOAD, "CMPI_RC_NEVER_UNLOAD"},
    NamedCode{CMPI_RC_ERR_INVALID_HANDLE, "CMPI_RC_ERR_INVALID_HANDLE"},
    NamedCode{CMPI_RC_ERR_INVALID_DATA_TYPE, "CMPI_RC_ERR_INVALID_DATA_TYPE"},
    NamedCode{CMPI_RC_ERROR_SYSTEM, "CMPI_RC_ERROR_SYSTEM"},
    NamedCode{CMPI_RC_ERROR, "CMPI_RC_ERROR"},
};

}  // namespace

std::string describe(CMPIrc rc) {
  const auto* const known =
      std::find_if(kCodes.begin(), kCodes.end(), [rc](const NamedCode& c) { return c.rc == rc; });
  const std::string name = known == kCodes.end() ? "code" : known->name;
  return name + " (" + std::to_string(static_cast<unsigned>(rc)) + ')';
}

std::string Status::describe() const {
  const std::string code = cmpihost::describe(rc);
  return message.empty() ? code : code + ": " + message;
}

}  // namespace cmpihost

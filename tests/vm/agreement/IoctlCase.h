// One ioctl of the shared list: how it is made, and what came back.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace vm {

// Makes the call that the case describes on the node and tells everything that came back, under
// the names that the case's "expect" uses: returns, errno (a name, "" without), and by call
//   HDIO_GET_IDENTITY     data
//   HDIO_DRIVE_CMD        header (the four bytes after the call), data
//   SG_IO                 status, host_status, driver_status, sense (as far as written), data
//   NVME_IOCTL_ID         nothing more
//   NVME_IOCTL_ADMIN_CMD  result, data
//   open                  nothing more
// Bytes are lower-case hexadecimal pairs with blanks between them. Throws std::runtime_error on a
// case that cannot be made.
[[nodiscard]] nlohmann::json perform(const nlohmann::json& description, const std::string& node);

// What of the expectation the observation does not meet, a line each; empty when all is met.
// "data" is an object of offsets and the bytes that stand there.
[[nodiscard]] std::vector<std::string> differences(const nlohmann::json& expected,
                                                   const nlohmann::json& observed);

}  // namespace vm

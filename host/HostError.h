#pragma once

#include <stdexcept>

namespace cmpihost {

// Something about the host or a provider library is not as it must be; what() says it in one line.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace cmpihost

#pragma once

#include <cmpi/cmpidt.h>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace cmpihost {

// What a call that is made to fail answers. It has no effect; in the place of an object it gives
// null.
struct Fault {
  CMPIrc rc = CMPI_RC_ERR_FAILED;
  std::string message;
};

// Which calls are to fail. Calls are counted from the moment at which a fault is armed, the first
// being number 1. Any thread may use it.
class Faults {
 public:
  static constexpr unsigned kEvery = 0;

  // `call` is a slot name, with the kind of object in front where only that one is meant:
  // "setProperty", "instance.setProperty", "context.release". nth: kEvery for all of them.
  void arm(std::string call, unsigned nth, Fault fault);
  void clear();

  // Counts one call on an object of that kind; answers the fault that meets it.
  std::optional<Fault> meet(const std::string& kind, const std::string& call);

 private:
  struct Armed {
    std::string call;
    unsigned nth;
    Fault fault;
    unsigned seen = 0;
  };

  std::mutex mutex_;
  std::vector<Armed> armed_;
};

}  // namespace cmpihost

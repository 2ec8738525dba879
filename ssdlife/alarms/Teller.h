#pragma once

#include <string>

#include "ssdlife/OwnOutput.h"
#include "ssdlife/alarms/Alarm.h"

namespace ssdlife {

// Where the service speaks: the system's journal, or syslog where there is none, or standard error.
// Any thread may use it.
class Teller {
 public:
  enum class To { kSystem, kStandardError };

  Teller(const OwnOutput& output, To to) : output_(output), to_(to) {}

  void notice(const std::string& line) const;

  // With the fields that the catalog (packaging/ssdlife.catalog) has words for.
  void alarm(const Alarm& alarm) const;

 private:
  const OwnOutput& output_;
  const To to_;
};

}  // namespace ssdlife

#pragma once

#include <string>
#include <vector>

namespace testkit {

using Lines = std::vector<std::string>;

/// The records in the log file since the last call, each as "Level: message" ("Info: started"). A
/// message keeps its line feeds. A line that doesn't begin as a record must belongs to the record
/// before it.
Lines takeLog();

/// The record that `Log`, `WLog` or `LogQuick` makes in the log line, without its line feed; the
/// time, process and thread are not looked at. "" if `line` doesn't begin as a record must.
std::string recordIn(const std::string& line);

/// What "0x%08x" shows of an address or a thread.
std::string low32(const void* address);
std::string low32(unsigned long value);

}  // namespace testkit

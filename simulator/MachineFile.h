#pragma once

#include <string>
#include <string_view>

#include "simulator/JsonReader.h"
#include "simulator/Machine.h"

namespace simulator {

// Reads a machine file (its format: simulator/machines/README.md). Throws MachineFileError with the
// place in the file when anything is unknown, missing or out of range.
MachineDescription parseMachine(std::string_view text);

// The same for the file at path; messages begin with the path.
MachineDescription loadMachine(const std::string& path);

// The parts of it, each with a source file of its own.
DriveDescription parseDrive(const JsonValue& value);
RequestKind parseRequestKind(const JsonValue& value);
FaultDescription parseFault(const JsonValue& value, const MachineDescription& machine);
RecordedDescription parseRecorded(JsonObject& object, std::string node);

}  // namespace simulator

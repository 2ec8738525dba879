// A models file and an attribute: what rows there are make sense, and a percentage is one or
// unknown.

#include <algorithm>
#include <cstdio>
#include <string>

#include "core/ModelTable.h"
#include "tests/fuzz/World.h"

namespace {

void requireSense(const WearValue& value) {
  world::require(value.firstByte <= value.lastByte && value.lastByte <= 5,
                 "a raw value has some of its six bytes");
  world::require(value.multiplier != 0 && value.divisor != 0, "no factor is 0");
}

void requireSense(const ModelRow& row) {
  world::require(row.line != 0, "a row has its line");
  world::require(row.model.size() <= 40 && row.model.size() >= (row.isBeginning ? 4U : 1U),
                 "a model is as long as drives' are");
  world::require(row.firmware.size() <= 8, "a firmware is no longer than drives' are");
  world::require(row.wear.id != 0, "an attribute has a number");
  requireSense(row.wear.value);
  if (row.wear.twin) {
    requireSense(*row.wear.twin);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input input(data, size);
  SsdAttr attribute;
  attribute.current = input.byte();
  input.fill(&attribute.raw, 6);
  std::string text(input.rest());
  if (text.empty()) {
    return 0;
  }
  ModelTable table;
  std::FILE* const file = fmemopen(text.data(), text.size(), "r");
  world::require(table.read(file,
                            [](unsigned line, const std::string& problem) {
                              world::require(line != 0 && !problem.empty(),
                                             "a problem has its line and a text");
                            }),
                 "the file is read to its end");
  std::fclose(file);
  for (const ModelRow& row : table.rows()) {
    requireSense(row);
    world::require(table.find(row.model, row.firmware) != nullptr, "a row is found");
    SsdValues values;
    attribute.index = row.wear.id;
    values.attributes.push_back(attribute);
    const WearReading reading = readWear(row.wear, values);
    world::require((reading.outcome == WearReading::Outcome::kTold)
                       ? reading.percentageUsed <= 100
                       : reading.percentageUsed == kPercentageUnknown,
                   "a percentage is one, or unknown");
  }
  return 0;
}

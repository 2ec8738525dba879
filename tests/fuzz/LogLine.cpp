// The three logging functions: one record is one line with its five fields, whatever the text
// holds.

#include <cstring>

#include "base/WideView.h"
#include "log/Log.h"
#include "tests/fuzz/World.h"

namespace {

/// "dd/mm/yyyy hh:mm:ss.mmm<tab>P[....pid] T[tid]<tab>level<tab>": 59 characters with a pid of at
/// most eight digits.
constexpr std::size_t kMessageColumn = 23 + 1 + 11 + 1 + 11 + 1 + 5 + 1;

void requireLine(const std::string& line, const char* level, const std::string& message) {
  world::require(line.size() == kMessageColumn + message.size() + 1, "fields have their widths");
  world::require(line.compare(kMessageColumn - 6, 5, level) == 0, "the level has five characters");
  world::require(line.compare(kMessageColumn, message.size(), message) == 0, "the text is whole");
  world::require(line.back() == '\n', "a line ends");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input input(data, size);
  const std::string text(input.rest());
  const std::string upToZero = text.c_str();
  (void)world::takeLog();

  LogQuick(LOG_LEVEL_DEBUG, text.c_str());
  requireLine(world::takeLog(), "Debug", upToZero);

  Log(LOG_LEVEL_ERROR, "%s", text.c_str());
  requireLine(world::takeLog(), "Error", upToZero.substr(0, 4095));

  // Texts that are no wide characters: the narrow form stops before them, the wide one is dropped.
  Log(LOG_LEVEL_INFO, "model %ls", WideView(text).text());
  world::require(world::takeLog().find("\tInfo \tmodel ") != std::string::npos,
                 "the text before a failing conversion is logged");
  WLog(LOG_LEVEL_TRACE, L"serial=[%ls]", WideView(text).text());
  const std::string wide = world::takeLog();
  world::require(wide.empty() || (wide.compare(kMessageColumn - 6, 5, "Trace") == 0 &&
                                  wide.compare(kMessageColumn, 8, "serial=[") == 0 &&
                                  wide.compare(wide.size() - 2, 2, "]\n") == 0),
                 "a wide record is whole or dropped");
  return 0;
}

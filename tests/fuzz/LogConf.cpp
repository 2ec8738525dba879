// log.conf: whatever it holds, a handler comes out that has one of the five levels and logs.

#include "log/FileLogHandler.h"
#include "tests/fuzz/World.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  world::Input input(data, size);
  // The log file's name comes last, so that the fuzzer doesn't write to files it has made up.
  world::setFile("/etc/ssddrv/log.conf",
                 std::string(input.rest()) + "\nIsConsole=0\nFileName=/fuzz/log\n");
  FileLogHandler handler;
  world::require(handler.GetLevel() >= LOG_LEVEL_OFF && handler.GetLevel() <= LOG_LEVEL_TRACE,
                 "the level is one of the five");
  (void)world::takeLog();
  handler.WriteLog("line\n");
  world::require(world::takeLog() == "line\n", "a fresh handler writes to the file named last");
  return 0;
}

// Gives the library another log.conf: this definition comes before the C library's.

#include <cstdio>
#include <cstring>

#include "tests/rough/LogHost.h"

namespace rough {

std::string logConf;

}  // namespace rough

extern "C" __attribute__((visibility("default"))) std::FILE* fopen(const char* path,
                                                                   const char* mode) {
  static const auto system =
      reinterpret_cast<std::FILE* (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "fopen"));
  const bool isConf = std::strcmp(path, "/etc/ssddrv/log.conf") == 0;
  return system(isConf ? rough::logConf.c_str() : path, mode);
}

#include "core/ModelsFile.h"

#include <cerrno>
#include <new>

#include <sys/stat.h>

#include "base/UniqueFile.h"
#include "log/Log.h"

namespace {

/// Ten thousand rows and more. What is bigger is no models file.
constexpr off_t kGreatestSize = off_t{1024} * 1024;

/// The file, open for reading, or null.
UniqueFile openFile(const std::string& path) {
  struct stat status {};
  const bool isThere = stat(path.c_str(), &status) == 0;
  // Before it is opened: a pipe would hold the object manager up.
  if (isThere && (!S_ISREG(status.st_mode) || status.st_size > kGreatestSize)) {
    Log(LOG_LEVEL_ERROR, "ModelsFile - %s is not a file of at most 1 MiB", path.c_str());
    return nullptr;
  }
  UniqueFile file(isThere ? std::fopen(path.c_str(), "r") : nullptr);
  if (file == nullptr) {
    Log(LOG_LEVEL_ERROR, "ModelsFile - Open %s failed, 0x%08x", path.c_str(),
        static_cast<unsigned>(errno));
  }
  return file;
}

}  // namespace

ModelTable readModelsFile(const std::string& path) try {
  ModelTable table;
  const UniqueFile file = path.empty() ? nullptr : openFile(path);
  if (file == nullptr) {
    return table;
  }
  const bool isWhole = table.read(file.get(), [&path](unsigned line, const std::string& problem) {
    Log(LOG_LEVEL_ERROR, "ModelsFile - %s:%u: left out: %s", path.c_str(), line, problem.c_str());
  });
  // Without its more exact rows, a less exact one would be taken.
  if (!isWhole) {
    Log(LOG_LEVEL_ERROR, "ModelsFile - %s can't be read to its end: none of it counts",
        path.c_str());
    return {};
  }
  Log(LOG_LEVEL_INFO, "ModelsFile - %zu rows in %s", table.rows().size(), path.c_str());
  return table;
} catch (const std::bad_alloc&) {
  LogQuick(LOG_LEVEL_ERROR, "ModelsFile - no memory for its rows: none of them counts");
  return {};
}

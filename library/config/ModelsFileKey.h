#pragma once

#include <string>
#include <string_view>

/// The key of ssddrv.ini that names a file of further models.
constexpr std::string_view kModelsFileKey = "ModelsFile";

/// Takes a value of that key over into `setting`: an absolute path, or nothing for no file. Any
/// other value is ignored. A carriage return at the end belongs to the line's end.
inline void setModelsFile(std::string& setting, const std::string& value) {
  const std::string_view path =
      std::string_view(value).substr(0, value.size() - (!value.empty() && value.back() == '\r'));
  if (path.empty() || path.front() == '/') {
    setting = path;
  }
}

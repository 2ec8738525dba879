#include "ssdlife/ModelsFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include "base/KeyValueFile.h"
#include "base/UniqueFile.h"
#include "config/ModelsFileKey.h"
#include "ssdlife/Failure.h"

namespace ssdlife {
namespace {

constexpr const char* kSettings = "/etc/ssddrv/ssddrv.ini";

[[noreturn]] void failToRead(const std::string& path) {
  throw Failure(ExitCode::kNothing, "models file " + path + " can't be read: " +
                                        std::generic_category().message(errno));
}

// Of rows for the same drives the last counts.
void addRowsThatNeverCount(ModelsFile& file) {
  const std::vector<ModelRow>& rows = file.table.rows();
  for (auto row = rows.begin(); row != rows.end(); ++row) {
    const auto later = std::find_if(row + 1, rows.end(), [&row](const ModelRow& other) {
      return other.model == row->model && other.isBeginning == row->isBeginning &&
             other.firmware == row->firmware;
    });
    if (later != rows.end()) {
      file.problems.push_back(
          {row->line, "never counts, because of line " + std::to_string(later->line)});
    }
  }
}

std::string valueText(const WearValue& value) {
  std::string text = value.field == WearValue::Field::kCurrent ? "current" : "raw";
  if (value.firstByte != 0 || value.lastByte != 5) {
    text += std::to_string(value.firstByte) +
            (value.lastByte == value.firstByte ? "" : "-" + std::to_string(value.lastByte));
  }
  text += value.counts == WearValue::Counts::kUsed ? " used" : " left";
  if (value.multiplier != 1) {
    text += " *" + std::to_string(value.multiplier);
  }
  return value.divisor == 1 ? text : text + " /" + std::to_string(value.divisor);
}

}  // namespace

ModelsFile readModelsFile(const std::string& path) {
  const UniqueFile stream(std::fopen(path.c_str(), "re"));
  if (stream == nullptr) {
    failToRead(path);
  }
  ModelsFile file{path, {}, {}};
  errno = 0;
  const auto note = [&file](unsigned line, const std::string& what) {
    file.problems.push_back({line, "left out: " + what});
  };
  if (!file.table.read(stream.get(), note)) {
    failToRead(path);
  }
  addRowsThatNeverCount(file);
  std::stable_sort(file.problems.begin(), file.problems.end(),
                   [](const auto& one, const auto& other) { return one.line < other.line; });
  return file;
}

ModelsFile modelsFileInForce() {
  std::string path;
  const UniqueFile settings(std::fopen(kSettings, "re"));
  if (settings != nullptr) {
    readKeyValueLines(settings.get(), " ", [&path](std::string_view key, const std::string& value) {
      if (key == kModelsFileKey) {
        setModelsFile(path, value);
      }
    });
  }
  return path.empty() ? ModelsFile{} : readModelsFile(path);
}

std::string rowText(const ModelRow& row) {
  std::string text = row.model + (row.isBeginning ? "*" : "") + '=' + std::to_string(row.wear.id) +
                     ' ' + valueText(row.wear.value);
  if (row.wear.twin) {
    text += " agrees " + valueText(*row.wear.twin);
  }
  text += row.wear.beforeStatistics ? " override" : "";
  return row.firmware.empty() ? text : text + " firmware " + row.firmware;
}

}  // namespace ssdlife

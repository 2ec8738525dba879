#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "core/CompiledModels.h"
#include "ssdlife/Commands.h"
#include "ssdlife/Failure.h"
#include "ssdlife/ModelsFile.h"
#include "ssdlife/Show.h"
#include "ssdlife/SsdClient.h"

namespace ssdlife {
namespace {

using Json = nlohmann::ordered_json;

constexpr unsigned kVendorAttribute = 3;

// What a drive is read by, and the line of the file that has something to do with it.
struct Choice {
  std::string words;
  std::optional<unsigned> line;
};

Choice choiceFor(const Drive& drive, const ModelsFile& file) {
  if (findCompiledModel(drive.model) != nullptr) {
    return {"the library's own row for this model", {}};
  }
  if (drive.physicalDrive.compare(0, 4, "nvme") == 0) {
    return {"the NVMe health log", {}};
  }
  const ModelRow* const row = file.table.find(drive.model, drive.firmware);
  if (row == nullptr) {
    return {"the device statistics: no row fits", {}};
  }
  const std::string line = "line " + std::to_string(row->line) + ", " + rowText(*row);
  if (drive.percentageUsedSource == kVendorAttribute) {
    return {line, row->line};
  }
  return {"the device statistics, which are valid; otherwise " + line, row->line};
}

std::string percentage(const Drive& drive) {
  return drive.percentageUsed ? std::to_string(*drive.percentageUsed) + " %" : "percentage unknown";
}

std::string problemLine(const ModelsFile& file, const ModelsProblem& problem) {
  return file.path + ':' + std::to_string(problem.line) + ": " + problem.what + '\n';
}

std::string asTable(const ModelsFile& file, const std::vector<Drive>& drives) {
  std::string text;
  for (const ModelRow& row : file.table.rows()) {
    text += file.path + ':' + std::to_string(row.line) + ": " + rowText(row) + '\n';
  }
  for (const ModelsProblem& problem : file.problems) {
    text += problemLine(file, problem);
  }
  for (const CompiledModel& row : kCompiledModels) {
    text += std::string("library: ") + row.model + '\n';
  }
  text += file.path.empty() ? "No models file is set in /etc/ssddrv/ssddrv.ini.\n" : "";
  for (const Drive& drive : drives) {
    text += drive.physicalDrive + ": " + printable(drive.model) + ", firmware " +
            printable(drive.firmware) + ": " + percentage(drive) + ", read by " +
            choiceFor(drive, file).words + '\n';
  }
  return text;
}

std::string asJson(const ModelsFile& file, const std::vector<Drive>& drives) {
  Json all = {{"file", file.path.empty() ? Json() : Json(file.path)},
              {"rows", Json::array()},
              {"problems", Json::array()},
              {"library", Json::array()},
              {"drives", Json::array()}};
  for (const ModelRow& row : file.table.rows()) {
    all["rows"].push_back({{"line", row.line}, {"row", rowText(row)}});
  }
  for (const ModelsProblem& problem : file.problems) {
    all["problems"].push_back({{"line", problem.line}, {"problem", problem.what}});
  }
  for (const CompiledModel& row : kCompiledModels) {
    all["library"].push_back(row.model);
  }
  for (const Drive& drive : drives) {
    const Choice choice = choiceFor(drive, file);
    all["drives"].push_back({{"physicalDrive", drive.physicalDrive},
                             {"model", drive.model},
                             {"firmware", drive.firmware},
                             {"readBy", choice.words},
                             {"line", choice.line ? Json(*choice.line) : Json()}});
  }
  return all.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

ExitCode test(const std::string& path, const OwnOutput& output) {
  const ModelsFile file = readModelsFile(path);
  std::string text;
  for (const ModelsProblem& problem : file.problems) {
    text += problemLine(file, problem);
  }
  text += path + ": " + std::to_string(file.table.rows().size()) + " rows, " +
          std::to_string(file.problems.size()) + " lines to mend\n";
  output.out(text);
  return file.problems.empty() ? ExitCode::kOk : ExitCode::kNothing;
}

}  // namespace

ExitCode models(const Options& options, const std::string& library, const OwnOutput& output) {
  if (!options.testedFile.empty()) {
    return test(options.testedFile, output);
  }
  const ModelsFile file = modelsFileInForce();
  SsdClient client = SsdClient::forOneAnswer(library, options.like);
  std::vector<Drive> drives;
  try {
    drives = client.list();
  } catch (const Failure& nothing) {
    if (nothing.exitCode() != ExitCode::kNothing) {
      throw;
    }
  }
  output.out(options.format == Format::kJson ? asJson(file, drives) : asTable(file, drives));
  client.close();
  return ExitCode::kOk;
}

}  // namespace ssdlife

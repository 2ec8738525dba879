#include "tests/vm/judge/Step.h"

#include <fstream>
#include <sstream>
#include <utility>

namespace vm {

Step::Step(std::filesystem::path folder) : folder_(std::move(folder)) { readList(); }

void Step::readList() {
  const nlohmann::json list = json("list.json");
  if (!list.contains("drives")) {
    return;
  }
  for (const auto& entry : list.at("drives")) {
    ListedDrive drive;
    drive.model = entry.at("model");
    drive.serial = entry.at("serialNumber");
    drive.firmware = entry.at("firmware");
    drive.drive = entry.at("physicalDrive");
    drive.hours = entry.at("poweredOnHours");
    if (!entry.at("percentageUsed").is_null()) {
      drive.percentage = entry.at("percentageUsed").get<unsigned>();
    }
    drive.source = entry.at("percentageUsedSource");
    drive.failing = entry.at("failureImminent");
    drives_.push_back(drive);
  }
}

const ListedDrive* Step::find(const std::string& serial) const {
  for (const ListedDrive& drive : drives_) {
    if (drive.serial == serial) {
      return &drive;
    }
  }
  return nullptr;
}

std::string Step::text(const std::string& name) const {
  std::ifstream file(folder_ / name);
  std::ostringstream text;
  text << file.rdbuf();
  std::string content = text.str();
  while (!content.empty() && content.back() == '\n') {
    content.pop_back();
  }
  return content;
}

nlohmann::json Step::json(const std::string& name) const {
  auto parsed = nlohmann::json::parse(text(name), nullptr, false);
  return parsed.is_discarded() ? nlohmann::json() : parsed;
}

std::vector<std::string> Step::commands(const std::string& description) const {
  return splitLines(text("commands/" + description));
}

std::vector<std::string> splitLines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

}  // namespace vm

#include "tests/service/Till.h"

#include <sstream>

#include "tests/ssdlife/CommandRun.h"

Till::Till() {
  std::filesystem::create_directory(folder_ / "hooks");
  setSettings("HookTime=20\n");
  setWear({10});
}

void Till::setWear(const std::vector<nlohmann::json>& wear, double timeScale) {
  nlohmann::json drives = nlohmann::json::array();
  for (std::size_t at = 0; at < wear.size(); ++at) {
    drives.push_back({{"kind", "sata"},
                      {"node", std::string("sd") + static_cast<char>('a' + at)},
                      {"model", "TS64GHSD630"},
                      {"serial", "S" + std::to_string(at)},
                      {"firmware", "1"},
                      {"hours", 7},
                      {"statistics", true},
                      {"wear", wear[at]}});
  }
  const nlohmann::json machine = {
      {"name", "till"}, {"time", {{"scale", timeScale}}}, {"drives", drives}};
  folder_.write("machine.json", machine.dump());
}

void Till::addHook(const std::string& name, const std::string& script, mode_t mode) {
  std::string text = script;
  for (std::size_t at = 0; (at = text.find("$LOG", at)) != std::string::npos;) {
    text.replace(at, 4, folder_ / ("log-" + name));
  }
  folder_.write("hooks/" + name, "#!/bin/sh\n" + text, mode);
}

void Till::setSettings(const std::string& more) {
  folder_.write("settings", "HookFolder=" + (folder_ / "hooks") + '\n' + more);
}

std::vector<std::string> Till::logOf(const std::string& hook) const {
  std::istringstream text(folder_.read("log-" + hook));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> Till::service(const std::vector<std::string>& more) const {
  std::vector<std::string> words = {"watch", "--service", "--settings", folder_ / "settings"};
  words.insert(words.end(), more.begin(), more.end());
  return command(words);
}

std::vector<std::string> Till::command(const std::vector<std::string>& words) const {
  std::vector<std::string> all = {"--machine", folder_ / "machine.json", "--library", LIBRARY};
  all.insert(all.end(), words.begin(), words.end());
  all.insert(all.end(), {"--state", state()});
  return all;
}

nlohmann::json Till::alarms() const {
  CommandRun run({"--format", "json", "alarms", "--state", state()});
  run.start().exitStatus();
  return nlohmann::json::parse(run.output(), nullptr, false).value("alarms", nlohmann::json());
}

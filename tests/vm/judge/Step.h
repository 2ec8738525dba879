// What one step of a scenario brought home: the library's list, what the other programs said of
// the same drives, and which commands the library sent.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace vm {

// Where a percentage comes from, as the library publishes it.
constexpr unsigned kSourceStatistic = 2;
constexpr unsigned kSourceVendorAttribute = 3;

// A drive as `ssdlife list --format json` shows it.
struct ListedDrive {
  std::string model;
  std::string serial;
  std::string firmware;
  std::string drive;  // the kernel's name
  std::uint64_t hours = 0;
  std::optional<unsigned> percentage;  // nothing when it is not known
  unsigned source = 0;
  bool failing = false;
};

class Step {
 public:
  // The folder is RESULTS/SCENARIO/STEP. Files that are missing read as empty.
  explicit Step(std::filesystem::path folder);

  [[nodiscard]] const std::vector<ListedDrive>& drives() const { return drives_; }
  // Null when no drive with that serial number is listed.
  [[nodiscard]] const ListedDrive* find(const std::string& serial) const;

  // A text file of the step, without trailing line feeds.
  [[nodiscard]] std::string text(const std::string& name) const;
  // A JSON file of the step; null when it is absent or no JSON.
  [[nodiscard]] nlohmann::json json(const std::string& name) const;

  // The lines of commands that reached the drive with this description, in order.
  [[nodiscard]] std::vector<std::string> commands(const std::string& description) const;

 private:
  void readList();

  std::filesystem::path folder_;
  std::vector<ListedDrive> drives_;
};

[[nodiscard]] std::vector<std::string> splitLines(const std::string& text);

}  // namespace vm

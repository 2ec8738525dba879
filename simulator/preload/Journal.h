#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace simulator {

// A file with one line of JSON for each call that concerned the machine. Each line is written
// whole, on its own, at the file's end: several threads and processes can share one journal, and no
// descriptor stays open in between. Leaves errno as it was.
class Journal {
 public:
  // An empty path: nothing is written.
  explicit Journal(std::string path) : path_(std::move(path)) {}

  [[nodiscard]] bool wanted() const { return !path_.empty(); }

  // Adds process and thread to the entry and writes it.
  void write(nlohmann::ordered_json entry) const;

 private:
  const std::string path_;
};

}  // namespace simulator

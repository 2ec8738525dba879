#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

// A folder of one test, gone after it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/ssdlife-XXXXXX";
    path_ = mkdtemp(pattern.data());
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string operator/(const std::string& name) const { return path_ + '/' + name; }

  // The path of a new file with this content.
  std::string write(const std::string& name, const std::string& content, mode_t mode = 0644) const {
    const std::string file = *this / name;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file) << content;
    chmod(file.c_str(), mode);
    return file;
  }

  [[nodiscard]] std::string read(const std::string& name) const {
    std::ifstream in(*this / name);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

 private:
  std::string path_;
};

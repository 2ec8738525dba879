#include "tests/vm/drives/DriveFile.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vm {
namespace {

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::uint64_t parseNumber(const std::string& text) {
  const bool hexadecimal = text.rfind("0x", 0) == 0;
  char* end = nullptr;
  errno = 0;
  const std::uint64_t value = std::strtoull(text.c_str(), &end, hexadecimal ? 16 : 10);
  if (text.empty() || *end != '\0' || errno != 0) {
    throw std::runtime_error("\"" + text + "\" is not a number");
  }
  return value;
}

DriveFile::DriveFile(std::string path) : path_(std::move(path)) {
  std::ifstream file(path_);
  if (!file) {
    throw std::runtime_error(path_ + ": cannot be opened");
  }
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    line = trimmed(line);
    if (line.empty() || line[0] == '#') {
      continue;
    }
    const auto equals = line.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw std::runtime_error(path_ + ":" + std::to_string(number) + ": not \"key = value\"");
    }
    entries_.emplace_back(trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
  }
}

std::string DriveFile::text(const std::string& key) const {
  for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
    if (entry->first == key) {
      return entry->second;
    }
  }
  throw std::runtime_error(path_ + ": no \"" + key + "\"");
}

std::string DriveFile::text(const std::string& key, const std::string& fallback) const {
  return records(key).empty() ? fallback : text(key);
}

std::uint64_t DriveFile::number(const std::string& key, std::uint64_t fallback) const {
  return records(key).empty() ? fallback : parseNumber(text(key));
}

std::vector<std::vector<std::string>> DriveFile::records(const std::string& key) const {
  std::vector<std::vector<std::string>> all;
  for (const auto& [name, value] : entries_) {
    if (name != key) {
      continue;
    }
    std::istringstream words(value);
    std::vector<std::string> record;
    for (std::string word; words >> word;) {
      record.push_back(word);
    }
    all.push_back(record);
  }
  return all;
}

}  // namespace vm

#include "tests/support/LogCapture.h"

#include <cstdint>
#include <cstdio>

#include <array>
#include <regex>

#include "tests/support/FakeRoot.h"

namespace testkit {

namespace {

// Time, tab, process and thread, tab, level, tab: of one length whatever they are.
constexpr std::size_t kHeadLength = 23 + 1 + 11 + 1 + 11 + 1 + 5 + 1;
constexpr std::size_t kLevelOffset = kHeadLength - 6;

bool isHead(const std::string& head) {
  static const std::regex form(
      "\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d\\.\\d{3}\tP\\[ *\\d+\\] T\\[[0-9a-f]{8}\\]\t"
      "(Off  |Error|Info |Debug|Trace)\t");
  return std::regex_match(head, form);
}

}  // namespace

std::string recordIn(const std::string& line) {
  const std::string head = line.substr(0, kHeadLength);
  if (!isHead(head)) {
    return {};
  }
  std::string level = head.substr(kLevelOffset, 5);
  level.erase(level.find_last_not_of(' ') + 1);
  return level + ": " + line.substr(kHeadLength);
}

Lines takeLog() {
  static std::size_t taken = 0;
  const std::string text = FakeRoot::instance().read(kLogFile);
  Lines records;
  while (taken < text.size()) {
    std::size_t end = text.find('\n', taken);
    if (end == std::string::npos) {
      end = text.size();
    }
    const std::string line = text.substr(taken, end - taken);
    if (const std::string record = recordIn(line); !record.empty()) {
      records.push_back(record);
    } else if (records.empty()) {
      records.push_back("no record: " + line);
    } else {
      records.back() += "\n" + line;
    }
    taken = end + 1;
  }
  return records;
}

std::string low32(unsigned long value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%08x", static_cast<unsigned>(value));
  return text.data();
}

std::string low32(const void* address) {
  return low32(static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(address)));
}

}  // namespace testkit

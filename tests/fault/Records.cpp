#include "tests/fault/Records.h"

#include <algorithm>
#include <cstddef>

namespace fault {

namespace {

/// What is followed by the low half of an address or of a thread id.
constexpr const char* kBeforeAddresses[] = {
    "_ssdDevice=", "new instance = ", "started id=", "pthread_join("};
constexpr std::size_t kMostDigitsOfNumbers = 8;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool announcesAddress(const std::string& text) {
  return std::any_of(std::begin(kBeforeAddresses), std::end(kBeforeAddresses),
                     [&](const char* end) { return endsWith(text, end); });
}

std::string withoutAddresses(const std::string& text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    if (text.compare(at, 2, "0x") != 0 || text.compare(at + 2, 2, "0x") == 0) {
      result += text[at++];
      continue;
    }
    const std::size_t begin = at + 2;
    const std::size_t end =
        std::min(text.find_first_not_of("0123456789abcdef", begin), text.size());
    const bool isAddress = end - begin > kMostDigitsOfNumbers || announcesAddress(result);
    result += isAddress ? "0x?" : text.substr(at, end - at);
    at = end;
  }
  return result;
}

}  // namespace

std::vector<std::string> recordsIn(const std::string& log) {
  // A record may have several lines, but only one process id, with the time before it.
  constexpr std::size_t kTimeLength = sizeof("dd/mm/yyyy hh:mm:ss.iii") - 1;
  const std::string processId = "\tP[";
  std::vector<std::string> all;
  for (std::size_t at = log.find(processId); at != std::string::npos;) {
    const std::size_t next = log.find(processId, at + 1);
    const std::size_t end = next == std::string::npos ? log.size() : next - kTimeLength;
    const std::size_t level = log.find('\t', at + 1);
    all.push_back(level < end ? withoutAddresses(log.substr(level + 1, end - level - 1)) : "");
    at = next;
  }
  return all;
}

std::vector<std::string> foreign(const std::vector<std::string>& some,
                                 const std::vector<std::string>& all) {
  std::vector<std::string> found;
  auto at = all.begin();
  for (const std::string& record : some) {
    const auto same = std::find(at, all.end(), record);
    if (same == all.end()) {
      found.push_back(record);
    } else {
      at = same + 1;
    }
  }
  return found;
}

}  // namespace fault

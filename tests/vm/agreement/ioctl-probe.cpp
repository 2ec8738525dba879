// ioctl-probe CASES USER NAME=NODE...
//
// Makes the cases of the list that are USER's ("root" or "nobody"), each on the node of its drive,
// and compares what came back with what the list expects. Each drive of theirs must be named.
// Run in the virtual machine, it tells whether the list is what the kernel does; run under the
// simulator, whether the simulator does the same. Prints a line for each case and, for the
// failing ones, what was observed; exits 1 if any failed, 2 if the cases could not be run.
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "tests/vm/agreement/IoctlCase.h"

namespace {

using nlohmann::json;

std::map<std::string, std::string> parseDrives(int argc, char** argv) {
  std::map<std::string, std::string> nodes;
  for (int i = 3; i < argc; ++i) {
    const std::string argument = argv[i];
    const auto equals = argument.find('=');
    if (equals == std::string::npos) {
      throw std::runtime_error("\"" + argument + "\" is not NAME=NODE");
    }
    nodes[argument.substr(0, equals)] = argument.substr(equals + 1);
  }
  return nodes;
}

// Long data would hide the rest.
json shortened(json observed) {
  constexpr std::size_t kShown = 48;
  if (observed.contains("data")) {
    auto data = observed["data"].get<std::string>();
    if (data.size() > kShown) {
      observed["data"] = data.substr(0, kShown) + "...";
    }
  }
  return observed;
}

bool run(const json& description, const std::string& node) {
  const auto name = description.at("name").get<std::string>();
  const json observed = vm::perform(description, node);
  const auto found = vm::differences(description.at("expect"), observed);
  std::printf("%s  %s\n", found.empty() ? "agrees " : "differs", name.c_str());
  for (const std::string& difference : found) {
    std::printf("         %s\n", difference.c_str());
  }
  if (!found.empty()) {
    std::printf("         %s\n", shortened(observed).dump().c_str());
  }
  return found.empty();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: ioctl-probe CASES USER NAME=NODE...\n");
    return 2;
  }
  try {
    std::ifstream file(argv[1]);
    const json cases = json::parse(file);
    const std::string user = argv[2];
    const auto nodes = parseDrives(argc, argv);
    int made = 0;
    int failed = 0;
    for (const json& description : cases) {
      if (description.value("user", "root") == user) {
        const auto drive = description.at("drive").get<std::string>();
        const auto node = nodes.find(drive);
        if (node == nodes.end()) {
          throw std::runtime_error("no node is given for the drive \"" + drive + "\"");
        }
        ++made;
        failed += run(description, node->second) ? 0 : 1;
      }
    }
    std::printf("%d cases, %d differ\n", made, failed);
    if (made == 0) {
      throw std::runtime_error("no case was made");
    }
    return failed == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ioctl-probe: %s\n", error.what());
    return 2;
  }
}

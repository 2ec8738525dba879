#include "tests/rough/Host.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <thread>

#include <dlfcn.h>

namespace rough {

namespace {

const cmpihost::ObjectPath kSsds = {"root/cimv2", "KAV_SSDLifeMonitor"};
const cmpihost::Filter kFailures = {"KAV_SSDLifeMonitorFailureImminent"};

}  // namespace

void expect(bool holds, const std::string& what) {
  if (!holds) {
    std::fprintf(stderr, "rough_host: %s\n", what.c_str());
    std::_Exit(1);
  }
}

void waitForLog(const std::string& text, std::size_t times) {
  const std::string file = std::string(std::getenv("VEKSSD_LOG_DIR")) + "/ssddrv.log";
  for (std::size_t found = 0; found < times;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::ifstream log(file);
    found = 0;
    for (std::string line; std::getline(log, line);) {
      found += line.find(text) != std::string::npos ? 1 : 0;
    }
  }
}

std::chrono::milliseconds timeOf(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               begin);
}

Till::Till(const std::string& brokerName)
    : broker(cmpihost::BrokerOptions{brokerName}),
      provider(broker, kLibrary, "SsdProvider"),
      calls(const_cast<CMPIBrokerFT&>(*broker.cmpi()->bft)),
      threadCalls(const_cast<CMPIBrokerExtFT&>(*broker.cmpi()->xft)) {}

Till& Till::load(const std::string& brokerName) { return *new Till(brokerName); }

Till& Till::start(const std::string& brokerName) {
  Till& till = load(brokerName);
  (void)till.provider.createInstanceMI();
  (void)till.provider.createIndicationMI();
  return till;
}

void Till::subscribe() {
  expect(provider.activateFilter(kFailures, 1).rc == CMPI_RC_OK, "no subscription");
  provider.enableIndications();
}

CMPIrc Till::list() { return provider.enumerateInstances(kSsds).status.rc; }

void Till::cleanUp() {
  expect(provider.cleanupIndicationMI(true).rc == CMPI_RC_OK, "indications not cleaned up");
  expect(provider.cleanupInstanceMI(true).rc == CMPI_RC_OK, "instances not cleaned up");
}

void Till::unloadAtOnce() {
  void* const again = dlopen(kLibrary, RTLD_NOW | RTLD_NOLOAD);
  provider.leaveLoaded();
  dlclose(again);
  dlclose(again);
  expect(dlopen(kLibrary, RTLD_NOW | RTLD_NOLOAD) == nullptr, "the library stays");
}

std::size_t Till::callsOf(const std::string& name) {
  const auto texts = broker.journal().texts();
  return static_cast<std::size_t>(std::count_if(
      texts.begin(), texts.end(),
      [&](const std::string& text) { return text.find("." + name + "(") != std::string::npos; }));
}

}  // namespace rough

/// What a process leaves that ends in the middle of something is no finding.
extern "C" const char* __tsan_default_options() { return "report_thread_leaks=0"; }

int main(int argc, char** argv) {
  rough::Behaviours all;
  for (const auto& room : {rough::signalling(), rough::cancelling(), rough::exiting(),
                           rough::unloading(), rough::throwing(), rough::shortOfStack()}) {
    all.insert(room.begin(), room.end());
  }
  // The first argument is the file for results, of which these processes have none.
  const auto behaviour = all.find(argc == 3 ? argv[2] : "");
  if (behaviour == all.end()) {
    std::fputs("usage: rough_host RESULTS BEHAVIOUR\n", stderr);
    return 2;
  }
  try {
    behaviour->second();
  } catch (const std::exception& error) {
    rough::expect(false, error.what());
  }
  return 0;
}

// A host that calls exit() in the middle of its requests.

#include <cstdlib>
#include <thread>

#include "tests/rough/Host.h"

namespace rough {

namespace {

Till* till = nullptr;

void exitDuringRequest() {
  till = &Till::start();
  std::thread([] { (void)till->list(); }).detach();
  // The first one is the factory's.
  waitForLog("SsdManager::getSsdInformationList - found", 2);
  std::exit(0);
}

/// Functions given to atexit before the library was loaded run when its static objects have gone.
void askAfterTheEnd() {
  std::atexit([] {
    expect(till->list() == CMPI_RC_ERR_FAILED, "a request that came too late was answered");
    till->subscribe();
    till->cleanUp();
  });
  till = &Till::start();
  std::exit(0);
}

}  // namespace

Behaviours exiting() {
  return {{"exit-during-request", exitDuringRequest}, {"ask-after-the-end", askAfterTheEnd}};
}

}  // namespace rough

// A host that calls exit() in the middle of its requests.

#include <atomic>
#include <cstdlib>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

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

/// While a request reads the drive and an indication is being delivered.
void exitInChildren() {
  till = &Till::start();
  std::atomic<bool> delivering{false};
  till->broker.onIndication([&](const cmpihost::Indication&) {
    delivering = true;
    std::this_thread::sleep_for(std::chrono::seconds(1));
  });
  till->subscribe();
  (void)till->list();
  while (!delivering) {
    std::this_thread::yield();
  }
  std::thread request([] { (void)till->list(); });
  waitForLog("SsdManager::getSsdInformationList - found", 3);
  for (int i = 0; i < 10; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(5);  // for one that hangs
      std::exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    expect(status == 0, "a child ended with " + std::to_string(status));
  }
  request.join();
  till->cleanUp();
  till->unloadAtOnce();
}

}  // namespace

Behaviours exiting() {
  return {{"exit-during-request", exitDuringRequest},
          {"ask-after-the-end", askAfterTheEnd},
          {"exit-in-children", exitInChildren}};
}

}  // namespace rough

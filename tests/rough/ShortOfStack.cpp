// A host whose threads have small stacks.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <vector>

#include <pthread.h>
#include <sys/mman.h>

#include "tests/rough/Host.h"

namespace rough {

namespace {

#ifdef VEKSSD_SANITIZED
constexpr std::size_t kStackBytes = 1024 * 1024;  // instrumented code needs more
#else
constexpr std::size_t kStackBytes = 64 * 1024;
#endif
constexpr unsigned char kUntouched = 0xA5;

/// A thread on a stack that shows afterwards how far it was used.
class MeasuredThread {
 public:
  explicit MeasuredThread(std::function<void()> action) : action_(std::move(action)) {
    stack_ = static_cast<unsigned char*>(
        mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    std::memset(stack_, kUntouched, kStackBytes);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack_, kStackBytes);
    pthread_create(&thread_, &attributes, run, this);
  }

  std::size_t bytesUsed() {
    pthread_join(thread_, nullptr);
    const auto* touched = std::find_if(stack_, stack_ + kStackBytes,
                                       [](unsigned char byte) { return byte != kUntouched; });
    return static_cast<std::size_t>(stack_ + kStackBytes - touched);
  }

 private:
  static void* run(void* self) {
    static_cast<MeasuredThread*>(self)->action_();
    return nullptr;
  }

  std::function<void()> action_;
  unsigned char* stack_ = nullptr;
  pthread_t thread_ = 0;
};

std::mutex indicationsMutex;
std::vector<MeasuredThread*> indications;

void report(const char* kind, std::size_t bytes) {
  std::printf("%s: %zu bytes of stack\n", kind, bytes);
  expect(bytes < kStackBytes, std::string(kind) + " used its whole stack");
}

void measureStacks() {
  // That of the polling threads is what the process gives to threads without a wish of their own.
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  pthread_setattr_default_np(&attributes);

  Till& till = Till::load();
  till.threadCalls.newThread = [](CMPIThreadFunc function, void* argument, int) -> void* {
    const std::lock_guard<std::mutex> lock(indicationsMutex);
    indications.push_back(new MeasuredThread([=] { (void)function(argument); }));
    return indications.back();
  };
  MeasuredThread nothing([] {});
  MeasuredThread factory([&] { (void)till.provider.createInstanceMI(); });
  const std::size_t byFactory = factory.bytesUsed();
  till.subscribe();
  MeasuredThread request([&] { expect(till.list() == CMPI_RC_OK, "no drives"); });
  report("a thread that does nothing", nothing.bytesUsed());
  report("a factory", byFactory);
  report("a request", request.bytesUsed());
  till.cleanUp();
  expect(!indications.empty(), "no indication");
  std::size_t most = 0;
  for (MeasuredThread* indication : indications) {
    most = std::max(most, indication->bytesUsed());
  }
  report("an indication", most);
}

}  // namespace

Behaviours shortOfStack() { return {{"measure-stacks", measureStacks}}; }

}  // namespace rough

#include "host/ThreadScopes.h"

#include <pthread.h>

#include <algorithm>
#include <memory>
#include <system_error>
#include <vector>

#include "host/Objects.h"

namespace cmpihost {
namespace {

struct Scope {
  const BrokerState* broker;
  const void* key;
  std::unique_ptr<Arena> arena;
};

using Scopes = std::vector<Scope>;

// The scopes of each thread, found by a key and not by a thread_local object with a destructor: to
// register that one takes the loader's lock, which is held while a library unloads and waits for
// the threads that still run its code.
class ScopesOfThread {
 public:
  ScopesOfThread() {
    if (const int error = pthread_key_create(&key_, &destroy); error != 0) {
      throw std::system_error(error, std::generic_category(), "pthread_key_create");
    }
  }

  Scopes& get() {
    auto* scopes = static_cast<Scopes*>(pthread_getspecific(key_));
    if (scopes == nullptr) {
      auto made = std::make_unique<Scopes>();
      if (const int error = pthread_setspecific(key_, made.get()); error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_setspecific");
      }
      scopes = made.release();
    }
    return *scopes;
  }

 private:
  static void destroy(void* scopes) { delete static_cast<Scopes*>(scopes); }

  pthread_key_t key_ = 0;
};

Scopes& scopesOfThisThread() {
  // Never destroyed: threads may outlive the static objects.
  static auto* const all = new ScopesOfThread;
  return all->get();
}

}  // namespace

void ThreadScopes::open(BrokerState& broker, const void* key) {
  scopesOfThisThread().push_back({&broker, key, std::make_unique<Arena>()});
}

bool ThreadScopes::close(BrokerState& broker, const void* key) {
  Scopes& scopes = scopesOfThisThread();
  const auto found = std::find_if(scopes.rbegin(), scopes.rend(), [&](const Scope& scope) {
    return scope.broker == &broker && scope.key == key;
  });
  if (found == scopes.rend()) {
    return false;
  }
  scopes.erase(std::next(found).base());
  return true;
}

Arena* ThreadScopes::arena(const BrokerState& broker) {
  Scopes& scopes = scopesOfThisThread();
  const auto innermost = std::find_if(scopes.rbegin(), scopes.rend(),
                                      [&](const Scope& scope) { return scope.broker == &broker; });
  return innermost == scopes.rend() ? nullptr : innermost->arena.get();
}

}  // namespace cmpihost

#include "host/ThreadScopes.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "host/Objects.h"

namespace cmpihost {
namespace {

struct Scope {
  const BrokerState* broker;
  const void* key;
  std::unique_ptr<Arena> arena;
};

thread_local std::vector<Scope> scopes;

}  // namespace

void ThreadScopes::open(BrokerState& broker, const void* key) {
  scopes.push_back({&broker, key, std::make_unique<Arena>()});
}

bool ThreadScopes::close(BrokerState& broker, const void* key) {
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
  const auto innermost = std::find_if(scopes.rbegin(), scopes.rend(),
                                      [&](const Scope& scope) { return scope.broker == &broker; });
  return innermost == scopes.rend() ? nullptr : innermost->arena.get();
}

}  // namespace cmpihost

#pragma once

namespace cmpihost {

class Arena;
class BrokerState;

// What the calling thread is doing for a broker: a request, an attachment, or a life that the
// broker gave it. Scopes nest; each owns the objects that are made while it is the innermost one
// of its broker.
class ThreadScopes {
 public:
  // `key` tells the scopes apart when they end: the context of an attachment, for instance.
  static void open(BrokerState& broker, const void* key);

  // Ends the innermost scope with that key and frees its objects; false if there is none.
  static bool close(BrokerState& broker, const void* key);

  // Where objects made now belong; null on a thread that the broker does not know.
  static Arena* arena(const BrokerState& broker);

  static bool known(const BrokerState& broker) { return arena(broker) != nullptr; }
};

// A scope that ends with the block.
class ScopeGuard {
 public:
  explicit ScopeGuard(BrokerState& broker) : broker_(broker) { ThreadScopes::open(broker_, this); }
  ~ScopeGuard() { ThreadScopes::close(broker_, this); }
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;

 private:
  BrokerState& broker_;
};

}  // namespace cmpihost

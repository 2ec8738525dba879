#pragma once

#include <atomic>

#include <pthread.h>

/// Lets one request at a time into the core until it is closed, which waits for the one that is
/// inside. Needs no destruction, so that it can be asked after every static object has gone.
class RequestGate {
 public:
  constexpr RequestGate() = default;
  RequestGate(const RequestGate&) = delete;
  RequestGate& operator=(const RequestGate&) = delete;

  /// One request's way in, for the life of a scope.
  class Pass {
   public:
    explicit Pass(RequestGate& gate);
    ~Pass();
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

    /// False behind a closed gate.
    [[nodiscard]] bool granted() const { return granted_; }

   private:
    RequestGate& gate_;
    bool granted_ = false;
  };

  /// Lets nobody in any more, and waits until whoever is inside has come out; not for the calling
  /// thread, which may have ended the process from in there.
  void close();

  /// Forgets whoever is inside: in a forked child it is nobody.
  void forget() { inside_ = 0; }

 private:
  std::atomic<bool> closed_{false};
  std::atomic<pthread_t> inside_{0};
};

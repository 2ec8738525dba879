#pragma once

#include <pthread.h>

/// Holds off every pthread_cancel of the calling thread for the life of a scope; one that came
/// meanwhile takes effect at the next cancellation point behind it. For clean-ups: a thread that is
/// unwound out of a destructor takes its whole process along.
class NoCancellation {
 public:
  NoCancellation() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~NoCancellation() { pthread_setcancelstate(before_, nullptr); }
  NoCancellation(const NoCancellation&) = delete;
  NoCancellation& operator=(const NoCancellation&) = delete;

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

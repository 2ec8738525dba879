#include "core/RequestGate.h"

#include <unistd.h>

#include "base/NoCancellation.h"

RequestGate::Pass::Pass(RequestGate& gate) : gate_(gate) {
  gate_.inside_ = pthread_self();
  granted_ = !gate_.closed_;
  if (!granted_) {
    gate_.inside_ = 0;
  }
}

RequestGate::Pass::~Pass() {
  if (granted_) {
    gate_.inside_ = 0;
  }
}

void RequestGate::close() {
  constexpr useconds_t kStepMicroseconds = 1000;
  const NoCancellation whileWaiting;
  closed_ = true;
  for (pthread_t inside = inside_; inside != 0 && inside != pthread_self(); inside = inside_) {
    usleep(kStepMicroseconds);
  }
}

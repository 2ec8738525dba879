#pragma once

namespace fault {

/// The time of the library's polling threads, which stands still until a test lets them tick: with
/// it every run makes the same calls in the same order.
class Clock {
 public:
  /// Lets every polling thread tick once, one after the other, and waits until each sleeps again.
  static void tick();

  /// From now on sleeping takes so long, whatever is asked for, and threads run freely. 0: the
  /// clock stands still, as at the start.
  static void runFreely(unsigned microsecondsPerSleep);

  /// The polling threads that there are.
  static int threads();
};

}  // namespace fault

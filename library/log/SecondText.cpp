#include "log/SecondText.h"

#include <cstring>
#include <ctime>
#include <new>

#include "base/Mutex.h"
#include "log/Digits.h"

namespace {

void formatSecond(std::time_t seconds, char* text) {
  std::tm local{};
  localtime_r(&seconds, &local);
  const auto put = [text](std::size_t offset, std::size_t width, int number) {
    putDigits(text + offset, width, static_cast<unsigned>(number));
  };
  std::memcpy(text, "dd/mm/yyyy hh:mm:ss.", kSecondTextLength);
  put(0, 2, local.tm_mday);
  put(3, 2, local.tm_mon + 1);
  put(6, 4, local.tm_year + 1900);
  put(11, 2, local.tm_hour);
  put(14, 2, local.tm_min);
  put(17, 2, local.tm_sec);
}

class SecondText {
 public:
  void copy(std::int64_t seconds, char* text) VEKSSD_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    if (!made_ || seconds != seconds_ || timezone != timezone_ || daylight != daylight_) {
      formatSecond(seconds, text_);
      made_ = true;
      seconds_ = seconds;
      timezone_ = timezone;
      daylight_ = daylight;
    }
    std::memcpy(text, text_, kSecondTextLength);
  }

 private:
  Mutex mutex_;
  bool made_ VEKSSD_GUARDED_BY(mutex_) = false;
  std::int64_t seconds_ VEKSSD_GUARDED_BY(mutex_) = 0;
  long timezone_ VEKSSD_GUARDED_BY(mutex_) = 0;
  int daylight_ VEKSSD_GUARDED_BY(mutex_) = 0;
  char text_[kSecondTextLength] VEKSSD_GUARDED_BY(mutex_) = {};
};

/// Never destroyed: lines are logged until the library has gone.
SecondText& lastSecond() {
  alignas(SecondText) static unsigned char memory[sizeof(SecondText)];
  static auto* const made = new (memory) SecondText;
  return *made;
}

}  // namespace

void copySecondText(std::int64_t seconds, char* text) { lastSecond().copy(seconds, text); }

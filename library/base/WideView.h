#pragma once

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <string_view>

/// A narrow text laid out where wide characters are expected, as the messages want it that print
/// narrow texts through "%ls". The bytes are copied unchanged, aligned for `wchar_t` and padded
/// with zeros, so that a reader of wide characters finds an end. Drive texts and kernel names fit
/// (NAME_MAX bytes); anything longer is cut.
class WideView {
 public:
  explicit WideView(std::string_view narrow) noexcept {
    std::memcpy(characters_.data(), narrow.data(), std::min(narrow.size(), kCapacity));
  }

  [[nodiscard]] const wchar_t* text() const noexcept { return characters_.data(); }

 private:
  static constexpr std::size_t kCapacity = NAME_MAX + 1;
  std::array<wchar_t, kCapacity / sizeof(wchar_t) + 1> characters_{};
};

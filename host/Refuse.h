#pragma once

#include <cmpi/cmpift.h>

#include <cerrno>
#include <type_traits>

// Functions for the slots of services that this broker does not have: they say so in the form that
// the slot has for it (CMPI_RC_ERR_NOT_SUPPORTED, null, ENOTSUP) instead of letting a provider run
// into an empty slot.
namespace cmpihost {

inline void tellNotSupported(CMPIStatus* rc) {
  if (rc != nullptr) {
    *rc = {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
  }
}

// Arguments other than the place for the status say nothing about it.
template <typename Other>
void tellNotSupported(Other) {}

template <typename Result>
Result notSupportedAnswer() {
  if constexpr (std::is_same_v<Result, CMPIStatus>) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
  } else if constexpr (std::is_same_v<Result, CMPIData>) {
    return {CMPI_null, CMPI_nullValue, {}};
  } else if constexpr (std::is_same_v<Result, int>) {
    return ENOTSUP;
  } else {
    return Result();
  }
}

template <typename Slot>
struct Refusal;

template <typename Result, typename... Args>
struct Refusal<Result (*)(Args...)> {
  static Result call(Args... args) {
    (tellNotSupported(args), ...);
    return notSupportedAnswer<Result>();
  }
};

template <typename Result, typename... Args>
struct Refusal<Result (*)(Args..., ...)> {
  static Result call(Args... args, ...) {
    (tellNotSupported(args), ...);
    return notSupportedAnswer<Result>();
  }
};

template <typename... Slots>
void refuse(Slots&... slots) {
  ((slots = &Refusal<Slots>::call), ...);
}

}  // namespace cmpihost

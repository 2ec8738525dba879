#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace simulator {

// The errno with this name ("EIO"), or nothing.
std::optional<int> errnoOf(std::string_view name);

// The name of an errno; its number in digits where it has none here.
std::string errnoName(int error);

}  // namespace simulator

#include "simulator/Fault.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace simulator {

namespace {

template <typename Value>
bool agrees(const std::optional<Value>& wanted, const std::optional<Value>& actual) {
  return !wanted || wanted == actual;
}

bool matches(const FaultPattern& pattern, std::string_view call, std::string_view path,
             const DriveRequest* request) {
  if (pattern.call != call || (!pattern.path.empty() && pattern.path != path)) {
    return false;
  }
  if (request == nullptr) {
    return true;
  }
  return (!pattern.request || *pattern.request == request->kind) &&
         agrees(pattern.command, request->command) && agrees(pattern.feature, request->feature) &&
         agrees(pattern.log, request->log) && agrees(pattern.page, request->page) &&
         agrees(pattern.cns, request->cns);
}

}  // namespace

Faults::Faults(std::vector<FaultDescription> descriptions)
    : descriptions_(std::move(descriptions)),
      seen_(std::make_unique<std::atomic<std::uint64_t>[]>(descriptions_.size())) {}

const FaultOutcome* Faults::meet(std::string_view call, std::string_view path,
                                 const DriveRequest* request) {
  const FaultOutcome* met = nullptr;
  for (std::size_t i = 0; i < descriptions_.size(); ++i) {
    const FaultDescription& fault = descriptions_[i];
    if (!matches(fault.pattern, call, path, request)) {
      continue;
    }
    const std::uint64_t number = seen_[i].fetch_add(1) + 1;
    if (met == nullptr && number >= fault.nth && number - fault.nth < fault.count) {
      met = &fault.outcome;
    }
  }
  return met;
}

bool Faults::concernPath(std::string_view path) const {
  return std::any_of(descriptions_.begin(), descriptions_.end(),
                     [path](const FaultDescription& fault) { return fault.pattern.path == path; });
}

bool Faults::concernCall(std::string_view call) const {
  return std::any_of(descriptions_.begin(), descriptions_.end(),
                     [call](const FaultDescription& fault) { return fault.pattern.call == call; });
}

}  // namespace simulator

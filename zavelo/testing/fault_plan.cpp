#include "zavelo/testing/fault_plan.hpp"

#include <algorithm>

namespace zavelo::testing {

void FaultPlan::add(const std::vector<Fault>& faults) {
  const std::lock_guard lock(mutex_);
  faults_.insert(faults_.end(), faults.begin(), faults.end());
}

void FaultPlan::clear() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
}

std::vector<Fault> FaultPlan::pending() const {
  const std::lock_guard lock(mutex_);
  return faults_;
}

std::optional<Fault> FaultPlan::take(std::string_view path) {
  if (!path.starts_with("/api/")) return {};
  const std::lock_guard lock(mutex_);
  const auto met = std::ranges::find_if(faults_, [&](Fault& fault) {
    const bool fits = fault.endpoint == "*" || fault.endpoint == path;
    if (!fits || fault.after == 0) return fits;
    --fault.after;
    return false;
  });
  if (met == faults_.end()) return {};
  Fault taken = *met;
  if (--met->count <= 0) faults_.erase(met);
  return taken;
}

}  // namespace zavelo::testing

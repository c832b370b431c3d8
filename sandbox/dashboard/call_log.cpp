#include "sandbox/dashboard/call_log.hpp"

#include <algorithm>
#include <utility>

namespace zavelo::sandbox {
namespace {

std::size_t sizeOf(const LoggedCall& call) {
  return sizeof call + call.summary.size() + call.detail.size();
}

}  // namespace

std::int64_t CallLog::nextNumber() {
  const std::scoped_lock lock(mutex_);
  return ++lastNumber_;
}

void CallLog::add(LoggedCall call) {
  const std::scoped_lock lock(mutex_);
  bytes_ += sizeOf(call);
  calls_.push_back(std::move(call));
  while (calls_.size() > limits_.calls || bytes_ > limits_.bytes) {
    bytes_ -= sizeOf(calls_.front());
    calls_.pop_front();
  }
}

void CallLog::clear() {
  const std::scoped_lock lock(mutex_);
  calls_.clear();
  bytes_ = 0;
}

std::string CallLog::summaries() const {
  const std::scoped_lock lock(mutex_);
  std::string list = "[";
  for (const auto& call : calls_) list.append(list.size() == 1 ? "" : ",").append(call.summary);
  return list.append("]");
}

std::optional<LoggedCall> CallLog::find(std::int64_t number) const {
  const std::scoped_lock lock(mutex_);
  const auto found = std::ranges::find(calls_, number, &LoggedCall::number);
  return found == calls_.end() ? std::nullopt : std::optional(*found);
}

}  // namespace zavelo::sandbox

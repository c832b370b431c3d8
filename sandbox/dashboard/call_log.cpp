#include "sandbox/dashboard/call_log.hpp"

#include <algorithm>
#include <utility>

namespace zavelo::sandbox {
namespace {

std::size_t sizeOf(const LoggedCall& call) {
  return sizeof call + call.summary.size() + call.detail.size();
}

bool hasEnded(const std::pair<const std::int64_t, LoggedCall>& entry) {
  return !entry.second.isPending;
}

}  // namespace

std::int64_t CallLog::nextNumber() {
  const std::scoped_lock lock(mutex_);
  return ++lastNumber_;
}

void CallLog::put(LoggedCall call) {
  const std::scoped_lock lock(mutex_);
  feed_.publish("call", call.summary);
  auto& entry = calls_[call.number];
  if (entry.number != 0) bytes_ -= sizeOf(entry);
  bytes_ += sizeOf(call);
  entry = std::move(call);
  trim();
}

void CallLog::trim() {
  while (calls_.size() > limits_.calls || bytes_ > limits_.bytes) {
    const auto oldest = std::ranges::find_if(calls_, hasEnded);
    if (oldest == calls_.end()) return;
    bytes_ -= sizeOf(oldest->second);
    calls_.erase(oldest);
  }
}

void CallLog::clear() {
  const std::scoped_lock lock(mutex_);
  std::erase_if(calls_, hasEnded);
  bytes_ = 0;
  for (const auto& [number, call] : calls_) bytes_ += sizeOf(call);
  feed_.publish("cleared", "{}");
}

CallLog::Listing CallLog::list() const {
  const std::scoped_lock lock(mutex_);
  std::string summaries = "[";
  for (const auto& [number, call] : calls_) {
    summaries.append(summaries.size() == 1 ? "" : ",").append(call.summary);
  }
  return {summaries.append("]"), feed_.position()};
}

std::optional<LoggedCall> CallLog::find(std::int64_t number) const {
  const std::scoped_lock lock(mutex_);
  const auto found = calls_.find(number);
  return found == calls_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace zavelo::sandbox

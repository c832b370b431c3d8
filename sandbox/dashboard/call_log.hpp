#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace zavelo::sandbox {

/// A call that was answered, as the dashboard shows it.
struct LoggedCall {
  std::int64_t number = 0;
  std::string summary;  ///< a JSON object
  std::string detail;   ///< another one: what the summary leaves out
};

/// The latest calls, within bounds of count and memory. Any thread.
class CallLog {
 public:
  struct Limits {
    std::size_t calls = 1000;
    std::size_t bytes = 16 * 1024 * 1024;
  };

  CallLog() : CallLog(Limits{}) {}
  explicit CallLog(Limits limits) : limits_(limits) {}

  /// For the next call; they count from 1.
  [[nodiscard]] std::int64_t nextNumber();
  void add(LoggedCall call);
  void clear();

  /// The summaries, the oldest first, as a JSON array.
  [[nodiscard]] std::string summaries() const;
  [[nodiscard]] std::optional<LoggedCall> find(std::int64_t number) const;

 private:
  const Limits limits_;
  mutable std::mutex mutex_;
  std::int64_t lastNumber_ = 0;
  std::size_t bytes_ = 0;
  std::deque<LoggedCall> calls_;
};

}  // namespace zavelo::sandbox

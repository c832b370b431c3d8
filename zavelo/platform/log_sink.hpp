#pragma once

#include <cstdio>
#include <string_view>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// Where log entries go. Any thread, several at once.
class LogSink {
 public:
  virtual ~LogSink() = default;
  /// `entry` is whole and has no line break at its end.
  virtual void write(std::string_view entry) = 0;
};

/// Writes each entry and a line break to a standard stream, in one piece.
class ZAVELO_EXPORT StreamLogSink final : public LogSink {
 public:
  explicit StreamLogSink(std::FILE* stream = stdout) : stream_(stream) {}
  void write(std::string_view entry) override;

 private:
  std::FILE* stream_;
};

}  // namespace zavelo

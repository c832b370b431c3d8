#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "zavelo/base/result.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo::command {

/// A file to which a chat is saved as it goes on. Between two events it is a whole recorded chat,
/// whatever becomes of the process.
class ChatRecording {
 public:
  /// A new file; the error is a sentence.
  [[nodiscard]] static Result<ChatRecording, std::string> create(const std::string& path);

  /// Adds an event under that type, at that moment (milliseconds) of the recording: each sender's
  /// clock is another. A sentence when it cannot be written.
  [[nodiscard]] std::optional<std::string> add(std::int64_t type, const ZVStreamMessage& event,
                                               std::int64_t time);

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  using File = std::unique_ptr<std::FILE, Close>;

  ChatRecording(File file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}
  /// Replaces the end of the list.
  [[nodiscard]] bool append(const std::string& element);

  File file_;
  std::string path_;
  long behindLast_ = 0;  // where the next element is to stand
};

}  // namespace zavelo::command

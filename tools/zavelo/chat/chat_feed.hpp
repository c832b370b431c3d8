#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/messaging/chat_batcher.hpp"

namespace zavelo::command {

/// A member who came or went, told like a viewer's event so that a crowd of them is one line.
class MemberChange final : public ZVStreamMessage {
 public:
  explicit MemberChange(std::string text) : text_(std::move(text)) {}
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  const std::string text_;
};

/// The events of a chat as a person reads them: lines by batch, so that a crowd does not hold up
/// what is typed, and how the stream is doing in a few words. Lives on its queue.
class ChatFeed {
 public:
  /// `show` is called with at least one line.
  ChatFeed(std::function<void(std::vector<std::string> lines)> show,
           ZVChatBatcher::Collaborators with);

  void add(std::shared_ptr<const ZVStreamMessage> event, std::int64_t type, bool isOwn);
  /// Posts the lines that wait.
  void flush() { batcher_.flush(); }
  /// "12 viewers, 40 likes, 340 lines left out"; may be empty.
  [[nodiscard]] std::string status() const;

 private:
  void take(const ZVChatBatch& batch);

  const std::function<void(std::vector<std::string>)> show_;
  std::string statistics_;
  ZVChatBatcher batcher_;
};

}  // namespace zavelo::command

#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "zavelo/platform/text_label.hpp"

namespace zavelo::command {

/// The last line of a terminal: the clock of a chat, and what is being typed. What is printed goes
/// above it, between `hide` and `show`.
class ChatScreen final : public TextLabel {
 public:
  /// `note` tells what is to stand beside the clock; empty: nothing.
  explicit ChatScreen(std::function<std::string()> note) : note_(std::move(note)) {}
  ~ChatScreen() override { hide(); }

  /// The clock.
  void setText(const std::string& text) override;
  void setTyped(std::string_view text);
  void hide();
  void show();

 private:
  const std::function<std::string()> note_;
  std::string clock_;
  std::string typed_;
  bool isShown_ = false;
};

/// The end of the text, as much of it as surely fits in so many columns.
[[nodiscard]] std::string_view fittingEnd(std::string_view text, std::size_t columns);

}  // namespace zavelo::command
